#include "QuorvikCore/Platform/ListeningSockets.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace quorvik::Platform {

namespace {

template <typename Address>
bool accepts(const Address& address, int family, std::chrono::milliseconds limit) {
    const FileDescriptor socket(::socket(family, SOCK_STREAM, 0));
    if (!socket) return false;
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return true;
    if (errno != EINPROGRESS) return false;
    pollfd wanted{socket.get(), POLLOUT, 0};
    if (::poll(&wanted, 1, static_cast<int>(limit.count())) <= 0) return false;
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

} // namespace

bool acceptsConnections(std::int64_t port, std::chrono::milliseconds limit) {
    const std::uint16_t number = htons(static_cast<std::uint16_t>(port));
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = number;
    four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = number;
    six.sin6_addr = in6addr_loopback;
    return accepts(four, AF_INET, limit) || accepts(six, AF_INET6, limit);
}

} // namespace quorvik::Platform
