#pragma once

#include "QuorvikApp/Loop/EventLoop.h"
#include "QuorvikApp/Model/IslandModel.h"

#include "QuorvikCore/Session/SessionStore.h"

namespace quorvik {

/// Keeps the model's sessions in line with the sessions folder. A file that the system reports as changed is
/// read at once. The whole folder is read after each burst of changes, and every 5 seconds, since some things
/// are not reported: a process that vanished, changes that the system dropped, a machine that slept, a clock
/// that was set.
class SessionsService {
  public:
    /// `changed` is called after the model has been given something new.
    SessionsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed);

    /// Reads the folder now.
    void reload();

    /// Looks at everything in a moment: a hook that went has a record to change, or was killed.
    void lookSoon() { slowLook_.start(Timer::Seconds(0.1)); }

    /// To be called when something in the support folder changed: the sessions folder may be new.
    void supportFolderChanged();

  private:
    using Path = std::filesystem::path;

    /// A file of the folder, and what was found out about its record for as long as that stays the same.
    struct File {
        SessionStore::LoadResult content;
        bool isLost = false;
    };
    enum class Look { changes, everything };

    void hinted(const FolderHints& hints);
    void look(Look look);
    bool readNamed(const std::string& name);
    void tellModel();
    void tellTroubles(std::vector<std::string> troubles);
    static bool isLost(const SessionRecord& record);

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_;
    FolderWatch watch_;
    Timer slowLook_, soonLook_;
    SessionStore::LoadCache cache_;
    std::map<std::string, File, std::less<>> files_; ///< by path
    SessionFolder told_;                             ///< to the model
    std::vector<std::string> toldTroubles_;          ///< likewise
};

} // namespace quorvik
