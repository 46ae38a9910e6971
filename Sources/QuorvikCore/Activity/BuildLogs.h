#pragma once

#include <filesystem>
#include <string_view>

/// The log files of supervised commands, in QuorvikPaths::logsDirectory().
namespace quorvik::BuildLogs {

/// "<id>.log" in the logs folder.
std::filesystem::path logURL(std::string_view id);

/// Deletes every "*.log" that was modified more than `days` days ago or is not among the `maxFiles` newest. A
/// file whose modification time cannot be read counts as the oldest. What cannot be listed or deleted is
/// passed over.
void prune(int days, int maxFiles);

} // namespace quorvik::BuildLogs
