#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

struct uv_loop_s;

namespace quorvik {

/// The system refused something that the loop cannot do without; what() says what, and why.
class LoopError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Waits for everything at once: sockets, files, timers, signals, child processes.
///
/// What happened is only noted while the loop turns. The handlers run after the turn, one after the other,
/// and find one time for all of them. So no handler ever runs inside another one, and a handler may destroy
/// whatever it likes, its own source included. For one thread.
///
/// From the first loop on, the process ignores SIGPIPE: a peer that went away is an error of one write.
class EventLoop {
  public:
    using Handler = std::function<void()>;

    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Runs turn after turn until stop() is called.
    void run();
    void stop() { isStopped_ = true; }

    /// Runs the handler once, after this turn.
    void later(Handler handler);

    /// Sets the handler that runs after the last handler of every turn in which one ran.
    void atEndOfTurn(Handler handler) { atEndOfTurn_ = std::move(handler); }

    /// Runs the handler after a turn that had nothing to do, when everything that happened before this call
    /// has been handled. Under steady load it runs after 500 turns.
    void whenIdle(Handler handler);

    /// The time at which the handlers of this turn began to run.
    Date now() const { return now_; }

    /// The libuv loop, for the other classes of Loop/ only.
    uv_loop_s* handle() const { return loop_.get(); }

  private:
    void runHandlers();
    void runIdleHandlers();

    std::unique_ptr<uv_loop_s> loop_;
    std::vector<Handler> handlers_, idleHandlers_;
    int busyTurns_ = 0; ///< since the last turn without anything to do
    Handler atEndOfTurn_;
    Date now_;
    bool isStopped_ = false;
};

/// Calls its handler once, some time after it was started.
class Timer {
  public:
    using Seconds = std::chrono::duration<double>;

    Timer(EventLoop& loop, EventLoop::Handler handler);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Starts anew if it runs already. Rounded up to milliseconds: it is never early.
    void start(Seconds after);
    void stop();
    bool isRunning() const;

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

/// Calls its handler after a signal came. Signals that come in one turn may count as one.
class SignalWatch {
  public:
    /// Throws LoopError.
    SignalWatch(EventLoop& loop, int signal, EventLoop::Handler handler);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

/// What the system reported about a folder during one turn.
struct FolderHints {
    std::set<std::string> names; ///< of entries that were made, changed, renamed or removed
    bool isAll = true;           ///< false: other entries may have changed too
};

/// Calls its handler after something in a folder changed. It is a hint: the system may merge changes, drop
/// some when there are too many, and report what is no change. So the owner must also look by itself now and
/// then.
class FolderWatch {
  public:
    using Handler = std::function<void(const FolderHints&)>;

    FolderWatch(EventLoop& loop, Handler handler);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// Watches the folder that is at the path now, in place of the earlier one. Does nothing when that very
    /// folder is watched already. False when there is no folder, or the system has no more watches to give.
    bool watch(const std::string& folder);

    /// Whether the watched folder is the one that is at the path now.
    bool watches(const std::string& folder) const;

  private:
    struct Inner;
    EventLoop& loop_;
    Handler handler_;
    std::shared_ptr<Inner> inner_;
    FileDescriptor folder_; ///< the one that is watched
    std::uint64_t device_ = 0, inode_ = 0;
};

} // namespace quorvik
