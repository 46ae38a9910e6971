#include "quorvik_island/Terminal/TerminalSignals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace quorvik {

namespace {

constexpr int fatalSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int crashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};

std::atomic<int> writeEnd = -1;
std::atomic<bool> resized, suspended, continued;
std::atomic<int> fatal;

/// What a crash handler needs, made beforehand: a crash may happen anywhere, even inside the allocator.
struct Restoration {
    std::atomic<int> terminal = -1;
    termios settings{};
    char bytes[512];
    std::atomic<std::size_t> size = 0;
};
Restoration restoration;
alignas(16) char crashStack[64 * 1024];

void note(int signal) {
    const int error = errno;
    switch (signal) {
    case SIGWINCH: resized = true; break;
    case SIGTSTP: suspended = true; break;
    case SIGCONT: continued = true; break;
    default: fatal = signal; break;
    }
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1); // full: somebody will look anyway
    errno = error;
}

void restoreNow() {
    const int terminal = restoration.terminal.exchange(-1);
    if (terminal < 0) return;
    ::tcsetattr(terminal, TCSANOW, &restoration.settings);
    [[maybe_unused]] const ssize_t written = ::write(terminal, restoration.bytes, restoration.size);
}

/// Installed with SA_RESETHAND: when the signal is raised again, its default action is taken.
void crash(int signal) {
    restoreNow();
    ::raise(signal);
}

void handle(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

} // namespace

TerminalSignals::TerminalSignals() : pipe_(Pipe::create()) {
    if (!pipe_.readEnd) throw std::runtime_error("there is no pipe to be had");
    for (const int end : {pipe_.readEnd.get(), pipe_.writeEnd.get()})
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    writeEnd = pipe_.writeEnd.get();
    // The thread sanitizer loses a signal that comes during the first call that may wait; this one is it.
    ::poll(nullptr, 0, 0);
    for (const int signal : fatalSignals)
        handle(signal, note, 0);
    for (const int signal : {SIGTSTP, SIGCONT, SIGWINCH})
        handle(signal, note, SA_RESTART);
    stack_t stack{};
    stack.ss_sp = crashStack;
    stack.ss_size = sizeof crashStack;
    ::sigaltstack(&stack, nullptr);
    for (const int signal : crashes)
        handle(signal, crash, static_cast<int>(SA_RESETHAND | SA_ONSTACK | SA_NODEFER));
}

TerminalSignals::~TerminalSignals() {
    for (const int signal : fatalSignals)
        handle(signal, SIG_DFL, 0);
    for (const int signal : crashes)
        handle(signal, SIG_DFL, 0);
    for (const int signal : {SIGTSTP, SIGCONT, SIGWINCH})
        handle(signal, SIG_DFL, 0);
    writeEnd = -1;
}

TerminalSignals::Pending TerminalSignals::take() {
    char bytes[64];
    while (::read(pipe_.readEnd.get(), bytes, sizeof bytes) > 0) {
    }
    return {resized.exchange(false), suspended.exchange(false), continued.exchange(false), fatal.exchange(0)};
}

void TerminalSignals::stop() {
    continued = false;
    handle(SIGTSTP, SIG_DFL, 0);
    ::kill(0, SIGTSTP); // the whole job, as the terminal would
    // The process was continued. In an orphaned process group the stop is ignored, and kill() returned at
    // once.
    handle(SIGTSTP, note, SA_RESTART);
    continued = false;
}

void TerminalSignals::raiseAgain(int signal) {
    handle(signal, SIG_DFL, 0);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    ::raise(signal);
    ::_exit(128 + signal);
}

void TerminalSignals::restoreAtCrash(int terminal, const termios& settings, const std::string& bytes) {
    restoration.terminal = -1;
    restoration.settings = settings;
    restoration.size = std::min(bytes.size(), sizeof restoration.bytes);
    std::copy_n(bytes.begin(), restoration.size.load(), restoration.bytes);
    restoration.terminal = terminal;
}

void TerminalSignals::nothingToRestore() {
    restoration.terminal = -1;
}

} // namespace quorvik
