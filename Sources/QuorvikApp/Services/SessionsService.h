#pragma once

#include "QuorvikApp/Loop/EventLoop.h"
#include "QuorvikApp/Model/IslandModel.h"

#include "QuorvikCore/Session/SessionStore.h"

namespace quorvik {

/// Keeps the model's sessions as the folder has them. Changes of files are hints: the folder is read again
/// after each burst of them, and every 5 seconds for what no hint tells (a process that vanished, hints that
/// the system dropped, a machine that slept, a clock that was set).
class SessionsService {
  public:
    /// `changed` is called after the model has been given something new.
    SessionsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed);

    /// Reads the folder now.
    void reload();

    /// Something in the support folder changed: the sessions folder may be there now, or another one.
    void supportFolderChanged();

  private:
    using Path = std::filesystem::path;

    /// What was found out about a record, for as long as the record stays the same.
    struct Judged {
        std::shared_ptr<const SessionRecord> record;
        bool isLost = false;
    };
    enum class Look { changes, everything };

    void hinted();
    void look(Look look);
    bool isLost(const std::shared_ptr<const SessionRecord>& record, Look look);

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_;
    FolderWatch watch_;
    Timer slowLook_, soonLook_;
    SessionStore::LoadCache cache_;
    std::map<std::string, Judged, std::less<>> judged_; ///< by key
    Date lastLook_{};
};

} // namespace quorvik
