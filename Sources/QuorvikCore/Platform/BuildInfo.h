#pragma once

#include <string>
#include <string_view>

/// What these programs were built from.
namespace quorvik::BuildInfo {

/// "0.1.0".
std::string_view version();

/// "2026-11-22": the day of this version, of which manual pages tell.
std::string_view date();

/// The abbreviated commit, "5a40340"; empty when the source was no clone of the repository.
std::string_view commit();

/// "quorvik-hook 0.1.0 (5a40340, Linux x86_64)", without a line feed; without the commit where that is not
/// known. The system is the one that the program runs on.
std::string line(std::string_view program);

/// Prints line() and a line feed on standard output. Returns the exit status: 0, or 1 when that cannot be
/// written.
int print(std::string_view program);

} // namespace quorvik::BuildInfo
