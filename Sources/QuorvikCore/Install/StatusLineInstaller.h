#pragma once

#include "QuorvikCore/Install/HookTarget.h"
#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/JSON/JSONValue.h"

#include <filesystem>
#include <optional>
#include <string>

/// Makes our hook program the command that draws an agent's status line (the member "statusLine" of its JSON
/// settings), and keeps the user's own status line in a file of ours, `originalFile`, to put it back later.
///
/// For one thread at a time. Errors are those of HookInstaller; the settings file is then as it was.
namespace quorvik::StatusLineInstaller {

struct Status {
    enum class Kind { unreadable, off, on };
    Kind kind;
    std::string why; ///< of `unreadable`, one line; else empty

    bool operator==(const Status&) const = default;
};

/// "statusline-original.json" in the support folder: the usual originalFile.
std::filesystem::path originalFile();

/// `off` when there is no file. Never throws for what it finds in the file.
Status status(const HookTarget& target);

/// The command line of our status line in the settings; absent when it is not ours, or cannot be read.
std::optional<std::string> ownCommand(const HookTarget& target);

/// Saves the user's status line, if there is one, and sets ours. What was saved before stays, or goes to the
/// backups when there is a newer one to save. Throws EditError "the path of the hook program must not contain
/// a single quote: <path>" (the status line has no way to write it), or "the path of the hook program must
/// contain "quorvik-hook": <path>" (ours would not be known again).
EditOutcome install(const HookTarget& target, const std::string& hookPath,
                    const std::filesystem::path& originalFile);

/// What uninstall() did.
struct Removal : EditOutcome {
    std::string unreadable; ///< why the settings cannot be read, one line; empty when they can
    /// Where the saved status line is, when it could not be put back: in the backups, else where it was.
    std::optional<std::filesystem::path> setAside;
};

/// Whether an installation would leave the status line as it is. False when the settings cannot be read.
bool isCurrent(const HookTarget& target, const std::string& hookPath);

/// Puts the saved status line back and deletes the saved file. Without one the member is removed; so it is
/// when the saved file cannot be read or understood, and that file is then moved to the backups. Does nothing
/// when the status line is not ours or the settings cannot be read.
Removal uninstall(const HookTarget& target, const std::filesystem::path& originalFile);

/// The command of the saved status line; absent when there is none.
std::optional<std::string> originalCommand(const std::filesystem::path& file);

/// Whether a "statusLine" value is ours: an object whose command contains "quorvik-hook" and "--statusline".
bool isOurs(const JSONValue& value);

} // namespace quorvik::StatusLineInstaller

namespace quorvik {

template <>
inline constexpr std::array<std::string_view, 3> rawValues<StatusLineInstaller::Status::Kind> = {"unreadable",
                                                                                                 "off", "on"};

} // namespace quorvik
