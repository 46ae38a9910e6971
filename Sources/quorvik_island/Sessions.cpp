#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/ProcessInspector.h"

#include <algorithm>
#include <cerrno>

namespace quorvik {

namespace {

bool isBusy(const SessionRecord& record) {
    return record.state == SessionState::working || record.state == SessionState::awaiting ||
           record.state == SessionState::compacting;
}

bool hasLostItsProcess(const SessionRecord& record) {
    return isBusy(record) && record.pid && !ProcessInspector::isRunning(*record.pid, record.pidStartTime);
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
    Sessions sessions{SessionStore::loadAll(folder), {}, {}};
    if (sessions.files.empty() && !Files::Folder::open(folder) && errno != ENOENT)
        throw FileError("list", folder, errno);
    for (const auto& [value] : sessions.files) {
        if (const auto* other = std::get_if<SessionStore::LoadResult::Unsupported>(&value))
            sessions.unsupported.push_back(other->path.string());
        const auto* corrupt = std::get_if<SessionStore::LoadResult::Corrupt>(&value);
        if (!corrupt) continue;
        // A session that ended while we looked leaves nothing behind, not even a broken link.
        std::error_code ignored;
        const auto status = std::filesystem::symlink_status(corrupt->path, ignored);
        if (status.type() != std::filesystem::file_type::not_found)
            sessions.corrupt.push_back(corrupt->path.string());
    }
    std::ranges::sort(sessions.corrupt);
    std::ranges::sort(sessions.unsupported);
    return sessions;
}

std::vector<const SessionRecord*> Sessions::current() const {
    return recordsOf(files, [](const SessionRecord& record) { return !hasLostItsProcess(record); });
}

std::vector<const SessionRecord*> Sessions::over() const {
    return recordsOf(
        files, [](const SessionRecord& record) { return !isBusy(record) || hasLostItsProcess(record); });
}

} // namespace quorvik
