#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <filesystem>
#include <optional>

namespace quorvik {

/// An operation of git's that stopped half-way, for a conflict or because it was told to.
enum class GitWorkInProgress { merge, rebase, cherryPick, revert };

template <>
inline constexpr std::array<std::string_view, 4> rawValues<GitWorkInProgress> = {"merge", "rebase",
                                                                                 "cherry-pick", "revert"};

/// The operation that the files in a git directory tell of. The directory is a repository's ".git", or, for a
/// linked worktree, the one that `git rev-parse --git-dir` names. During a rebase the answer is `rebase`,
/// even when a merge or cherry-pick of that rebase has stopped. Absent when no operation is in progress, or
/// there is no such directory.
std::optional<GitWorkInProgress> detectGitWorkInProgress(const std::filesystem::path& gitDirectory);

} // namespace quorvik
