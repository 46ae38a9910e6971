#pragma once

#include <filesystem>
#include <string_view>

/// The log files of supervised commands, in QuorvikPaths::logsDirectory().
namespace quorvik::BuildLogs {

/// "<id>.log" in the logs folder.
std::filesystem::path logURL(std::string_view id);

/// Deletes every "*.log" that is older than `days` days (by its modification time; one without counts as old)
/// or is not among the `maxFiles` newest. What cannot be listed or deleted is passed over.
void prune(int days, int maxFiles);

} // namespace quorvik::BuildLogs
