#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvik::Platform {

/// The names of the environment variables that a process was started with. Absent when there is no such
/// process, or the system does not let us look (another user's process).
std::optional<std::vector<std::string>> environmentNames(std::int32_t pid);

} // namespace quorvik::Platform
