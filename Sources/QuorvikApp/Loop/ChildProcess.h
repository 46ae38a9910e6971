#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One run of another program, in a session of its own, in "/", without a shell or any descriptors of ours.
/// When its time limit is reached, it and everything that it started get SIGTERM, and SIGKILL two seconds
/// later.
class ChildProcess {
  public:
    struct Limits {
        Timer::Seconds time;
        std::size_t outputBytes; ///< of standard output; a program that writes more is ended
    };

    /// How the run ended.
    struct Result {
        std::optional<int> exitStatus; ///< absent: it could not be started, or was ended by a signal
        std::string output;            ///< what it wrote to standard output, as far as the limits went
        std::string failure;           ///< for people, why there is no exit status; else empty

        bool isSuccess() const { return exitStatus == 0; }
    };

    /// The language of what it prints and shows.
    enum class Locale {
        plain, ///< C, and no colours: for programs whose output is read here
        users,
    };

    using Done = std::function<void(Result)>;

    /// Is called with what a program prints, as it comes: some bytes, no whole lines. Result::output then
    /// stays empty, and what it prints has no limit.
    using Listener = std::function<void(std::string_view)>;

    /// Starts the program. `arguments[0]` is searched in the PATH. Its standard input is `input`, whatever
    /// the size; nobody else sees it, unlike arguments. `done` is called once, never before the constructor
    /// returns. Destroying the object ends the program, and `done` is then not called.
    ChildProcess(EventLoop& loop, const std::vector<std::string>& arguments, const Limits& limits, Done done,
                 Locale locale = Locale::plain, Listener listener = {}, std::string input = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Asks the program, and everything that it started, to end by this signal, and kills it when it has not
    /// ended two seconds later.
    void end(int signal);

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

} // namespace quorvik
