#include "QuorvikCore/Platform/ServerSocket.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/LineSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

/// Connections that wait to be accepted. macOS refuses the next one at once; 128 is what it grants at most.
constexpr int queueLength = 128;

/// Creates files without any permission for others while it lives.
class PrivateMask {
  public:
    PrivateMask() : before_(::umask(0177)) {}
    ~PrivateMask() { ::umask(before_); }
    PrivateMask(const PrivateMask&) = delete;
    PrivateMask& operator=(const PrivateMask&) = delete;

  private:
    mode_t before_;
};

[[noreturn]] void fail(const Path& path, int error) {
    throw FileError("listen at", path, error);
}

/// ".q<pid>" beside the public name: as short as it can be, since a socket's path has little room.
Path privateName(const Path& path) {
    return path.parent_path() / (".q" + std::to_string(::getpid()));
}

sockaddr_un addressOf(const Path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.native().size() + 1);
    return address;
}

FileDescriptor unboundSocket(const Path& path) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (!socket) fail(path, errno);
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    return socket;
}

/// Also when its queue is full.
bool somebodyListens(const Path& path) {
    const FileDescriptor socket = unboundSocket(path);
    const sockaddr_un address = addressOf(path);
    return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
           errno == EAGAIN || errno == EINPROGRESS;
}

} // namespace

ServerSocket ServerSocket::publish(const Path& path, Replaces replaces) {
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode)) fail(path, EEXIST);

    const Path hidden = privateName(path);
    if (std::max(path.native().size(), hidden.native().size()) + 1 > LineSocket::maxPathBytes)
        fail(path, ENAMETOOLONG);
    if (replaces == Replaces::dead && somebodyListens(path)) fail(path, EADDRINUSE);
    FileDescriptor socket = unboundSocket(path);
    const sockaddr_un address = addressOf(hidden);
    ::unlink(hidden.c_str()); // of a process that had our number and was killed
    {
        const PrivateMask mask;
        if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            fail(path, errno);
    }
    if (::listen(socket.get(), queueLength) != 0 || ::lstat(hidden.c_str(), &status) != 0 ||
        ::rename(hidden.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(hidden.c_str());
        fail(path, error);
    }
    return ServerSocket(std::move(socket), path, status.st_dev, status.st_ino);
}

bool ServerSocket::isPublished() const {
    struct stat status;
    return ::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

void ServerSocket::withdraw() {
    if (isPublished()) ::unlink(path_.c_str());
}

} // namespace quorvik
