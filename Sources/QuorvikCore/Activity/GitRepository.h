#pragma once

#include "QuorvikCore/Activity/GitEventClassifier.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// Where a repository keeps its files, and its state as read from them: a few small files, instead of a run
/// of git. The format is that of gitrepository-layout(5).
class GitRepository {
  public:
    using Path = std::filesystem::path;

    /// The repository whose working tree has this root: with a folder ".git", or with a file ".git" that
    /// names the folder (linked worktrees, submodules). Absent when there is none.
    static std::optional<GitRepository> at(const Path& root);

    const Path& root() const { return root_; }
    const Path& gitFolder() const { return gitFolder_; }       ///< HEAD and its history: one per worktree
    const Path& commonFolder() const { return commonFolder_; } ///< branches, settings: shared by worktrees

    /// What the files tell.
    struct State {
        /// Without its `subject`, which stands in an object; and without the fields of the upstream when
        /// `needsGit`.
        GitSnapshot snapshot;

        /// The files do not tell everything: refs are kept in another form ("reftable"), or the settings
        /// include other files. git has to be asked.
        bool needsGit = false;
    };

    /// Reads the state. Takes no lock: where git writes meanwhile, each field is as it was before or after,
    /// and the file events that follow lead to another look. Absent when HEAD cannot be read.
    std::optional<State> read() const;

    /// The words of a command that prints the first line of that commit's message.
    std::vector<std::string> subjectWords(std::string_view commit) const;

    /// Runs git with these words, and gives what it prints; absent when it fails.
    using RunGit = std::function<std::optional<std::string>(const std::vector<std::string>& words)>;

    /// The whole state, told by git alone. Absent when git does not know this repository.
    std::optional<GitSnapshot> askGit(const RunGit& run) const;

  private:
    GitRepository(Path root, Path gitFolder, Path commonFolder)
        : root_(std::move(root)), gitFolder_(std::move(gitFolder)), commonFolder_(std::move(commonFolder)) {}

    /// The content of the file of packed refs, read when it is first asked for.
    using PackedRefs = std::optional<std::string>;

    /// The commit that a ref leads to, through symbolic refs; absent when there is no such ref.
    std::optional<std::string> resolved(std::string ref, PackedRefs& packed) const;

    std::vector<std::string> words(std::initializer_list<std::string_view> more) const;

    Path root_, gitFolder_, commonFolder_;
};

/// The message of the newest entry of a reflog: the text behind the tab of its last line. Absent for an empty
/// one and for a line of another form.
std::optional<std::string> newestReflogMessage(std::string_view reflog);

/// What a file of packed refs says of one of them: the id of its commit or tag. Absent when it is not there.
std::optional<std::string> packedRef(std::string_view packedRefs, std::string_view ref);

} // namespace quorvik
