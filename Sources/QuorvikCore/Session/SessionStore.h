#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <unordered_map>
#include <variant>
#include <vector>

/// The session records on disk: one JSON file each, in a folder that belongs to no process.
///
/// Writers (short-lived programs, one per event) queue on an exclusive lock of the record's own lock file,
/// rewrite the record and rename it into place. Readers take no lock: they see the old file or the new one,
/// whole. A file that cannot be read hides no other. docs/files.md describes the files.
namespace quorvik::SessionStore {

using Path = std::filesystem::path;

/// Bytes; a larger file is never parsed, whoever wrote it.
inline constexpr std::uint64_t maxFileSize = 262'144;

/// What became of one file.
struct LoadResult {
    struct Ok {
        std::shared_ptr<const SessionRecord> record; ///< never null; shared with the cache
    };
    struct Unsupported { ///< a record of another schema version: a newer program's
        Path path;
        bool operator==(const Unsupported&) const = default;
    };
    struct Corrupt { ///< unreadable, not a record (looked at twice), or too large
        Path path;
        bool operator==(const Corrupt&) const = default;
    };
    std::variant<Ok, Unsupported, Corrupt> value;

    /// Null unless the file held a record.
    const SessionRecord* record() const {
        const Ok* ok = std::get_if<Ok>(&value);
        return ok ? ok->record.get() : nullptr;
    }
};

/// What loadAll() found in each file. A file whose modification time and size have not changed is not read
/// again. Owned by one reader, which passes it to each call; not for use by two threads.
struct LoadCache {
    struct Entry {
        std::int64_t modified = 0; ///< nanoseconds since 1970; the distant past when unknown
        std::uint64_t size = 0;    ///< bytes; 0 when unknown
        LoadResult result;
        std::uint64_t generation = 0; ///< the load that last met the file
    };
    std::unordered_map<std::string, Entry> entries; ///< by the file's path
    std::uint64_t generation = 0;                   ///< loads so far
};

/// The record's file: "<source>-<session id>.json", in which every character of the id that is not a letter
/// or digit (of any script), "-" or "_" becomes "_". Its lock file has ".lock" appended.
Path fileURL(Source source, std::string_view sessionID, const Path& folder);

/// Changes one record under its lock. `mutate` gets the current record, absent when there is no readable one,
/// and leaves what is to be written; leaving it absent writes nothing and removes nothing. Creates the
/// folder. Waits for other writers as long as it takes, or no longer than `limit`. Throws FileError when the
/// folder or the lock file cannot be made, the limit is reached or the write fails (the file is then as it
/// was).
void update(Source source, std::string_view sessionID, const Path& folder,
            const std::function<void(std::optional<SessionRecord>& record)>& mutate,
            std::optional<std::chrono::milliseconds> limit = std::nullopt);

/// Replaces one file by the record in one step, permissions 0600. Takes no lock. Throws FileError, also for a
/// record that would be larger than maxFileSize.
void write(const SessionRecord& record, const Path& file);

/// Reads one record file.
LoadResult load(const Path& file);

/// The result for every record file of a folder ("*.json", names that begin with "." left out), in the
/// system's listing order. Empty when the folder cannot be listed; `error`, when given, then says why. Files
/// that are gone are removed from the cache.
std::vector<LoadResult> loadAll(const Path& folder, LoadCache& cache, std::error_code* error = nullptr);
std::vector<LoadResult> loadAll(const Path& folder, std::error_code* error = nullptr);

/// Deletes the record's file and what stands beside it, its lock file last, under the lock. Failures are
/// ignored; a lock that cannot be had within 2 seconds is one.
void remove(const SessionRecord& record, const Path& folder);

/// Tells readers that something changed; writers call it after each update.
void postChangeNotification();

} // namespace quorvik::SessionStore
