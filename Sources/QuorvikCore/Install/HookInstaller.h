#pragma once

#include "QuorvikCore/Install/HookTarget.h"
#include "QuorvikCore/Install/UserFileEdit.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Registers our hook program with coding agents, tells whether it is registered, and takes it out again.
/// What we write is marked (isManaged), so that it is found again and everything else in the same file stays
/// as the user wrote it.
///
/// Every operation works on one agent. install() and uninstall() write in one step and never over a change
/// that the agent made meanwhile (UserFileEdit); they back up what they change, except for pi's generated
/// file. They throw FileError, JSONParseError or EditError, leaving the file as it was; what() is one line
/// for the user.
namespace quorvik::HookInstaller {

struct Status {
    enum class Kind {
        unreadable,   ///< the file is there and cannot be read or understood
        notInstalled, ///< nothing of ours in it
        installed,    ///< what an install would write is there, and the hook program can be run
        stale         ///< something of ours is there, but not that
    };
    Kind kind;
    std::string why; ///< of `unreadable`, one line; else empty

    bool operator==(const Status&) const = default;
};

/// The command line that is registered: "QUORVIK_MANAGED=1 '<hook path>' --source <source>", the path quoted
/// for a shell, and ` --ppid "$PPID"` for the agents whose shell is their direct child.
std::string command(Source source, std::string_view hookPath);

/// Whether a command line is one of ours: it contains "QUORVIK_MANAGED=1" and "quorvik-hook".
bool isManaged(std::string_view command);

/// The path of the program that a command line of ours runs, without its quotes. Absent when the line is not
/// assignments and then a word of plain characters, quoted parts and escapes.
std::optional<std::string> program(std::string_view command);

/// A hook of ours in an agent's file.
struct Entry {
    std::string event;   ///< in the agent's spelling; empty where one entry stands for all (pi)
    std::string command; ///< the command line; where the agent uses no shell, what a shell would take for it

    bool operator==(const Entry&) const = default;
};

/// Our hooks in the agent's file, in their order. Throws as install() does when the file cannot be read.
std::vector<Entry> entries(const HookTarget& target);

/// Never throws for what it finds in the file.
Status status(const HookTarget& target, const std::string& hookPath);

/// Replaces whatever of ours is there. A hook path whose command would not be recognised as ours later, or
/// that holds control characters or bytes that are not UTF-8, is refused. Notes the time (HookLedger) when
/// the file did not hold the same before.
EditOutcome install(const HookTarget& target, const std::string& hookPath);

/// Takes our entries out; writes nothing when there are none. A file of our own is removed when nothing of
/// the user's is in it, except Copilot's, which stays without our entries.
EditOutcome uninstall(const HookTarget& target);

} // namespace quorvik::HookInstaller

namespace quorvik {

template <>
inline constexpr std::array<std::string_view, 4> rawValues<HookInstaller::Status::Kind> = {
    "unreadable", "notInstalled", "installed", "stale"};

} // namespace quorvik
