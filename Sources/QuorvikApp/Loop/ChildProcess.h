#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include <optional>
#include <string>
#include <vector>

namespace quorvik {

/// One run of another program: no shell, nothing on its standard input, a session of its own, the C locale,
/// no descriptors of ours, "/" as its folder. It never outlives its limits: after `limit` it gets SIGTERM,
/// with everything that it started, and two seconds later SIGKILL.
class ChildProcess {
  public:
    struct Limits {
        Timer::Seconds time;
        std::size_t outputBytes; ///< of standard output; a program that writes more is ended
    };

    /// What became of it.
    struct Result {
        std::optional<int> exitStatus; ///< absent: it could not be started, or was ended by a signal
        std::string output;            ///< what it wrote to standard output, as far as the limits went
        std::string failure;           ///< for people, why there is no exit status; else empty

        bool isSuccess() const { return exitStatus == 0; }
    };

    using Done = std::function<void(Result)>;

    /// Starts it. `arguments[0]` is looked for in the PATH. `done` is called once, never before this returns;
    /// not at all once the object is gone, which ends the program.
    ChildProcess(EventLoop& loop, const std::vector<std::string>& arguments, const Limits& limits, Done done);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Sends it, and what it started, the signal.
    void signal(int number);

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

} // namespace quorvik
