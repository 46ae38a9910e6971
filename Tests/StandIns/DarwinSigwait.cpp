// sigwait() as macOS has it, for a `quorvik` linked with -Wl,--wrap=sigwait. While a thread waits there,
// every other signal is held back from it. And when a second signal comes before the thread has woken for the
// first (here: within 50 ms of one but SIGCHLD, as on a busy machine), the wait is interrupted and the first
// is lost, unless the second is ignored or its handler restarts system calls.

#include <pthread.h>
#include <unistd.h>

#include <csignal>

extern "C" int __real_sigwait(const sigset_t* set, int* signal);

extern "C" int __wrap_sigwait(const sigset_t* set, int* signal) {
    constexpr int end = 65;
    sigset_t others, before, pending;
    sigfillset(&others);
    for (int number = 1; number < end; ++number)
        if (sigismember(set, number) == 1) sigdelset(&others, number);
    ::pthread_sigmask(SIG_BLOCK, &others, &before);
    int first = 0;
    const int result = __real_sigwait(set, &first);
    if (first != SIGCHLD) ::usleep(50'000);
    ::sigpending(&pending);
    bool lost = false;
    for (int number = 1; number < end; ++number) {
        if (sigismember(set, number) != 1 || sigismember(&pending, number) != 1) continue;
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        lost = lost || (action.sa_handler != SIG_IGN && (action.sa_flags & SA_RESTART) == 0);
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!lost) *signal = first; // and otherwise leaves it alone, without an error
    return result;
}
