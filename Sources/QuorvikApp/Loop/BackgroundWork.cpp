#include "QuorvikApp/Loop/BackgroundWork.h"

#include <uv.h>

namespace quorvik {

struct BackgroundWork::Inner {
    uv_work_t request{};
    EventLoop* loop = nullptr;
    std::function<void()> work;
    EventLoop::Handler done;     ///< empty once the owner is gone
    std::shared_ptr<Inner> self; ///< keeps it alive until the work is over
};

BackgroundWork::BackgroundWork(EventLoop& loop, std::function<void()> work, EventLoop::Handler done)
    : inner_(std::make_shared<Inner>()) {
    inner_->loop = &loop;
    inner_->work = std::move(work);
    inner_->done = std::move(done);
    inner_->self = inner_;
    inner_->request.data = inner_.get();
    uv_queue_work( // fails only without a function
        loop.handle(), &inner_->request,
        [](uv_work_t* request) { static_cast<Inner*>(request->data)->work(); },
        [](uv_work_t* request, int) {
            const auto over = std::move(static_cast<Inner*>(request->data)->self);
            over->loop->later([over] {
                if (const EventLoop::Handler call = std::exchange(over->done, {})) call();
            });
        });
}

BackgroundWork::~BackgroundWork() {
    inner_->done = {};
    // Work that has not begun yet never does.
    uv_cancel(reinterpret_cast<uv_req_t*>(&inner_->request));
}

} // namespace quorvik
