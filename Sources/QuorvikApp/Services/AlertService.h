#pragma once

#include "QuorvikApp/Loop/LineServer.h"
#include "QuorvikApp/Model/IslandModel.h"

namespace quorvik {

/// The listening side of alerts: one line in, one reply out. What a validating client would have refused is
/// refused here with the same words: not every client validates.
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
