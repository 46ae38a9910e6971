#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvik {

/// A user's file is not fit for the edit that was asked for; what() is one line for the user.
class EditError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What an edit did.
struct EditOutcome {
    bool changed = false;                        ///< the file was written or removed
    std::optional<std::filesystem::path> backup; ///< where the old content went
    bool isSame = false;                         ///< what was written is what the file held before

    bool operator==(const EditOutcome&) const = default;
};

/// The one way in which we edit files that belong to the user: read, decide, back up, replace in one step,
/// and start over when somebody else wrote to the file in the meantime.
namespace UserFileEdit {

/// Bytes; a larger file is refused, since no settings file is that large.
inline constexpr std::size_t maxFileSize = std::size_t{64} << 20;

/// What is to become of a file.
struct Decision {
    enum class Kind { keep, write, remove };
    Kind kind;
    std::string text; ///< of `write`: the new content

    static Decision keep() { return {Kind::keep, {}}; }
    static Decision write(std::string text) { return {Kind::write, std::move(text)}; }
    static Decision remove() { return {Kind::remove, {}}; }

    bool operator==(const Decision&) const = default;
};

using Content = std::optional<std::string>; ///< of a file; absent when there is none

/// The content of the file. Throws FileError when it is there and cannot be read.
Content read(const std::filesystem::path& file);

/// How an edit goes, beyond the decision.
struct Options {
    /// Name that the file's backups begin with (Backups::save); empty for none. A file that does not exist
    /// yet needs none.
    std::string backupName;
    /// Whether the edit goes on without a backup when there can be none; otherwise that failure ends it.
    bool backupIsOptional = false;
    /// Runs after the backup and before the file is touched; what it throws ends the edit.
    std::function<void()> beforeWrite;
};

/// Edits one file. `decide` turns its content into a decision. It is called again when somebody else changed
/// the file before the decision was carried out; what it throws ends the edit with the file as it was. Throws
/// FileError when reading, backing up or writing fails, and EditError "<path> keeps changing; nothing was
/// written" after 10 attempts.
EditOutcome edit(const std::filesystem::path& file, const std::function<Decision(const Content&)>& decide,
                 const Options& options);

} // namespace UserFileEdit

/// Copies of users' files as they were before an edit, in QuorvikPaths::backupsDirectory().
namespace Backups {

/// Backups kept of one file.
inline constexpr std::size_t kept = 5;

/// Writes a private copy (0600) named "<name>.<time>.bak", the time in UTC as in "2026-11-21T023556Z", and
/// deletes all but the newest backups of that name. Returns its path. When a backup of this very second
/// exists and holds something else, the call waits for the next second instead of replacing it. Throws
/// FileError when the copy cannot be written; what cannot be deleted is passed over.
std::filesystem::path save(std::string_view name, std::string_view content);

/// Moves a file into the backups folder, under a name such as save() gives, without reading it; deletes no
/// other backup. Returns its new path. Throws FileError; the file is then where it was.
std::filesystem::path moveHere(const std::filesystem::path& file);

} // namespace Backups

} // namespace quorvik
