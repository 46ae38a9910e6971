#include "QuorvikCore/Platform/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace quorvik {

bool FileDescriptor::close() {
    return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR;
}

Pipe Pipe::create() {
    // pipe2() would set the flag at birth, but macOS lacks it. Pipes are made by the one thread that starts
    // programs, so no child is born in between.
    int ends[2];
    if (::pipe(ends) != 0) return {};
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void Pipe::enlarge() const {
#ifdef F_SETPIPE_SZ
    constexpr int size = 1 << 20; // the most that Linux gives an ordinary user
    ::fcntl(writeEnd.get(), F_SETPIPE_SZ, size);
#endif
}

void occupyStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
            ::open("/dev/null", O_RDWR | O_CLOEXEC); // takes the lowest free number: this one
    }
}

bool writeAll(int descriptor, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0) {
            errno = EIO;
            return false;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd writable{descriptor, POLLOUT, 0};
            ::poll(&writable, 1, -1);
            // macOS cannot wait for some devices, /dev/tty among them, and says so at once.
            if ((writable.revents & POLLNVAL) != 0) ::usleep(10'000);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace quorvik
