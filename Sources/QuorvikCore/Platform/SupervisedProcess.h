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
///  1. The constructor holds back the signals below, so that one that arrives before the command runs is kept
///  for it.
///  2. start() starts the command. From then on SIGINT and SIGQUIT are ignored: a terminal sends them to the
///  command as
///     well.
///  3. wait() forwards SIGTERM, SIGHUP, SIGALRM, SIGUSR1 and SIGUSR2 until the command has ended. One thread
///  reaps and
///     forwards, so a signal never goes to a process number that has been given to somebody else.
///
/// SIGXFSZ is ignored: a file that may not grow must not end us. Signals are held back for the whole process
/// if the constructor runs before the first thread is started.
///
/// All but wake() are called on the constructing thread.
class SupervisedProcess {
  public:
    SupervisedProcess();
    SupervisedProcess(const SupervisedProcess&) = delete;
    SupervisedProcess& operator=(const SupervisedProcess&) = delete;

    /// Before start(): the command is to lead a process group of its own, and what is forwarded to reach all
    /// of it. For a command that has no use for the terminal's keys.
    void useOwnGroup() { hasOwnGroup_ = true; }

    /// Starts the command `arguments[0]` (searched in the PATH unless it contains "/"; a file without "#!" is
    /// run by /bin/sh, as a shell would) with the two descriptors as its standard output and error. Returns
    /// 0, or the system's error number when it could not be started.
    int start(const std::vector<std::string>& arguments, int standardOutput, int standardError);

    /// Waits until the command has ended and `outputDone()` holds; it is asked again after every wake(). When
    /// SIGTERM or SIGHUP came and the command is gone, whatever it left in the background may hold its output
    /// open for another second at most. Returns the command's exit code, or 128 + the number of the signal
    /// that killed it.
    int wait(const std::function<bool()>& outputDone);

    /// Makes wait() look again. From any thread.
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
