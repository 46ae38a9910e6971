#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace quorvik::Platform {

/// Who is at the other end of a connected Unix domain socket, as the kernel noted it when the connection was
/// made.
struct PeerProcess {
    uid_t user = 0;
    std::int32_t pid = 0; ///< 0 when the system does not tell
};

/// Absent when the system does not tell the user.
std::optional<PeerProcess> peerProcess(int socket);

} // namespace quorvik::Platform
