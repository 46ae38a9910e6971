#include "QuorvikCore/Platform/SupervisedProcess.h"

#include "QuorvikCore/Platform/AwakeClock.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace quorvik {

namespace {

void setAction(int signal, void (*handler)(int), int flags = 0) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void doNothing(int) {}

/// A terminal sends these to the command as well.
constexpr int fromTerminal[] = {SIGINT, SIGQUIT};
/// Meant for the command when they are sent to us.
constexpr int forwarded[] = {SIGTERM, SIGHUP, SIGALRM, SIGUSR1, SIGUSR2};

} // namespace

SupervisedProcess::SupervisedProcess() : thread_(::pthread_self()) {
    sigemptyset(&served_);
    sigaddset(&served_, SIGCHLD);
    for (const int signal : fromTerminal) {
        sigaddset(&served_, signal);
        if (isIgnored(signal)) sigaddset(&originallyIgnored_, signal);
    }
    for (const int signal : forwarded)
        sigaddset(&served_, signal);
    for (const int signal : {SIGCHLD, SIGXFSZ})
        if (isIgnored(signal)) sigaddset(&originallyIgnored_, signal);
    ::pthread_sigmask(SIG_BLOCK, &served_, &originalMask_);
    setAction(SIGXFSZ, SIG_IGN); // a log that may not grow is an error of one write, not our end
    // Handlers that are never called. macOS drops a blocked SIGCHLD at its default, and were it ignored (a
    // parent may leave it so) the kernel would discard the command's status. When a second signal comes while
    // macOS still wakes sigwait() for a first one, the first is lost unless the second one's handler restarts
    // system calls.
    setAction(SIGCHLD, doNothing, SA_NOCLDSTOP | SA_RESTART);
    for (const int signal : forwarded)
        if (!isIgnored(signal)) setAction(signal, doNothing, SA_RESTART);
}

int SupervisedProcess::start(const std::vector<std::string>& arguments, int standardOutput,
                             int standardError) {
    std::vector<char*> words;
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str())); // execvp() does not write to them
    words.push_back(nullptr);

    Pipe errorReport = Pipe::create(); // close-on-exec: end of file means that the command runs
    if (!errorReport.readEnd) return errno;
#ifdef __APPLE__
    const pid_t child = ::fork(); // vfork() is deprecated there
#else
    const pid_t child = ::vfork(); // spares copying our page tables only to drop them
#endif
    if (child < 0) return errno;
    if (child == 0) becomeCommand(words, standardOutput, standardError, errorReport.writeEnd.get());

    errorReport.writeEnd.close();
    int errorNumber = 0;
    ssize_t count;
    do {
        count = ::read(errorReport.readEnd.get(), &errorNumber, sizeof errorNumber);
    } while (count < 0 && errno == EINTR);
    if (count == static_cast<ssize_t>(sizeof errorNumber)) {
        ::waitpid(child, nullptr, 0);
        return errorNumber;
    }
    pid_ = child;

    // A signal that came before the command existed is still pending. One that came later may have reached
    // the command through its process group already; a second one does no harm.
    sigset_t pending;
    sigemptyset(&pending);
    ::sigpending(&pending);
    for (const int signal : fromTerminal) {
        const bool wasIgnored = sigismember(&originallyIgnored_, signal) == 1;
        if (!wasIgnored && sigismember(&pending, signal) == 1) ::kill(pid_, signal);
        setAction(signal, SIG_IGN);
    }
    return 0;
}

// Not posix_spawn(): that can set a signal to its default but not back to "ignored" (SIGCHLD), and on Linux
// it does not run a script without "#!". Other threads may exist; the child makes only system calls that are
// allowed in between, and holds no lock.
void SupervisedProcess::becomeCommand(std::vector<char*>& words, int standardOutput, int standardError,
                                      int errorReport) const {
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE})
        setAction(signal, SIG_DFL);
    for (const int signal : forwarded) // a held one must find no handler of ours
        if (!isIgnored(signal)) setAction(signal, SIG_DFL);
    for (const int signal : {SIGCHLD, SIGXFSZ})
        setAction(signal, sigismember(&originallyIgnored_, signal) == 1 ? SIG_IGN : SIG_DFL);
    if (hasOwnGroup_) ::setpgid(0, 0);
    if (::dup2(standardOutput, STDOUT_FILENO) >= 0 && ::dup2(standardError, STDERR_FILENO) >= 0) {
        ::pthread_sigmask(SIG_SETMASK, &originalMask_, nullptr);
        ::execvp(words[0], words.data());
    }
    const int errorNumber = errno;
    [[maybe_unused]] const ssize_t count = ::write(errorReport, &errorNumber, sizeof errorNumber);
    ::_exit(127);
}

bool SupervisedProcess::reap(int& status) {
    int raw = 0;
    pid_t ended;
    do { // an end that is not seen now is not signalled again
        ended = ::waitpid(pid_, &raw, WNOHANG);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0) return false;
    pid_ = 0;
    if (ended < 0)
        status = 127; // taken from us: it cannot be known, and must not pass for success
    else
        status = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
    return true;
}

void SupervisedProcess::forward(int signal) const {
    ::kill(hasOwnGroup_ ? -pid_ : pid_, signal);
    // In a group of its own, a command that reads from the terminal is stopped, and a stopped process handles
    // no signal before it is continued.
    if (hasOwnGroup_) ::kill(-pid_, SIGCONT);
}

int SupervisedProcess::wait(const std::function<bool()>& outputDone) {
    int status = 0;
    bool ended = reap(status), toldToStop = false;
    while (!ended || !outputDone()) {
        int signal = 0;
        ::sigwait(&served_, &signal);
        if (!ended) ended = reap(status); // whatever came: a command that is gone cannot be told anything
        toldToStop = toldToStop || signal == SIGTERM || signal == SIGHUP;
        if (!ended && std::ranges::find(forwarded, signal) != std::end(forwarded)) forward(signal);
        if (!ended || !toldToStop) continue;

        // What the command wrote may still be on its way through the pipes.
        const auto deadline = Platform::AwakeClock::now() + std::chrono::seconds(1);
        while (!outputDone() && Platform::AwakeClock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        break;
    }
    return status;
}

void SupervisedProcess::wake() const {
    ::pthread_kill(thread_, SIGCHLD);
}

} // namespace quorvik
