#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/LeftBehind.h"

#include <algorithm>
#include <cerrno>

namespace quorvik {

namespace {

using Corrupt = SessionStore::LoadResult::Corrupt;

/// What is wrong with a file.
struct Trouble {
    enum class Kind { none, corrupt, failure };
    Kind kind;
    std::string why; ///< of `failure`
};

/// Reads once more what held no record: it may have been caught in the moment of being replaced, or nobody
/// could have read anything just then (no more descriptors). `file` becomes what it holds now.
Trouble readAgain(const std::filesystem::path& path, SessionStore::LoadResult& file) {
    std::error_code error;
    if (Files::read(path, SessionStore::maxFileSize, &error)) {
        file = SessionStore::load(path);
        const bool isCorrupt = std::holds_alternative<Corrupt>(file.value);
        return {isCorrupt ? Trouble::Kind::corrupt : Trouble::Kind::none, ""};
    }
    if (error == std::errc::no_such_file_or_directory) {
        // A session that ended while we looked leaves nothing behind, not even a broken link.
        const auto status = std::filesystem::symlink_status(path, error);
        const bool isGone = status.type() == std::filesystem::file_type::not_found;
        return {isGone ? Trouble::Kind::none : Trouble::Kind::corrupt, ""};
    }
    constexpr int whatIsNoRecord[] = {EFBIG, EISDIR, EINVAL, ENXIO, ELOOP}; // too large, or no regular file
    if (std::ranges::find(whatIsNoRecord, error.value()) != std::end(whatIsNoRecord))
        return {Trouble::Kind::corrupt, ""};
    return {Trouble::Kind::failure, FileError("read", path, error.value()).what()};
}

template <typename Take>
std::vector<const SessionRecord*> recordsOf(const std::vector<SessionStore::LoadResult>& files, Take take) {
    std::vector<const SessionRecord*> records;
    for (const SessionStore::LoadResult& file : files) {
        const SessionRecord* record = file.record();
        if (record && take(*record)) records.push_back(record);
    }
    return records;
}

} // namespace

Sessions Sessions::load(const std::filesystem::path& folder) {
    std::error_code error;
    Sessions sessions;
    sessions.folder = folder;
    sessions.files = SessionStore::loadAll(folder, &error);
    if (error && error != std::errc::no_such_file_or_directory)
        throw FileError("list", folder, error.value());
    for (SessionStore::LoadResult& file : sessions.files) {
        if (const auto* corrupt = std::get_if<Corrupt>(&file.value)) {
            const auto path = corrupt->path;
            const Trouble trouble = readAgain(path, file);
            if (trouble.kind == Trouble::Kind::corrupt) sessions.corrupt.push_back(path.string());
            if (trouble.kind == Trouble::Kind::failure) sessions.failures.push_back(trouble.why);
        }
        if (const auto* other = std::get_if<SessionStore::LoadResult::Unsupported>(&file.value))
            sessions.unsupported.push_back(other->path.string());
    }
    for (auto* list : {&sessions.corrupt, &sessions.unsupported, &sessions.failures})
        std::ranges::sort(*list);
    return sessions;
}

std::vector<const SessionRecord*> Sessions::current() const {
    return recordsOf(files, [&](const SessionRecord& record) { return !isLeftBehind(record, folder); });
}

std::vector<const SessionRecord*> Sessions::over() const {
    return recordsOf(
        files, [&](const SessionRecord& record) { return !isBusy(record) || isLeftBehind(record, folder); });
}

} // namespace quorvik
