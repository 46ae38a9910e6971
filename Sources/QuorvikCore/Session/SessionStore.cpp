#include "QuorvikCore/Session/SessionStore.h"

#include "QuorvikCore/Platform/ChangeNotification.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/ManualCompaction.h"
#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <cerrno>
#include <limits>

namespace quorvik::SessionStore {

namespace {

constexpr mode_t ownerOnly = 0600;
constexpr std::chrono::seconds removalPatience(2); // a writer needs a millisecond
constexpr std::int64_t distantPast = std::numeric_limits<std::int64_t>::min();

Path lockPath(const Path& file) {
    return file.native() + ".lock";
}

/// Absent when the file's text is no JSON object, in UTF-8.
std::optional<RawJSON::Object> parsed(const std::optional<std::string>& text) {
    if (!text || !Unicode::isValid(*text)) return std::nullopt;
    return RawJSON::object(*text);
}

std::optional<SessionRecord> decoded(const std::optional<RawJSON::Object>& object) {
    if (!object) return std::nullopt;
    try {
        return SessionRecord::fromJSON(*object);
    } catch (const RecordError&) {
        return std::nullopt;
    }
}

bool hasOtherSchema(const std::optional<RawJSON::Object>& object) {
    const std::string_view* version = object ? (*object)["schemaVersion"] : nullptr;
    const auto number = version ? RecordAccess::integer(*version) : std::nullopt;
    return number && *number != SessionRecord::currentSchema;
}

/// `file` becomes a path only where one is asked for: most files are records.
LoadResult interpreted(const std::optional<std::string>& text, const std::string& file) {
    const auto object = parsed(text);
    if (hasOtherSchema(object)) return {LoadResult::Unsupported{file}};
    auto record = decoded(object);
    if (!record) return {LoadResult::Corrupt{file}};
    return {LoadResult::Ok{std::make_shared<const SessionRecord>(std::move(*record))}};
}

/// A file that seems to hold no record is read once more: a writer may have replaced it just then, and a file
/// system (APFS) may show the replaced file empty for a moment.
template <typename Read>
LoadResult readTwiceAtMost(Read read, const std::string& file) {
    LoadResult result = interpreted(read(), file);
    return std::holds_alternative<LoadResult::Corrupt>(result.value) ? interpreted(read(), file) : result;
}

bool isRecordName(std::string_view name) {
    return name.ends_with(".json") && !name.starts_with('.');
}

} // namespace

Path fileURL(Source source, std::string_view sessionID, const Path& folder) {
    std::string name = std::string(rawValue(source)) + "-";
    const std::string identifier = Unicode::repaired(sessionID);
    for (std::string_view rest = identifier; !rest.empty();) {
        const std::string_view character = Unicode::takeCharacter(rest);
        const char32_t scalar = Unicode::firstScalar(character).value;
        // Some scalars join the next one to their character; a slash that gets in that way must not stay.
        const bool isWord =
            Unicode::isLetter(scalar) || Unicode::isDigit(scalar) || character == "-" || character == "_";
        const bool stays = isWord && character.find('/') == std::string_view::npos;
        name += stays ? character : "_";
    }
    return folder / (name + ".json");
}

void update(Source source, std::string_view sessionID, const Path& folder,
            const std::function<void(std::optional<SessionRecord>&)>& mutate,
            std::optional<std::chrono::milliseconds> limit) {
    QuorvikPaths::ensureDirectory(folder);
    const Path file = fileURL(source, sessionID, folder);
    const FileLock lock = FileLock::acquire(lockPath(file), limit);
    const auto text = Files::read(file, maxFileSize);
    auto record = decoded(parsed(text));
    mutate(record);
    if (record) write(*record, file);
}

void write(const SessionRecord& record, const Path& file) {
    const Path temporary =
        file.parent_path() / ("." + file.filename().string() + "." + std::to_string(::getpid()) + ".tmp");
    const std::string text = printJSON(record.toJSON());
    if (text.size() > maxFileSize) throw FileError("write a record that nobody would read to", file, EFBIG);
    Files::replace(file, text, temporary, ownerOnly);
}

LoadResult load(const Path& file) {
    return readTwiceAtMost([&] { return Files::read(file, maxFileSize); }, file.native());
}

namespace {

/// Calls `visit(path, name, listing)` for every record file. Returns the error if the folder could not be
/// listed to its end.
template <typename Visit>
std::error_code forEachRecordFile(const Path& folder, Visit visit) {
    auto listing = Files::Folder::open(folder);
    if (!listing) return {errno, std::generic_category()};
    std::string path = folder.native();
    if (path.empty() || path.back() != '/') path += '/';
    const std::size_t prefix = path.size();
    while (const char* name = listing->next()) {
        if (!isRecordName(name)) continue;
        path.resize(prefix);
        path += name;
        visit(path, name, *listing);
    }
    return listing->error();
}

} // namespace

std::vector<LoadResult> loadAll(const Path& folder, LoadCache& cache, std::error_code* error) {
    std::vector<LoadResult> results;
    results.reserve(cache.entries.size());
    const std::uint64_t generation = cache.generation + 1;
    const std::error_code failure = forEachRecordFile(
        folder, [&](const std::string& path, const char* name, const Files::Folder& listing) {
            const auto status = listing.status(name).value_or(Files::Status{distantPast, 0, false});
            auto found = cache.entries.find(path);
            if (found == cache.entries.end())
                found = cache.entries.try_emplace(path).first;
            else if (found->second.modified == status.modified && found->second.size == status.size) {
                found->second.generation = generation;
                results.push_back(found->second.result);
                return;
            }
            const auto read = [&] { return listing.read(name, status, maxFileSize); };
            found->second = {status.modified, status.size, readTwiceAtMost(read, path), generation};
            results.push_back(found->second.result);
        });
    cache.generation = generation;
    if (error) *error = failure;
    if (failure) return {};
    if (cache.entries.size() > results.size())
        std::erase_if(cache.entries,
                      [&](const auto& entry) { return entry.second.generation != generation; });
    return results;
}

std::vector<LoadResult> loadAll(const Path& folder, std::error_code* error) {
    std::vector<LoadResult> results;
    const std::error_code failure =
        forEachRecordFile(folder, [&](const std::string& path, const char*, const Files::Folder& listing) {
            const auto read = [&] { return listing.readEntry(maxFileSize); };
            results.push_back(readTwiceAtMost(read, path));
        });
    if (error) *error = failure;
    return failure ? std::vector<LoadResult>() : results;
}

void remove(const SessionRecord& record, const Path& folder) {
    const Path file = fileURL(record.source, record.sessionID, folder);
    try {
        // Whoever waits for the lock meanwhile notices that its file is gone and takes the next one.
        const FileLock lock = FileLock::acquire(lockPath(file), removalPatience);
        ::unlink(file.c_str());
        OpenRequests::clear(file);
        ManualCompaction::forget(file);
        ::unlink(lockPath(file).c_str());
    } catch (const FileError&) {
        // The folder is not there, or the lock cannot be had: nothing is removed.
    }
}

void postChangeNotification() {
    Platform::postChange(QuorvikPaths::darwinNotification, QuorvikPaths::supportDirectory());
}

} // namespace quorvik::SessionStore
