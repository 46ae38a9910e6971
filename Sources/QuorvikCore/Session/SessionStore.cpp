#include "QuorvikCore/Session/SessionStore.h"

#include "QuorvikCore/Platform/ChangeNotification.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <limits>

namespace quorvik::SessionStore {

namespace {

constexpr mode_t ownerOnly = 0600;
constexpr std::int64_t distantPast = std::numeric_limits<std::int64_t>::min();

Path lockPath(const Path& file) {
    return file.native() + ".lock";
}

std::optional<SessionRecord> decoded(const std::optional<nlohmann::json>& value) {
    if (!value) return std::nullopt;
    try {
        return SessionRecord::fromJSON(*value);
    } catch (const RecordError&) {
        return std::nullopt;
    }
}

bool hasOtherSchema(const std::optional<nlohmann::json>& value) {
    if (!value || !value->is_object()) return false;
    const auto version = value->find("schemaVersion");
    return version != value->end() && version->is_number_integer() &&
           *version != SessionRecord::currentSchema;
}

LoadResult interpreted(const std::optional<std::string>& text, const Path& file) {
    const auto value = text ? parseJSON(*text) : std::nullopt;
    if (hasOtherSchema(value)) return {LoadResult::Unsupported{file}};
    auto record = decoded(value);
    if (!record) return {LoadResult::Corrupt{file}};
    return {LoadResult::Ok{std::make_shared<const SessionRecord>(std::move(*record))}};
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
        const bool stays =
            Unicode::isLetter(scalar) || Unicode::isDigit(scalar) || character == "-" || character == "_";
        name += stays ? character : "_";
    }
    return folder / (name + ".json");
}

void update(Source source, std::string_view sessionID, const Path& folder,
            const std::function<void(std::optional<SessionRecord>&)>& mutate) {
    QuorvikPaths::ensureDirectory(folder);
    const Path file = fileURL(source, sessionID, folder);
    const FileLock lock = FileLock::acquire(lockPath(file));
    const auto text = Files::read(file, maxFileSize);
    auto record = text ? decoded(parseJSON(*text)) : std::nullopt;
    mutate(record);
    if (record) write(*record, file);
}

void write(const SessionRecord& record, const Path& file) {
    const Path temporary =
        file.parent_path() / ("." + file.filename().string() + "." + std::to_string(::getpid()) + ".tmp");
    Files::replace(file, printJSON(record.toJSON()), temporary, ownerOnly);
}

LoadResult load(const Path& file) {
    return interpreted(Files::read(file, maxFileSize), file);
}

std::vector<LoadResult> loadAll(const Path& folder, LoadCache& cache) {
    auto listing = Files::Folder::open(folder);
    if (!listing) return {};
    std::vector<LoadResult> results;
    results.reserve(cache.entries.size());
    ++cache.generation;
    std::string path = folder.native();
    if (path.empty() || path.back() != '/') path += '/';
    const std::size_t prefix = path.size();
    while (const char* name = listing->next()) {
        if (!isRecordName(name)) continue;
        path.resize(prefix);
        path += name;
        const auto status = listing->status(name);
        const std::int64_t modified = status ? status->modified : distantPast;
        const std::uint64_t size = status ? status->size : 0;
        auto entry = cache.entries.find(std::string_view(path));
        if (entry == cache.entries.end() || entry->second.modified != modified ||
            entry->second.size != size) {
            LoadResult result = size <= maxFileSize ? interpreted(listing->read(name, maxFileSize), path)
                                                    : LoadResult{LoadResult::Corrupt{path}};
            entry =
                cache.entries.insert_or_assign(path, LoadCache::Entry{modified, size, std::move(result), 0})
                    .first;
        }
        entry->second.generation = cache.generation;
        results.push_back(entry->second.result);
    }
    if (cache.entries.size() > results.size())
        std::erase_if(cache.entries,
                      [&](const auto& entry) { return entry.second.generation != cache.generation; });
    return results;
}

std::vector<LoadResult> loadAll(const Path& folder) {
    LoadCache cache;
    return loadAll(folder, cache);
}

void remove(const SessionRecord& record, const Path& folder) {
    const Path file = fileURL(record.source, record.sessionID, folder);
    try {
        // Whoever waits for the lock meanwhile notices that its file is gone and takes the next one.
        const FileLock lock = FileLock::acquire(lockPath(file));
        ::unlink(file.c_str());
        ::unlink(lockPath(file).c_str());
    } catch (const FileError&) {
        // No folder, no record.
    }
}

void postChangeNotification() {
    Platform::postChange(QuorvikPaths::darwinNotification, QuorvikPaths::supportDirectory());
}

} // namespace quorvik::SessionStore
