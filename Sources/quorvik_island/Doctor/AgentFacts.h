#pragma once

#include "QuorvikCore/Install/HookTarget.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace quorvik::Doctor {

/// What is known of one agent, besides where its hooks are. A text that is empty says that nothing is known.
struct AgentFacts {
    Source agent;
    std::span<const std::string_view> programs; ///< the names under which it may be on the PATH
    std::string_view triedWith;                 ///< the version whose events Quorvik was made for

    std::string_view knowsOurEvents; ///< the first version that knows all events we register
    std::string_view newestEvents;   ///< those that earlier ones do not
    bool refusesUnknown = false;     ///< earlier ones run no hook at all of a file that names those

    std::optional<Source> alsoLoads = std::nullopt; ///< it also runs the hooks of that agent's settings

    /// A variable that names another folder for its settings, and the usual one in the home folder.
    struct FolderVariable {
        std::string_view name, usual;
    };
    std::span<const FolderVariable> folderVariables = {};

    static const AgentFacts& of(Source agent);

    /// The agent's program on the PATH.
    std::optional<std::filesystem::path> program() const;

    /// The other files out of which the agent takes hooks for all projects, as far as they are there. `own`
    /// is the one that ours are in.
    std::vector<std::filesystem::path> furtherFiles(const std::filesystem::path& own) const;

    /// A member of a settings file by which the agent runs no hooks.
    struct Switch {
        std::string member;
        std::filesystem::path file;
        bool isUsers = true; ///< false for a file of the machine's
    };
    /// Those that are set now. A file that cannot be understood sets none.
    std::vector<Switch> switchesOff(const HookTarget& target) const;
};

} // namespace quorvik::Doctor
