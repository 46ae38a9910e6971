#pragma once

#include "QuorvikApp/Loop/LineServer.h"
#include "QuorvikApp/Model/IslandModel.h"

namespace quorvik {

/// The app's end of the approval socket: each connection of a hook is one request, which lasts as long as it
/// is open.
class ApprovalService {
  public:
    /// Called with why an answer was refused; absent when the hook has the answer.
    using Answered = std::function<void(std::optional<RequestBoard::Refusal>)>;

    /// `changed` is called after the model has changed, `hookGone` after a hook went that nobody had
    /// answered: its session's record may claim to wait still.
    ApprovalService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed,
                    EventLoop::Handler hookGone);

    /// Listens at that socket from now on. It must outlive the service or the next call. Throws LoopError.
    void listen(int listening) { server_.listen(listening); }

    /// Hands an answer to the hook of the request. `by` says who answered. `done` is called once, perhaps
    /// before this returns.
    void answer(const std::string& id, const ApprovalResponse& response, const std::string& by,
                Answered done);

    /// To be called after settings changed: when approvals are off, closes all connections, and the agents
    /// ask in their own interfaces.
    void settingsChanged();

    /// Closes all connections, and those that come from now on.
    void stop();

  private:
    void accepted(const std::shared_ptr<LineConnection>& connection);
    void take(const std::shared_ptr<LineConnection>& connection, const std::string& line);
    void sendAllAway();

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_, hookGone_;
    LineServer server_;
    std::map<std::string, std::shared_ptr<LineConnection>, std::less<>> waiting_; ///< by request
    bool isStopping_ = false;
};

} // namespace quorvik
