#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvik::Platform {

/// One row of the kernel's process table.
struct ProcessInfo {
    std::int32_t pid = 0;
    std::int32_t parentPID = 0;
    std::string name;     ///< the kernel's short command name (at most 15 or 16 bytes)
    double startTime = 0; ///< seconds since 1970; to the microsecond on macOS, to the clock tick on Linux
    std::optional<std::string> tty; ///< "/dev/" + name of the controlling terminal; absent when there is none
    bool isZombie = false;          ///< it has ended, but its parent has not asked for its status yet

    bool operator==(const ProcessInfo&) const = default;
};

/// Absent when there is no such process, or the kernel does not tell.
std::optional<ProcessInfo> processInfo(std::int32_t pid);

/// The words that the process was started with, its own name first. Empty when there is no such process, or
/// the kernel does not tell: of other users' processes it may not.
std::vector<std::string> processArguments(std::int32_t pid);

/// The folder in which the process works now. Absent when there is no such process, the folder has been
/// removed, or the kernel does not tell: of other users' processes it may not.
std::optional<std::string> workingFolder(std::int32_t pid);

} // namespace quorvik::Platform
