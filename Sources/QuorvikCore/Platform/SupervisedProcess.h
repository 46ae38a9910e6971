#pragma once

#include <pthread.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace quorvik {

/// Runs one command in the place of this process: the command finds its arguments, environment, folder,
/// standard input, descriptors, process group, signal mask and signal dispositions as this process found its
/// own (SIGINT, SIGTERM and SIGPIPE at their defaults), and the signals meant for it reach it.
///
///  1. The constructor blocks the signals below. One that arrives before the command runs is kept for it.
///  2. start() starts the command. From then on SIGINT and SIGQUIT are ignored, since a terminal sends them
///  to the command as well.
///  3. wait() forwards SIGTERM, SIGHUP, SIGALRM, SIGUSR1 and SIGUSR2 until the command has ended. The same
///  thread reaps and forwards, so a signal never goes to a process number that has been given to another
///  process.
///
/// SIGXFSZ is ignored: reaching the limit of file size must not end us. The signals are blocked in every
/// thread if the constructor runs before the first thread is started.
///
/// All functions but wake() are called on the constructing thread.
class SupervisedProcess {
  public:
    SupervisedProcess();
    SupervisedProcess(const SupervisedProcess&) = delete;
    SupervisedProcess& operator=(const SupervisedProcess&) = delete;

    /// Before start(): makes the command lead a process group of its own; forwarded signals go to the whole
    /// group. For a command that must not get the terminal's keys.
    void useOwnGroup() { hasOwnGroup_ = true; }

    /// Starts the command `arguments[0]` (searched in the PATH unless it contains "/"; a file without "#!" is
    /// run by /bin/sh, as a shell would) with the two descriptors as its standard output and error. Returns
    /// 0, or the system's error number when it could not be started.
    int start(const std::vector<std::string>& arguments, int standardOutput, int standardError);

    /// Waits until the command has ended and `outputDone()` holds, which is asked again after every wake().
    /// After SIGTERM or SIGHUP, when the command is gone, this waits for `outputDone()` at most one more
    /// second: processes that the command left in the background may keep its output open. Returns the
    /// command's exit code, or 128 + the number of the signal that killed it.
    int wait(const std::function<bool()>& outputDone);

    /// Makes wait() ask `outputDone()` again. From any thread.
    void wake() const;

  private:
    [[noreturn]] void becomeCommand(std::vector<char*>& words, int standardOutput, int standardError,
                                    int errorReport) const;
    bool reap(int& status);
    void forward(int signal) const;

    pthread_t thread_;
    bool hasOwnGroup_ = false;
    pid_t pid_ = 0; ///< 0 before the start and once the command is reaped
    sigset_t served_{};
    sigset_t originalMask_{};
    sigset_t originallyIgnored_{};
};

} // namespace quorvik
