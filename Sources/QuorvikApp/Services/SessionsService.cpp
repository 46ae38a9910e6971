#include "QuorvikApp/Services/SessionsService.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <cerrno>

namespace quorvik {

namespace {

constexpr Timer::Seconds slowInterval(5);

/// Between two looks: a burst of changes is one.
constexpr Timer::Seconds shortest(0.008);

bool isBusy(const SessionRecord& record) {
    return record.state == SessionState::working || record.state == SessionState::awaiting ||
           record.state == SessionState::compacting;
}

} // namespace

SessionsService::SessionsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed)
    : loop_(loop), model_(model), changed_(std::move(changed)), watch_(loop, [this] { hinted(); }),
      slowLook_(loop, [this] { look(Look::everything); }), soonLook_(loop, [this] { look(Look::changes); }) {
    look(Look::everything);
}

void SessionsService::reload() {
    look(Look::everything);
}

void SessionsService::supportFolderChanged() {
    // Writers touch a file beside the sessions folder. While the folder is watched that tells nothing new.
    if (!watch_.watches(QuorvikPaths::sessionsDirectory().string())) hinted();
}

void SessionsService::hinted() {
    if (soonLook_.isRunning()) return;
    const Timer::Seconds since = loop_.now() - lastLook_;
    // A clock that was set back counts as long ago.
    if (since < Timer::Seconds::zero() || since >= shortest)
        look(Look::changes);
    else
        soonLook_.start(shortest - since);
}

void SessionsService::look(Look look) {
    const Date now = loop_.now();
    const Path folder = QuorvikPaths::sessionsDirectory();
    lastLook_ = now;
    soonLook_.stop();
    if (look == Look::everything) slowLook_.start(slowInterval);
    // A folder that is not there cannot be watched, and the first session would be seen late.
    try {
        QuorvikPaths::ensureDirectory(folder);
    } catch (const FileError&) { // whoever reads it finds the same, and says so
    }
    // Before it is read: what changes from here on is told.
    const bool isWatched = watch_.watch(folder.string());

    const auto files = SessionStore::loadAll(folder, cache_);
    std::error_code error;
    std::vector<std::string> troubles;
    if (files.empty() && !Files::Folder::open(folder) && errno != ENOENT) {
        // What is shown stays as it was: a folder that cannot be read says nothing about the sessions.
        troubles.emplace_back(FileError("list", folder, errno).what());
        model_.setTroubles("sessions", std::move(troubles), now);
        changed_();
        return;
    }
    if (!isWatched)
        troubles.push_back("the system has no more file watches to give: changes are seen every 5 seconds");

    SessionFolder found;
    std::map<std::string, Judged, std::less<>> judged;
    for (const SessionStore::LoadResult& file : files) {
        if (const auto* ok = std::get_if<SessionStore::LoadResult::Ok>(&file.value)) {
            const bool lost = isLost(ok->record, look);
            std::string key = ok->record->key();
            if (lost) found.lost.insert(key);
            judged.insert_or_assign(std::move(key), Judged{ok->record, lost});
            found.records.push_back(ok->record);
        } else if (const auto* other = std::get_if<SessionStore::LoadResult::Unsupported>(&file.value)) {
            found.unsupported.push_back(other->path.string());
        } else if (const auto* bad = std::get_if<SessionStore::LoadResult::Corrupt>(&file.value)) {
            // A session that ended while we looked leaves nothing behind.
            if (std::filesystem::exists(std::filesystem::symlink_status(bad->path, error)))
                found.corrupt.push_back(bad->path.string());
        }
    }
    judged_ = std::move(judged);
    std::ranges::sort(found.corrupt);
    std::ranges::sort(found.unsupported);
    model_.setTroubles("sessions", std::move(troubles), now);
    model_.setSessions(std::move(found), now);
    changed_();
}

bool SessionsService::isLost(const std::shared_ptr<const SessionRecord>& record, Look look) {
    if (!isBusy(*record)) return false;
    if (look == Look::changes) {
        const auto known = judged_.find(record->key());
        if (known != judged_.end() && known->second.record == record) return known->second.isLost;
    }
    if (record->pid && !ProcessInspector::isRunning(*record->pid, record->pidStartTime)) return true;
    return record->state == SessionState::awaiting &&
           !OpenRequests::anyWaiting(*record, QuorvikPaths::sessionsDirectory());
}

} // namespace quorvik
