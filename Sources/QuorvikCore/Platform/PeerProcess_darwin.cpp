#include "QuorvikCore/Platform/PeerProcess.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quorvik::Platform {

std::optional<PeerProcess> peerProcess(int socket) {
    PeerProcess peer;
    gid_t group;
    if (::getpeereid(socket, &peer.user, &group) != 0) return std::nullopt;
    pid_t pid = 0;
    socklen_t size = sizeof pid;
    if (::getsockopt(socket, SOL_LOCAL, LOCAL_PEERPID, &pid, &size) == 0) peer.pid = pid;
    return peer;
}

} // namespace quorvik::Platform
