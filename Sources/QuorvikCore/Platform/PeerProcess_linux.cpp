#include "QuorvikCore/Platform/PeerProcess.h"

#include <sys/socket.h>

namespace quorvik::Platform {

std::optional<PeerProcess> peerProcess(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
    return PeerProcess{peer.uid, peer.pid};
}

} // namespace quorvik::Platform
