// poll() as macOS has it, for a program linked with -Wl,--wrap=poll: it takes no terminals.
// Curses, which asks for a terminal's input alone, does not use it there.

#include <poll.h>
#include <unistd.h>

extern "C" int __real_poll(pollfd* polled, nfds_t count, int milliseconds);

extern "C" int __wrap_poll(pollfd* polled, nfds_t count, int milliseconds) {
    bool hasTerminal = false;
    for (nfds_t index = 0; index < count; ++index)
        hasTerminal = hasTerminal || (polled[index].fd >= 0 && ::isatty(polled[index].fd) != 0);
    const bool isCurses = count == 1 && polled[0].events == POLLIN;
    if (!hasTerminal || isCurses) return __real_poll(polled, count, milliseconds);
    int found = 0;
    for (nfds_t index = 0; index < count; ++index) {
        const bool isTerminal = polled[index].fd >= 0 && ::isatty(polled[index].fd) != 0;
        polled[index].revents = 0;
        if (isTerminal)
            polled[index].revents = POLLNVAL;
        else
            __real_poll(&polled[index], 1, 0);
        found += polled[index].revents != 0 ? 1 : 0;
    }
    return found;
}
