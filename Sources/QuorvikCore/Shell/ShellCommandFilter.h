#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Which commands of an interactive shell are worth a session: editors, pagers, remote shells, interpreters
/// and servers run long by nature, and nobody waits for them. Judged by the text of the command line alone,
/// as words between white space: no quoting is understood, no process looked at. Words are compared exactly,
/// commands by the last component of their path. Nothing here throws; the results lie in the texts given, or
/// are constants.
namespace quorvik::ShellCommandFilter {

using Words = std::span<const std::string_view>;

/// Whether a command that runs, or has succeeded, is shown once it has taken long enough.
bool isTracked(std::string_view command);

/// With `failed`, whether a command that failed is shown: of git commands those that talk to a remote or
/// change history, even when they took no time, and no others; of other commands those that isTracked()
/// names. Without `failed`, isTracked().
bool isTracked(std::string_view command, bool failed);

/// The subcommand among the words after "git"; absent when there are only options and their values.
std::optional<std::string_view> gitSubcommand(Words arguments);

/// Whether the word is a shell assignment, such as FOO_1=bar.
bool isAssignment(std::string_view word);

/// The display name of the service that the command deploys to, such as "Vercel"; "Deploy" for a package's
/// own deploy script; absent when the command deploys nothing.
std::optional<std::string_view> deployProvider(std::string_view command);

/// The command line split at white space, line breaks included.
std::vector<std::string_view> words(std::string_view command);

} // namespace quorvik::ShellCommandFilter
