#pragma once

#include "QuorvikApp/Loop/ChildProcess.h"
#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Services/ApprovalService.h"

namespace quorvik {

/// Tells the desktop of a request that waits while no front end shows it: one notification at a time, for the
/// request that has waited longest. It goes when the request is settled or comes into view elsewhere. Nothing
/// happens where the desktop has no program for it.
class Notifier {
  public:
    using IsShown = std::function<bool(std::string_view request)>;

    /// `changed` is called after the model has changed.
    Notifier(EventLoop& loop, IslandModel& model, ApprovalService& approvals, IsShown isShown,
             EventLoop::Handler changed);

    /// Looks again: requests, front ends or settings may be others than before.
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
    bool isMissing_ = false;                     ///< the desktop has no program for it
};

} // namespace quorvik
