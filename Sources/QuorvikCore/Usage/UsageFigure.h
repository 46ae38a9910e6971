#pragma once

#include "QuorvikCore/Usage/UsageWindow.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// What was said of a window, and when.
struct UsageFigure {
    UsageWindow window;
    Date toldAt{}; ///< when the agent, or its account, said so

    /// Whether it is as good as the agent's word of this moment: told in the last five minutes, or (the clock
    /// was set back) in the future.
    bool isCurrent(Date now) const;

    /// JSON with "window" and "toldAt", in seconds since 1970. Strict: throws RecordError, also for a window
    /// that plausibleWindow() would not make.
    static UsageFigure fromJSON(const nlohmann::json& value);
    nlohmann::json toJSON() const;

    bool operator==(const UsageFigure&) const = default;
};

/// A window from what somebody says of it. What is used beyond 100 percent counts as 100. Absent when it
/// cannot be true: less than nothing or more than tenfold used, a length of no time or of more than a year, a
/// reset before 1970 or after the year 9999.
std::optional<UsageWindow> plausibleWindow(std::string id, Source agent, std::int64_t minutes,
                                           double usedPercent, double resetsAt);

/// A file of figures: an object with the array "figures".
namespace UsageFigures {

/// Empty for a text that is not exactly what text() makes, of at most 32 figures.
std::vector<UsageFigure> parse(std::string_view text);
std::string text(std::span<const UsageFigure> figures);

/// What parse() makes of a file; empty when it cannot be read or has more than 64 KiB.
std::vector<UsageFigure> read(const std::filesystem::path& path);

/// Replaces the file in one step, readable by its owner only; makes its folder. Throws FileError.
void write(const std::filesystem::path& path, std::span<const UsageFigure> figures);

} // namespace UsageFigures

} // namespace quorvik
