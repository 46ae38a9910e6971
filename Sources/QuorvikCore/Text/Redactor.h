#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Makes a command line or a tool's argument fit to be shown on the island and kept in a session record: one
/// line, short, paths made short, and no credential left readable.
namespace quorvik::Redactor {

/// The display-safe form of `text`: at most 80 characters (and some kilobytes), without line breaks and tabs,
/// always valid UTF-8.
///  - Paths below `projectDir` become relative, paths below the user's home folder begin with "~/".
///  - Values of secret-looking options, of authorization headers and of every NAME=value assignment, and
///  tokens in the
///    known formats of some services, become "***". Assignments on purpose all of them: which variable holds
///    a database's password is not to be seen from its name.
///  - Long tokens that look random become "***" (looksSecret).
/// Never throws. A text that the regular-expression engine gives up on is masked whole: it may well hold a
/// secret.
std::string redact(std::string_view text, std::optional<std::string_view> projectDir = std::nullopt);

/// Whether a token looks random: it holds a digit and a letter (ASCII), and the Shannon entropy of its
/// characters is at least 3.5 bits each. English words lie near 3, base64 above 4.
bool looksSecret(std::string_view token);

/// Every run of 21 or more of the characters A–Z a–z 0–9 + / _ = . - that looksSecret() replaced by "***".
std::string replaceHighEntropy(std::string_view text);

} // namespace quorvik::Redactor
