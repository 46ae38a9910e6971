#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One file that differs between two commits, or between a commit and the working tree.
struct FileChange {
    enum class Status { modified, added, deleted, renamed, copied, typeChanged, unmerged };

    std::string path;                   ///< in the newer state, from the repository's root; UTF-8, repaired
    std::optional<std::string> oldPath; ///< of a renamed or copied file
    Status status = Status::modified;
    std::int64_t added = 0, removed = 0; ///< lines; both 0 for a binary file
    bool isBinary = false;
    bool isSubmodule = false; ///< it names a commit of another repository

    bool operator==(const FileChange&) const = default;
};

template <>
inline constexpr std::array<std::string_view, 7> rawValues<FileChange::Status> = {
    "modified", "added", "deleted", "renamed", "copied", "typeChanged", "unmerged"};

/// The files that differ, and their sums.
struct ChangeSet {
    std::vector<FileChange> files;       ///< in git's order, the first GitChanges::mostFiles of them
    std::int64_t fileCount = 0;          ///< all of them
    std::int64_t added = 0, removed = 0; ///< lines of all files

    bool operator==(const ChangeSet&) const = default;
};

/// One line of a file's difference.
struct DiffLine {
    enum class Kind {
        hunk,    ///< "@@ -1,3 +1,4 @@ int main()": where the next lines stand
        context, ///< in both files
        added,
        removed,
        note, ///< "\ No newline at end of file": about the line before
    };

    Kind kind = Kind::context;
    std::optional<std::int64_t> oldNumber; ///< from 1; absent where the line is not in the older file
    std::optional<std::int64_t> newNumber; ///< likewise of the newer file
    std::string text; ///< without git's sign in front and without the line feed; UTF-8, repaired

    bool operator==(const DiffLine&) const = default;
};

template <>
inline constexpr std::array<std::string_view, 5> rawValues<DiffLine::Kind> = {"hunk", "context", "added",
                                                                              "removed", "note"};

/// The difference of one file.
struct FileDiff {
    std::string path;                   ///< as in FileChange
    std::optional<std::string> oldPath; ///< when it differs from `path`
    std::vector<DiffLine> lines;        ///< empty for a binary file, and when only the mode changed
    std::vector<std::string> notes; ///< "new file mode 100755", "similarity index 90%"… as git says them
    bool isBinary = false;
    bool isShortened = false; ///< there is more than GitChanges keeps, or the text ended within a hunk

    bool operator==(const FileDiff&) const = default;
};

/// What git says about the difference between two states of a repository. git is run by the caller, with the
/// words that listWords() and diffWords() give, and its output is read here. Both readers take time and
/// memory in proportion to what they return, plus one pass over the text.
namespace GitChanges {

constexpr std::size_t mostFiles = 1000;         ///< of a ChangeSet
constexpr std::size_t mostLines = 20'000;       ///< of a FileDiff
constexpr std::size_t longestDiffLine = 10'000; ///< bytes

/// The state before the first commit: the id of the empty tree, for a repository whose commit ids look like
/// `id` (40 or 64 hexadecimal digits).
std::string_view emptyTree(std::string_view id);

/// Two states of the repository at `root`. Without `to`, the working tree.
struct Range {
    std::string root;
    std::string from; ///< an id or emptyTree()
    std::optional<std::string> to;
};

/// The words of the command whose output parseList() reads. It obeys none of the user's settings that change
/// the form of the output, and runs none of the programs that a repository may name in its settings.
std::vector<std::string> listWords(const Range& range);

/// The words of the command whose output parseDiff() reads: the difference of one of the files. The output
/// may tell of others beside it when the path had to be repaired, and of the file twice when its type
/// changed.
std::vector<std::string> diffWords(const Range& range, const FileChange& file);

/// Reads the output of `git diff --raw --numstat -z`, or of `--numstat -z` alone, which does not tell added
/// and deleted files from modified ones. Absent when it is anything else, and for the combined form of a
/// merge's difference.
std::optional<ChangeSet> parseList(std::string_view output);

/// Reads a unified difference, one entry for each of its files. Quoted paths are unquoted. A combined
/// difference ("diff --cc") is refused: absent, as for a text that is no difference at all. The empty text
/// holds no files.
std::optional<std::vector<FileDiff>> parseDiff(std::string_view output);

} // namespace GitChanges

} // namespace quorvik
