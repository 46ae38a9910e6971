#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include <functional>
#include <memory>

namespace quorvik {

/// One function that runs on another thread, so that the loop turns on meanwhile.
class BackgroundWork {
  public:
    /// Starts `work`, which must own everything that it uses, and not throw. `done` is called after it, on
    /// the loop's thread. Destroying the object does not end the work, but `done` is then not called.
    BackgroundWork(EventLoop& loop, std::function<void()> work, EventLoop::Handler done);
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;

    /// The same for work with a result, which is handed to `done`.
    template <typename Result>
    static std::unique_ptr<BackgroundWork> start(EventLoop& loop, std::function<Result()> work,
                                                 std::function<void(Result)> done) {
        const auto result = std::make_shared<Result>();
        return std::make_unique<BackgroundWork>(
            loop, [result, work = std::move(work)] { *result = work(); },
            [result, done = std::move(done)] { done(std::move(*result)); });
    }

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

} // namespace quorvik
