#pragma once

#include "QuorvikCore/Usage/UsageFigure.h"

#include <cstdint>
#include <filesystem>
#include <map>

namespace quorvik {

/// Codex's rate limits, from the files in which it notes its sessions ("rollouts"):
/// YYYY/MM/DD/rollout-*.jsonl, with a line about tokens and limits after every answer of the account.
class CodexUsage {
  public:
    /// The windows that one line of a rollout tells of, at the time that is in the line: "codex.primary" and
    /// "codex.secondary", each from {used_percent, window_minutes, resets_at in seconds since 1970 or
    /// resets_in_seconds}. Limits that are not the account's own have their `limit_id` in between:
    /// "codex.<limit_id>.primary". Empty for any other line, and for one without a time; a window that cannot
    /// be true is left out.
    static std::vector<UsageFigure> parse(std::string_view line);

    explicit CodexUsage(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// The newest figure of each window, sorted by id. Reads the eight files that changed last from their
    /// ends, and of those that were read before only what is new: usually some kilobytes, at most the last 4
    /// MiB of each. A session that goes on in a file of more than seven days of work ago is not seen. Figures
    /// that were seen once stay. Files that are missing or cannot be read count as empty.
    std::vector<UsageFigure> read();

    /// Where a change is likely to bring new figures: the folder of the last day, else the one of all.
    std::filesystem::path newestFolder() const;

  private:
    struct File;
    std::vector<File> newestFiles() const;
    void take(const std::vector<UsageFigure>& figures);

    std::filesystem::path folder_;
    std::map<std::string, std::uint64_t> readUpTo_; ///< by path, bytes
    std::map<std::string, UsageFigure> figures_;    ///< by the window's id
};

} // namespace quorvik
