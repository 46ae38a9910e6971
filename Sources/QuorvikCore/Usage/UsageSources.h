#pragma once

#include "QuorvikCore/Usage/CodexUsage.h"

namespace quorvik {

/// What agents have left in files about the limits of their accounts. Nothing is asked for over a network.
class UsageSources {
  public:
    UsageSources();

    /// The last figures of each window: Claude Code's (ClaudeUsage), then Codex's (CodexUsage). Takes
    /// milliseconds when much is new, else less. Never throws for what it finds.
    std::vector<UsageFigure> read();

    /// The folders in which a change may bring other figures. They need not exist yet, and others take their
    /// place (Codex has one for each day), so ask again now and then.
    std::vector<std::filesystem::path> folders() const;

  private:
    CodexUsage codex_;
};

} // namespace quorvik
