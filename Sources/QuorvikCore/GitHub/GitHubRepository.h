#pragma once

#include <optional>
#include <string>
#include <string_view>

/// How repositories are called on GitHub.
namespace quorvik::GitHubRepository {

/// Whether the text is "owner/name", of the characters that GitHub allows, and can so be a part of an
/// address.
bool isName(std::string_view text);

/// The name of the repository that a remote of git's is on github.com, by its address in any of the forms
/// that git takes ("git@github.com:owner/name.git", "https://github.com/owner/name"…). Absent for all others.
std::optional<std::string> nameOf(std::string_view remote);

} // namespace quorvik::GitHubRepository
