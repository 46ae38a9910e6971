#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// Dates as web services write them.
namespace quorvik::ISO8601 {

/// The moment that an internet date-time names: "2011-01-26T19:01:12Z", with "Z" or an offset ("+02:00",
/// "+0200" or "+02"). Each number has all its digits, "T" and "Z" are capitals, and nothing stands before or
/// after it. Absent when it is not of this form (so also with a fraction of a second, or without a zone), or
/// names no moment: February 30, 24:00:00, a leap second, an offset of 24 hours or more.
std::optional<std::chrono::sys_seconds> parse(std::string_view text);

/// As parse(), for a moment whose seconds may have a fraction ("…:12.345Z"), which is dropped.
std::optional<std::chrono::sys_seconds> parseWithoutFraction(std::string_view text);

/// The other way round, to the second: "2011-01-26T19:01:12Z".
std::string text(std::chrono::sys_time<std::chrono::duration<double>> moment);

} // namespace quorvik::ISO8601
