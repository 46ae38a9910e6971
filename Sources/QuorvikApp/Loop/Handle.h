#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include <uv.h>

#include <memory>
#include <string>

namespace quorvik {

/// A libuv handle that lives until libuv has let go of it: its memory must outlast its owner by a turn.
/// `Derived` is the struct that holds the handle, always in a shared_ptr made by `make`.
template <typename Derived, typename UvHandle>
struct Handle : std::enable_shared_from_this<Derived> {
    UvHandle handle{};
    EventLoop* loop = nullptr;
    EventLoop::Handler handler;    ///< empty once the owner is gone
    std::shared_ptr<Derived> self; ///< keeps it alive until libuv has closed it

    /// To be called once libuv knows the handle.
    void opened() {
        handle.data = static_cast<Derived*>(this);
        self = this->shared_from_this();
    }

    /// The owner is gone: nothing is reported any more.
    void close() {
        handler = {};
        auto* raw = reinterpret_cast<uv_handle_t*>(&handle);
        if (self && !uv_is_closing(raw))
            uv_close(raw, [](uv_handle_t* closed) { static_cast<Derived*>(closed->data)->self.reset(); });
    }

    /// Runs the handler after this turn, unless the owner is gone by then.
    void report() {
        loop->later([kept = this->shared_from_this()] {
            const EventLoop::Handler called = kept->handler; // it may destroy its owner
            if (called) called();
        });
    }
};

/// "could not watch for signals: too many open files".
[[noreturn]] inline void throwLoopError(const std::string& action, int error) {
    throw LoopError("could not " + action + ": " + uv_strerror(error));
}

} // namespace quorvik
