#pragma once

#include "QuorvikApp/Loop/ChildProcess.h"
#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Services/ApprovalService.h"

namespace quorvik {

/// Shows a desktop notification of a request that waits while no front end shows it: one at a time, for the
/// request that has waited longest. It is closed when the request is settled or comes into view elsewhere.
/// Does nothing where the desktop has no program for notifications.
class Notifier {
  public:
    using IsShown = std::function<bool(std::string_view request)>;

    /// `changed` is called after the model has changed.
    Notifier(EventLoop& loop, IslandModel& model, ApprovalService& approvals, IsShown isShown,
             EventLoop::Handler changed);

    /// Shows or closes the notification as requests, front ends and settings now demand.
    void update();

  private:
    void tell(const WaitingRequest& request);
    void ended(const ChildProcess::Result& result);

    EventLoop& loop_;
    IslandModel& model_;
    ApprovalService& approvals_;
    IsShown isShown_;
    EventLoop::Handler changed_;
    Timer nextLook_;
    std::unique_ptr<ChildProcess> notification_; ///< what shows it; null when none is shown
    std::unique_ptr<ChildProcess> opening_;      ///< brings a session to the front
    std::string about_;                          ///< the request that the notification is about
    std::set<std::string, std::less<>> told_;    ///< requests that have had theirs, as long as they wait
    bool isClosing_ = false;                     ///< it was asked to close
    bool isMissing_ = false;                     ///< the desktop has no program for it
};

} // namespace quorvik
