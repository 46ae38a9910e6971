#include "QuorvikApp/Loop/EventLoop.h"

#include "QuorvikApp/Loop/Handle.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <thread>

namespace quorvik {

EventLoop::EventLoop() : loop_(std::make_unique<uv_loop_t>()), now_(std::chrono::system_clock::now()) {
    if (const int error = uv_loop_init(loop_.get()); error != 0)
        throwLoopError("start the event loop", error);
    std::signal(SIGPIPE, SIG_IGN); // libuv writes with write(2)
}

EventLoop::~EventLoop() {
    handlers_.clear(); // they may own handles
    idleHandlers_.clear();
    atEndOfTurn_ = {};
    // All handles are closed by now. libuv needs further turns to let go of them, and to hear of the end of
    // programs that were killed.
    for (int turn = 0; uv_run(loop_.get(), UV_RUN_NOWAIT) != 0 && turn < 500; ++turn) {
        handlers_.clear();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    handlers_.clear();
    if (uv_loop_close(loop_.get()) != 0) {
        uv_print_all_handles(loop_.get(), stderr); // somebody outlived the loop: a mistake of ours
        loop_.release();                           // they may still use it
    }
}

void EventLoop::run() {
    isStopped_ = false;
    while (!isStopped_) {
        const bool isAsked = !idleHandlers_.empty();
        uv_run(loop_.get(), handlers_.empty() && !isAsked ? UV_RUN_ONCE : UV_RUN_NOWAIT);
        constexpr int mostBusyTurns = 500;
        const bool isIdle = isAsked && (handlers_.empty() || ++busyTurns_ > mostBusyTurns);
        runHandlers();
        if (isIdle) runIdleHandlers();
    }
}

void EventLoop::later(Handler handler) {
    handlers_.push_back(std::move(handler));
}

void EventLoop::whenIdle(Handler handler) {
    idleHandlers_.push_back(std::move(handler));
}

void EventLoop::runIdleHandlers() {
    busyTurns_ = 0;
    if (idleHandlers_.empty()) return;
    now_ = std::chrono::system_clock::now();
    for (const Handler& handler : std::exchange(idleHandlers_, {}))
        handler();
    if (atEndOfTurn_) atEndOfTurn_();
}

void EventLoop::runHandlers() {
    if (handlers_.empty()) return;
    now_ = std::chrono::system_clock::now();
    // What handlers add waits for the next turn: a handler that always adds one must not keep sockets
    // waiting.
    for (const Handler& handler : std::exchange(handlers_, {}))
        handler();
    if (atEndOfTurn_) atEndOfTurn_();
}

struct Timer::Inner : Handle<Timer::Inner, uv_timer_t> {
    std::uint64_t start = 0; ///< counts starts and stops: what expired before the last one is not reported

    void expired() {
        loop->later([kept = shared_from_this(), began = start] {
            const EventLoop::Handler called = kept->handler; // it may destroy its owner
            if (called && began == kept->start) called();
        });
    }
};

Timer::Timer(EventLoop& loop, EventLoop::Handler handler) : inner_(std::make_shared<Inner>()) {
    inner_->loop = &loop;
    inner_->handler = std::move(handler);
    uv_timer_init(loop.handle(), &inner_->handle); // cannot fail
    inner_->opened();
}

Timer::~Timer() {
    inner_->close();
}

void Timer::start(Seconds after) {
    constexpr double most = 1e9; // ms, eleven days: whoever waits that long looks again earlier
    const double milliseconds = std::clamp(std::ceil(after.count() * 1000), 0.0, most);
    ++inner_->start;
    uv_update_time(inner_->loop->handle()); // the turn's handlers may have taken a while
    uv_timer_start(
        &inner_->handle, [](uv_timer_t* timer) { static_cast<Inner*>(timer->data)->expired(); },
        static_cast<std::uint64_t>(milliseconds), 0);
}

void Timer::stop() {
    ++inner_->start;
    uv_timer_stop(&inner_->handle);
}

bool Timer::isRunning() const {
    return uv_is_active(reinterpret_cast<const uv_handle_t*>(&inner_->handle)) != 0;
}

struct SignalWatch::Inner : Handle<SignalWatch::Inner, uv_signal_t> {};

SignalWatch::SignalWatch(EventLoop& loop, int signal, EventLoop::Handler handler)
    : inner_(std::make_shared<Inner>()) {
    inner_->loop = &loop;
    inner_->handler = std::move(handler);
    int error = uv_signal_init(loop.handle(), &inner_->handle);
    if (error == 0) {
        inner_->opened();
        error = uv_signal_start(
            &inner_->handle, [](uv_signal_t* watch, int) { static_cast<Inner*>(watch->data)->report(); },
            signal);
    }
    if (error != 0) {
        inner_->close();
        throwLoopError("watch for signals", error);
    }
}

SignalWatch::~SignalWatch() {
    inner_->close();
}

struct FolderWatch::Inner : Handle<FolderWatch::Inner, uv_fs_event_t> {
    bool isReported = false; ///< what comes until the handler runs is one hint
    FolderHints hints;

    void note(const char* name) {
        constexpr std::size_t most = 200; // names; then looking at everything is cheaper
        if (name && hints.names.size() < most)
            hints.names.insert(name);
        else
            hints.isAll = false;
        if (!std::exchange(isReported, true)) report();
    }
};

FolderWatch::FolderWatch(EventLoop& loop, Handler handler) : loop_(loop), handler_(std::move(handler)) {}

FolderWatch::~FolderWatch() {
    if (inner_) inner_->close();
}

bool FolderWatch::watches(const std::string& folder) const {
    struct stat status;
    return inner_ && ::stat(folder.c_str(), &status) == 0 &&
           static_cast<std::uint64_t>(status.st_dev) == device_ &&
           static_cast<std::uint64_t>(status.st_ino) == inode_;
}

bool FolderWatch::watch(const std::string& folder) {
    // Kept open while it is watched, so that a new folder cannot get the inode number of one that is gone.
    FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!opened || ::fstat(opened.get(), &status) != 0) return false;
    const auto device = static_cast<std::uint64_t>(status.st_dev);
    const auto inode = static_cast<std::uint64_t>(status.st_ino);
    if (inner_ && device == device_ && inode == inode_) return true;
    if (inner_) inner_->close();

    inner_ = std::make_shared<Inner>();
    inner_->loop = &loop_;
    Inner* const inner = inner_.get();
    inner_->handler = [this, inner] {
        inner->isReported = false;
        const Handler kept = handler_; // it may destroy this
        kept(std::exchange(inner->hints, {}));
    };
    uv_fs_event_init(loop_.handle(), &inner_->handle); // cannot fail
    inner_->opened();
    const int error = uv_fs_event_start(
        &inner_->handle,
        [](uv_fs_event_t* watch, const char* name, int, int) {
            static_cast<Inner*>(watch->data)->note(name);
        },
        folder.c_str(), 0);
    if (error != 0) {
        inner_->close();
        inner_.reset();
        return false;
    }
    folder_ = std::move(opened);
    device_ = device;
    inode_ = inode;
    return true;
}

} // namespace quorvik
