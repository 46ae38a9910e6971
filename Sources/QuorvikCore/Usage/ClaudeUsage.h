#pragma once

#include "QuorvikCore/Usage/UsageFigure.h"

#include <filesystem>

/// Claude Code's rate limits. It tells them to its status line only, so the program that draws the status
/// line keeps the last figures in a file for everybody else.
namespace quorvik::ClaudeUsage {

/// A limit as the agent and its account call it, and the length of its window.
struct Limit {
    std::string_view name;
    std::int64_t minutes;
};
inline constexpr Limit limits[] = {{"five_hour", 300}, {"seven_day", 10080}};

/// The windows "claude.five_hour" and "claude.seven_day" in what a status line gets as its input: each
/// `rate_limits.five_hour` {used_percentage, resets_at in seconds since 1970}. What is missing, of a wrong
/// type or cannot be true is left out; empty when the text is no JSON object.
std::vector<UsageWindow> parse(std::string_view statusLineInput);

/// The figures to keep, once `told` was told; absent when `kept` may stay as it is. A window that is not told
/// of stays. A status line is drawn several times a second, so the same figure is taken over again only when
/// it is a minute old. A session that has been idle draws the figures of its last turn: one that is behind
/// the kept one (an earlier reset, or less used before the same reset) counts only once that is ten minutes
/// old, and one that was reset already never.
std::optional<std::vector<UsageFigure>> updated(std::span<const UsageFigure> kept,
                                                std::span<const UsageWindow> told, Date now);

/// "usage/claude.json" in the support folder.
std::filesystem::path file();

/// Takes the figures of a status line's input over into the file, in one step. Silent: whatever fails, the
/// file stays as it was.
void keep(std::string_view statusLineInput, Date now);

/// The figures of the file; empty when there is none, or none that can be understood.
std::vector<UsageFigure> read();

} // namespace quorvik::ClaudeUsage
