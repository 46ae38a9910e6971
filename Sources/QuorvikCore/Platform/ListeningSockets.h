#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// Which TCP ports somebody listens on. Looking may take some milliseconds on a machine with many processes.
namespace quorvik::Platform {

/// The listening sockets of the processes that this user may look at, as `lsof -nP -iTCP -sTCP:LISTEN -F pcn`
/// prints them (DevServerDiscovery). Absent where only lsof can tell (macOS, of which it is a part).
std::optional<std::string> listeningSockets();

/// A text that differs whenever other sockets listen than before, at a fraction of the cost of looking up
/// whose they are. Absent where the system has no such table.
std::optional<std::string> listenerTable();

/// Whether somebody accepts connections at this port of 127.0.0.1 or ::1. It connects, and closes at once.
/// For 1 to 65535; `limit` bounds the wait for each of the two.
bool acceptsConnections(std::int64_t port, std::chrono::milliseconds limit);

} // namespace quorvik::Platform
