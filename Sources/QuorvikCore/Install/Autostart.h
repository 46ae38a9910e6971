#pragma once

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/JSON/RawValue.h"
#include "QuorvikCore/Platform/Desktop.h"

#include <optional>
#include <string>
#include <vector>

/// Starts the app with the user's session, by a unit for systemd or an agent for launchd. Both restart it
/// after a crash. They do not when it ended by itself, or found another app running.
namespace quorvik::Autostart {

using Path = std::filesystem::path;
using Platform::ServiceManager;

/// Tells our file from one that the user made under the same name.
inline constexpr std::string_view marker = "quorvik-managed";

/// What the app is started with.
struct Start {
    std::string program;                      ///< absolute path of quorvik-island
    std::optional<std::string> supportFolder; ///< $QUORVIK_HOME, if the user has set it
    std::string
        searchPath; ///< $PATH, for launchd, which has a bare one: the app runs git, docker and the like

    /// The program, with $QUORVIK_HOME and $PATH as this process has them.
    static Start now(std::string program);
};

/// `$XDG_CONFIG_HOME/systemd/user/quorvik.service`, or `~/Library/LaunchAgents/com.quorvik.app.plist`.
Path file(ServiceManager manager);

/// What makes systemd start the unit: a link to it in "default.target.wants" beside it. Empty for launchd,
/// which starts everything in the folder.
Path link(ServiceManager manager);

/// The file's content. Throws EditError when one of the texts of `start` holds a control character, or the
/// program's path holds a quote or a backslash, which systemd does not take there.
std::string text(ServiceManager manager, const Start& start);

enum class State {
    installed,    ///< up to date
    notInstalled, ///< there is no such file
    stale,        ///< not as an installation would leave it now, or the program cannot be run
    foreign       ///< there is one, and it is not ours
};

/// Throws as text() does, and FileError when the file cannot be read.
State state(ServiceManager manager, const Start& start);

/// Writes the file and the link. A file of ours that was edited is backed up. Throws as text() does,
/// FileError, and EditError "<path> is not Quorvik's; it is left alone".
EditOutcome install(ServiceManager manager, const Start& start);

/// Removes the file and the link; what is not ours stays. Throws FileError.
EditOutcome uninstall(ServiceManager manager);

/// The command that tells the service manager of an install(), or of an uninstall(). Empty when there is
/// nothing to tell before the next session.
std::vector<std::string> noticeOfInstall(ServiceManager manager);
std::vector<std::string> noticeOfUninstall(ServiceManager manager);

/// Whether the service manager is set up to start an app for the support folder of this process, with
/// whatever program. The app should then be started by it alone.
bool isInstalledHere(ServiceManager manager);

/// The command that makes the service manager start the app now. It does not wait until the app is ready.
std::vector<std::string> startCommand(ServiceManager manager);

} // namespace quorvik::Autostart

template <>
inline constexpr std::array<std::string_view, 4> quorvik::rawValues<quorvik::Autostart::State> = {
    "installed", "notInstalled", "stale", "foreign"};
