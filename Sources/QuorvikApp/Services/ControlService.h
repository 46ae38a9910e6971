#pragma once

#include "QuorvikApp/Control/Protocol.h"
#include "QuorvikApp/Loop/LineServer.h"
#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Model/SignalStatus.h"
#include "QuorvikApp/Services/ApprovalService.h"
#include "QuorvikApp/Signals/ClipboardSignal.h"
#include "QuorvikApp/Signals/GitSignal.h"

namespace quorvik {

/// The app's end of the control socket: sends the newest state to front ends, and does what they ask for.
class ControlService {
  public:
    /// What front ends may ask of the app as a whole, and what this service tells it.
    struct App {
        /// Calls back once everything that happened before has been handled.
        std::function<void(EventLoop::Handler)> sync;
        EventLoop::Handler stop;
        /// The model has changed.
        EventLoop::Handler changed;
        /// A front end has come or gone.
        EventLoop::Handler frontEndsChanged;
        std::function<std::vector<SignalStatus>()> signals;
        std::function<GitSignal&()> git;
        std::function<ClipboardSignal&()> clipboard;
    };

    ControlService(EventLoop& loop, IslandModel& model, ApprovalService& approvals, App app);

    /// Listens at that socket from now on. It must outlive the service or the next call. Throws LoopError.
    void listen(int listening) { server_.listen(listening); }

    /// Sends the state to the front ends if it differs from the one they know. To be called whenever it may
    /// differ.
    void publish();

    /// Whether this request's card is in front of the user somewhere.
    bool isShown(std::string_view request) const;

    /// Whether somebody follows the state: the live island, a status bar.
    bool hasFrontEnds() const;

    /// Answers what has been asked, takes nothing new, and closes each connection once its front end has
    /// taken everything; connectionCount() then falls to 0.
    void stop();
    std::size_t connectionCount() const { return server_.connectionCount(); }

    /// The number of the state that was published last; 0 before the first.
    std::int64_t revision() const { return revision_; }

  private:
    struct FrontEnd {
        std::shared_ptr<LineConnection> connection;
        std::string role, program;
        Date since{};
        bool saidHello = false;
        bool isSubscribed = false;
        std::vector<std::string> shown; ///< requests whose cards are in front of the user there
        int faults = 0;                 ///< lines that were no JSON
    };
    using FrontEndPointer = std::shared_ptr<FrontEnd>;
    using Message = ControlProtocol::Message;

    void accepted(const std::shared_ptr<LineConnection>& connection);
    void take(const FrontEndPointer& frontEnd, const std::string& line);
    void handle(const FrontEndPointer& frontEnd, const Message& message);

    // The methods of docs/control.md. They throw ControlError for an error reply.
    nlohmann::json hello(FrontEnd& frontEnd, const Message& message);
    nlohmann::json status();
    nlohmann::json signals() const;
    const ItemChanges& changes(const Message& message) const;
    void diff(const FrontEndPointer& frontEnd, const Message& message) const;
    nlohmann::json clipboard(const Message& message);
    nlohmann::json acknowledge(const Message& message);
    nlohmann::json pick(const Message& message);
    nlohmann::json pauseAlerts(const Message& message);
    void answer(const FrontEndPointer& frontEnd, const Message& message);
    nlohmann::json stopApp(const Message& message);

    EventLoop& loop_;
    IslandModel& model_;
    ApprovalService& approvals_;
    App app_;
    LineServer server_;
    std::vector<FrontEndPointer> frontEnds_;
    SnapshotWriter writer_;
    std::string state_; ///< JSON text of the newest snapshot
    std::int64_t revision_ = 0;
    Date startedAt_;
    bool isStopping_ = false;
};

} // namespace quorvik
