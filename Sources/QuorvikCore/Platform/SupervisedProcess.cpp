#include "QuorvikCore/Platform/SupervisedProcess.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
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

} // namespace

SupervisedProcess::SupervisedProcess()
    : thread_(::pthread_self()), interruptWasIgnored_(isIgnored(SIGINT)),
      childSignalWasIgnored_(isIgnored(SIGCHLD)) {
    sigemptyset(&served_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&served_, signal);
    ::pthread_sigmask(SIG_BLOCK, &served_, &originalMask_);
    // A handler that is never called: macOS drops a blocked SIGCHLD at its default, and were it ignored (a
    // parent may leave it so) the kernel would discard the command's status.
    setAction(SIGCHLD, doNothing, SA_NOCLDSTOP);
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

    // An interrupt that came before the command existed is still held. One that came since reached the
    // command through its process group too; twice does no harm.
    sigset_t pending;
    if (!interruptWasIgnored_ && ::sigpending(&pending) == 0 && sigismember(&pending, SIGINT) == 1)
        ::kill(pid_, SIGINT);
    setAction(SIGINT, SIG_IGN);
    return 0;
}

// Not posix_spawn(): that can set a signal to its default but not back to "ignored" (SIGCHLD), and on Linux
// it does not run a script without "#!". Nothing but this thread exists yet, so fork() costs and risks
// little.
void SupervisedProcess::becomeCommand(std::vector<char*>& words, int standardOutput, int standardError,
                                      int errorReport) const {
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE})
        setAction(signal, SIG_DFL);
    setAction(SIGCHLD, childSignalWasIgnored_ ? SIG_IGN : SIG_DFL);
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
    const pid_t ended = ::waitpid(pid_, &raw, WNOHANG);
    if (ended == 0 || (ended < 0 && errno == EINTR)) return false;
    pid_ = 0;
    if (ended < 0)
        status = 127; // taken from us: it cannot be known, and must not pass for success
    else
        status = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
    return true;
}

int SupervisedProcess::wait(const std::function<bool()>& outputDone) {
    int status = 0;
    bool ended = reap(status);
    while (!ended || !outputDone()) {
        int signal = 0;
        ::sigwait(&served_, &signal);
        if (!ended) ended = reap(status); // whatever came: a command that is gone cannot be told anything
        if (signal != SIGTERM && signal != SIGHUP) continue;
        if (!ended) {
            ::kill(pid_, signal);
        } else {
            // Sent to the whole group perhaps, and only just after the command's death: what it wrote is
            // still on its way through the pipes.
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
            while (!outputDone() && std::chrono::steady_clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            break;
        }
    }
    return status;
}

void SupervisedProcess::wake() const {
    ::pthread_kill(thread_, SIGCHLD);
}

} // namespace quorvik
