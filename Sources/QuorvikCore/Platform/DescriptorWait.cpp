#include "QuorvikCore/Platform/DescriptorWait.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace quorvik::Platform {

namespace {

/// poll() calls what it does not take not open.
bool isRefused(const pollfd& polled) {
    return (polled.revents & POLLNVAL) != 0 && polled.fd < FD_SETSIZE && ::fcntl(polled.fd, F_GETFD) >= 0;
}

/// Whether a descriptor that can be read has nothing to give: it is at its end.
bool isAtEnd(int descriptor) {
    int bytes = 0;
    return ::isatty(descriptor) != 0 && (::ioctl(descriptor, FIONREAD, &bytes) != 0 || bytes == 0);
}

int selectInput(std::span<AwaitedInput> inputs, int milliseconds) {
    fd_set readable;
    FD_ZERO(&readable);
    int most = -1;
    for (const AwaitedInput& input : inputs) {
        if (input.descriptor < 0 || input.descriptor >= FD_SETSIZE) continue;
        FD_SET(input.descriptor, &readable);
        most = std::max(most, input.descriptor);
    }
    timeval limit{};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = milliseconds % 1000 * 1000;
    const int count = ::select(most + 1, &readable, nullptr, nullptr, milliseconds < 0 ? nullptr : &limit);
    for (AwaitedInput& input : inputs) {
        const bool isAwaited = input.descriptor >= 0 && input.descriptor < FD_SETSIZE;
        input.canRead = count > 0 && isAwaited && FD_ISSET(input.descriptor, &readable);
        input.isBroken = input.canRead && isAtEnd(input.descriptor);
    }
    return count;
}

} // namespace

bool awaitInput(std::span<AwaitedInput> inputs, int milliseconds) {
    std::vector<pollfd> polled;
    for (const AwaitedInput& input : inputs)
        polled.push_back({input.descriptor, POLLIN, 0});
    int count = ::poll(polled.data(), static_cast<nfds_t>(polled.size()), milliseconds);
    if (count > 0 && std::ranges::any_of(polled, isRefused)) {
        count = selectInput(inputs, milliseconds);
    } else {
        for (std::size_t index = 0; index < polled.size(); ++index) {
            const short came = count > 0 ? polled[index].revents : short{0};
            inputs[index].isBroken = (came & (POLLHUP | POLLERR | POLLNVAL)) != 0;
            inputs[index].canRead = came != 0;
        }
    }
    return count >= 0 || errno == EINTR;
}

bool canWrite(int descriptor) {
    pollfd polled{descriptor, POLLOUT, 0};
    if (::poll(&polled, 1, 0) > 0 && isRefused(polled)) {
        fd_set writable;
        FD_ZERO(&writable);
        FD_SET(descriptor, &writable);
        timeval now{};
        const bool hangs = ::tcgetpgrp(descriptor) < 0; // then select() calls it writable all the same
        return ::select(descriptor + 1, nullptr, &writable, nullptr, &now) > 0 && !hangs;
    }
    return (polled.revents & (POLLOUT | POLLHUP | POLLERR | POLLNVAL)) == POLLOUT;
}

} // namespace quorvik::Platform
