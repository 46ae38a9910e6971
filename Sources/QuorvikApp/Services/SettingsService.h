#pragma once

#include "QuorvikApp/Loop/EventLoop.h"
#include "QuorvikApp/Model/IslandModel.h"

namespace quorvik {

/// Keeps the model's settings as `settings.json` has them, and the user's choices in `memory.json`.
class SettingsService {
  public:
    /// Reads both files. `changed` is called after the settings have been read anew and are others.
    SettingsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed);

    /// Looks at the settings file again: something in the support folder changed, or may have.
    void reload();

    /// Writes the user's choices if they differ from what is in the file: in one step, so that after any end
    /// of the process the file is the old one or the new one. A file that cannot be read stays as it is.
    void saveMemory();

  private:
    void readMemory();

    EventLoop& loop_;
    IslandModel& model_;
    EventLoop::Handler changed_;
    std::optional<std::string> lastText_; ///< of the settings file; absent when the last look failed
    Timer retry_;
    Timer::Seconds retryAfter_;
    std::optional<std::string> savedMemory_; ///< the text of that file; absent while it cannot be read
};

} // namespace quorvik
