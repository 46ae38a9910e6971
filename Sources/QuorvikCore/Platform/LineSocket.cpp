#include "QuorvikCore/Platform/LineSocket.h"

#include "QuorvikCore/Platform/AwakeClock.h"
#include "QuorvikCore/Platform/PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

namespace quorvik {

namespace {

#ifdef MSG_NOSIGNAL
constexpr int sendFlags = MSG_NOSIGNAL;
#else
constexpr int sendFlags = 0; // SO_NOSIGPIPE does it for the whole socket
#endif

/// How long a wait may go on without asking whether it is still wanted.
constexpr LineSocket::Seconds askingInterval(0.25);

bool peerIsThisUser(int socket) {
    const auto peer = Platform::peerProcess(socket);
    return peer && peer->user == ::geteuid();
}

timeval timevalOf(LineSocket::Seconds duration) {
    // The system takes a limit of zero for no limit at all.
    const double bounded = std::clamp(duration.count(), 1e-6, 86'400.0);
    const auto micros = static_cast<long long>(bounded * 1e6);
    timeval value;
    value.tv_sec = static_cast<decltype(value.tv_sec)>(micros / 1'000'000);
    value.tv_usec = static_cast<decltype(value.tv_usec)>(micros % 1'000'000);
    return value;
}

FileDescriptor newSocket() {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (!socket) return socket;
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
#ifdef SO_NOSIGPIPE
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    return socket;
}

/// 0, or the system's error number.
int connectTo(const FileDescriptor& socket, const std::string& path, LineSocket::Seconds limit) {
    // Linux lets connect() to a listener with a full queue wait as long as sending may; macOS refuses at
    // once.
    const timeval sendLimit = timevalOf(limit);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &sendLimit, sizeof sendLimit);

    if (path.size() + 1 > LineSocket::maxPathBytes) return ENAMETOOLONG;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return errno;
    return peerIsThisUser(socket.get()) ? 0 : EPERM;
}

} // namespace

FileDescriptor connectedSocket(const std::string& path, std::chrono::duration<double> limit, int& error) {
    FileDescriptor socket = newSocket();
    error = socket ? connectTo(socket, path, limit) : errno;
    return error == 0 ? std::move(socket) : FileDescriptor();
}

std::variant<LineSocket, LineSocket::ConnectFailure> LineSocket::connect(const std::string& path,
                                                                         Seconds limit) {
    FileDescriptor socket = newSocket();
    if (!socket) return ConnectFailure::noSocket;
    switch (connectTo(socket, path, limit)) {
    case 0: return LineSocket(std::move(socket));
    case ENAMETOOLONG: return ConnectFailure::pathTooLong;
    default: return ConnectFailure::notListening;
    }
}

bool LineSocket::sendLine(std::string_view line) {
    std::string text(line);
    text += '\n';
    ssize_t sent;
    do {
        sent = ::send(socket_.get(), text.data(), text.size(), sendFlags);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(text.size());
}

std::variant<std::string, LineSocket::ReadFailure>
LineSocket::receiveLine(Seconds timeout, const ReadLimits& limits, const std::function<bool()>& stillWanted) {
    using Clock = Platform::AwakeClock;
    const auto start = Clock::now();
    auto lastHeard = start;
    std::string text;
    std::vector<char> chunk(limits.chunkBytes);
    for (;;) {
        if (text.size() >= limits.lineBytes) return ReadFailure::tooLong;
        if (stillWanted && !stillWanted()) return ReadFailure::unwanted;
        const auto now = Clock::now();
        const Seconds remaining =
            std::min(timeout - Seconds(now - start), Seconds(limits.silence) - Seconds(now - lastHeard));
        if (!(remaining > Seconds::zero())) return ReadFailure::timedOut;
        const bool asksFirst = stillWanted && remaining > askingInterval;
        const double wait = asksFirst ? askingInterval.count() : remaining.count();
        pollfd readable{socket_.get(), POLLIN, 0};
        const int ready =
            ::poll(&readable, 1, static_cast<int>(std::min(wait * 1000, double{maxMilliseconds})));
        if (ready < 0 && errno != EINTR) return ReadFailure::failed;
        if (ready == 0 && !asksFirst) return ReadFailure::timedOut;
        if (ready <= 0) continue;
        const ssize_t count = ::read(socket_.get(), chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return ReadFailure::closed;
        lastHeard = Clock::now();
        const std::size_t searched = text.size();
        text.append(chunk.data(), static_cast<std::size_t>(count));
        const auto lineFeed = text.find('\n', searched);
        if (lineFeed != std::string::npos) {
            text.resize(lineFeed);
            return text;
        }
    }
}

} // namespace quorvik
