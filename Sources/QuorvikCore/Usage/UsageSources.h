#pragma once

#include "QuorvikCore/Usage/CodexUsage.h"

namespace quorvik {

/// What is known of the limits of agents' accounts, from files alone: nothing is asked for over a network.
class UsageSources {
  public:
    UsageSources();

    /// The last figure of each window: Claude Code's (ClaudeUsage), Codex's (CodexUsage), and what accounts
    /// have answered (AccountUsage); of one window the one that was told last. Takes milliseconds when much
    /// is new, else less. Never throws for what it finds.
    std::vector<UsageFigure> read();

    /// The folders in which a change may bring other figures. They need not exist yet, and others take their
    /// place (Codex has one for each day), so ask again now and then.
    std::vector<std::filesystem::path> folders() const;

  private:
    CodexUsage codex_;
};

} // namespace quorvik
