#include "QuorvikApp/Services/SessionsService.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/LeftBehind.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <cerrno>

namespace quorvik {

namespace {

constexpr Timer::Seconds slowInterval(5);

/// After the first hint of a burst: long enough for most bursts to be over.
constexpr Timer::Seconds afterBurst(0.25);

/// What stands beside a record while hooks wait (OpenRequests).
constexpr std::string_view notes = ".asked";

const std::string* pathOf(const SessionStore::LoadResult& content) {
    if (const auto* bad = std::get_if<SessionStore::LoadResult::Corrupt>(&content.value))
        return &bad->path.native();
    if (const auto* other = std::get_if<SessionStore::LoadResult::Unsupported>(&content.value))
        return &other->path.native();
    return nullptr;
}

} // namespace

SessionsService::SessionsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed)
    : loop_(loop), model_(model), changed_(std::move(changed)),
      watch_(loop, [this](const FolderHints& hints) { hinted(hints); }),
      slowLook_(loop, [this] { look(Look::everything); }), soonLook_(loop, [this] { look(Look::changes); }) {
    look(Look::everything);
}

void SessionsService::reload() {
    look(Look::everything);
}

void SessionsService::supportFolderChanged() {
    // Writers touch a file beside the sessions folder after each change. While the folder is watched, that
    // tells nothing new.
    if (!watch_.watches(QuorvikPaths::sessionsDirectory().string())) look(Look::changes);
}

void SessionsService::hinted(const FolderHints& hints) {
    if (!hints.isAll) return look(Look::changes);
    bool hasRead = false;
    for (const std::string& name : hints.names)
        hasRead = readNamed(name) || hasRead;
    if (hasRead) tellModel();
    if (!soonLook_.isRunning()) soonLook_.start(afterBurst);
}

/// Reads the named file. False when the name is neither a record's nor that of a file beside one.
bool SessionsService::readNamed(const std::string& name) {
    std::string_view record = name;
    if (record.ends_with(notes)) record.remove_suffix(notes.size());
    if (record.starts_with('.') || !record.ends_with(".json")) return false;
    const Path path = QuorvikPaths::sessionsDirectory() / record;
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
        files_.erase(path.native());
        return true;
    }
    File file{SessionStore::load(path), false};
    if (const SessionRecord* read = file.content.record()) file.isLost = isLost(*read);
    files_.insert_or_assign(path.native(), std::move(file));
    cache_.entries.erase(path.native()); // which may hold an older text of the same size and time
    return true;
}

void SessionsService::look(Look look) {
    const Path folder = QuorvikPaths::sessionsDirectory();
    soonLook_.stop();
    if (look == Look::everything) slowLook_.start(slowInterval);
    // A folder that is not there cannot be watched, and the first session would be seen late.
    std::string whyUnwatched =
        "the system has no more file watches to give: changes are seen every 5 seconds";
    try {
        QuorvikPaths::ensureDirectory(folder);
    } catch (const FileError& error) {
        whyUnwatched = error.what();
    }
    // Before it is read: what changes from here on is told.
    const bool isWatched = watch_.watch(folder.string());

    std::error_code error;
    const auto results = SessionStore::loadAll(folder, cache_, &error);
    std::vector<std::string> troubles;
    if (error && error != std::errc::no_such_file_or_directory) {
        // What is shown stays as it was: a folder that cannot be read says nothing about the sessions.
        troubles.emplace_back(FileError("list", folder, error.value()).what());
        return tellTroubles(std::move(troubles));
    }
    if (!isWatched) troubles.push_back(std::move(whyUnwatched));
    tellTroubles(std::move(troubles));

    std::map<std::string, File, std::less<>> found;
    for (const SessionStore::LoadResult& content : results) {
        const SessionRecord* record = content.record();
        const std::string* unreadable = pathOf(content);
        std::string path = unreadable
                               ? *unreadable
                               : SessionStore::fileURL(record->source, record->sessionID, folder).native();
        const auto known = files_.find(path);
        const bool isKnown = known != files_.end() && known->second.content.record() && record &&
                             *known->second.content.record() == *record;
        File file{isKnown ? known->second.content : content, false};
        if (isKnown && look == Look::changes)
            file.isLost = known->second.isLost;
        else if (record)
            file.isLost = isLost(*record);
        found.insert_or_assign(std::move(path), std::move(file));
    }
    files_ = std::move(found);
    tellModel();
}

void SessionsService::tellTroubles(std::vector<std::string> troubles) {
    if (troubles == toldTroubles_) return;
    toldTroubles_ = troubles;
    model_.setTroubles("sessions", std::move(troubles), loop_.now());
    changed_();
}

void SessionsService::tellModel() {
    SessionFolder folder;
    std::error_code error;
    folder.records.reserve(files_.size());
    for (const auto& [path, file] : files_) {
        if (const auto* ok = std::get_if<SessionStore::LoadResult::Ok>(&file.content.value)) {
            if (file.isLost) folder.lost.insert(ok->record->key());
            folder.records.push_back(ok->record);
        } else if (std::holds_alternative<SessionStore::LoadResult::Unsupported>(file.content.value)) {
            folder.unsupported.push_back(path);
        } else if (std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
            folder.corrupt.push_back(path); // what ended while we looked has left nothing behind
        }
    }
    if (folder == told_) return;
    told_ = folder;
    model_.setSessions(std::move(folder), loop_.now());
    changed_();
}

bool SessionsService::isLost(const SessionRecord& record) {
    return isLeftBehind(record, QuorvikPaths::sessionsDirectory());
}

} // namespace quorvik
