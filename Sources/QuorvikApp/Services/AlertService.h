#pragma once

#include "QuorvikApp/Loop/LineServer.h"
#include "QuorvikApp/Model/IslandModel.h"

namespace quorvik {

/// The app's end of the alert socket: one line in, one reply out. Not every client validates its alerts, so
/// each is validated here, with the same messages.
class AlertService {
  public:
    /// `changed` is called after the model has changed.
    AlertService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed);

    /// Listens at that socket from now on. It must outlive the service or the next call. Throws LoopError.
    void listen(int listening) { server_.listen(listening); }

  private:
    void accepted(const std::shared_ptr<LineConnection>& connection);
    AlertReply reply(const std::string& line);

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_;
    LineServer server_;
};

} // namespace quorvik
