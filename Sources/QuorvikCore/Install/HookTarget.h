#pragma once

#include "QuorvikCore/Session/Source.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// Where one coding agent keeps its hooks, in which format, and for which of its events our hook program is
/// to be registered. Installing works from this description alone: a new agent is a new row in the table.
struct HookTarget {
    enum class Kind {
        json,       ///< settings in JSON, hooks in the nested layout that most agents share
        copilot,    ///< a JSON file of hooks in Copilot's layout
        kimiTOML,   ///< a marked block in a TOML file
        piExtension ///< a generated source file
    };

    Source source;
    std::filesystem::path fileURL;
    std::vector<std::string> events; ///< in the agent's own spelling and the order in which they are written
    bool ownsFile; ///< the file is ours as a whole; else the user's settings, edited in place
    Kind kind;
    std::vector<std::string> container; ///< keys from the root to the event lists
    std::optional<std::vector<std::string>>
        enableFlag;                       ///< keys to a switch that must be true for hooks to run
    std::set<std::string> blockingEvents; ///< events whose hook waits for the user's answer

    /// Seconds that an agent is told to wait for a hook: when it blocks, and otherwise.
    static constexpr int blockingTimeout = 130;
    static constexpr int usualTimeout = 5;

    /// The time-out of an event, in seconds.
    int timeout(const std::string& event) const;

    /// What the names of the file's backups begin with: "<source>-<file name>".
    std::string backupName() const;

    // Each is made when it is asked for: fileURL follows the home folder of that moment.
    static HookTarget claude();
    static HookTarget codex();
    static HookTarget grok();
    static HookTarget commandCode();
    static HookTarget devin();
    static HookTarget qwen();
    static HookTarget copilot();
    static HookTarget kimi();
    static HookTarget pi();

    /// Absent for sources that are not agents.
    static std::optional<HookTarget> target(Source source);

    bool operator==(const HookTarget&) const = default;
};

} // namespace quorvik
