#pragma once

#include "QuorvikApp/Loop/LineServer.h"
#include "QuorvikApp/Model/IslandModel.h"

namespace quorvik {

/// The listening side of approvals: a hook's connection is a request for as long as it is open.
class ApprovalService {
  public:
    /// What became of an answer: absent when the hook has it.
    using Answered = std::function<void(std::optional<RequestBoard::Refusal>)>;

    /// `changed` is called after the model has changed.
    ApprovalService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed);

    /// Listens at that socket from now on. It must outlive the service or the next call. Throws LoopError.
    void listen(int listening) { server_.listen(listening); }

    /// Hands an answer to the hook of that request. `by` says who answered. `done` is called once, this turn
    /// or later.
    void answer(const std::string& id, const ApprovalResponse& response, const std::string& by,
                Answered done);

    /// Approvals may have been switched off: then what waits is sent away, and the agents ask by themselves.
    void settingsChanged();

    /// Sends everybody away, who comes from now on as well.
    void stop();

  private:
    void accepted(const std::shared_ptr<LineConnection>& connection);
    void take(const std::shared_ptr<LineConnection>& connection, const std::string& line);
    void sendAllAway();

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_;
    LineServer server_;
    std::map<std::string, std::shared_ptr<LineConnection>, std::less<>> waiting_; ///< by request
    bool isStopping_ = false;
};

} // namespace quorvik
