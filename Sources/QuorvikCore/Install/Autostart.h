#pragma once

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/JSON/RawValue.h"
#include "QuorvikCore/Platform/Desktop.h"

#include <optional>
#include <string>
#include <vector>

/// Starts the app, and the overlay, with the user's session. The app by a unit for systemd or an agent for
/// launchd; both restart it after a crash, but not when it ended by itself, or found another app running. The
/// overlay by an entry in the XDG autostart folder or an agent for launchd.
namespace quorvik::Autostart {

using Path = std::filesystem::path;
using Platform::ServiceManager;

/// Tells our file from one that the user made under the same name.
inline constexpr std::string_view marker = "quorvik-managed";

/// What the app is started with.
struct Start {
    std::string program;                      ///< absolute path of quorvik-island, or quorvik-overlay
    std::optional<std::string> supportFolder; ///< $QUORVIK_HOME, if the user has set it
    std::string
        searchPath; ///< $PATH, for launchd, which has a bare one: the app runs git, docker and the like

    /// The program, with $QUORVIK_HOME and $PATH as this process has them.
    static Start now(std::string program);
};

enum class What { app, overlay };

/// `$XDG_CONFIG_HOME/systemd/user/quorvik.service` and `$XDG_CONFIG_HOME/autostart/quorvik-overlay.desktop`,
/// or `~/Library/LaunchAgents/com.quorvik.app.plist` and `com.quorvik.overlay.plist` beside it.
Path file(ServiceManager manager, What what);

/// What makes systemd start the unit: a link to it in "default.target.wants" beside it. Empty for the others,
/// who start everything in the folder.
Path link(ServiceManager manager, What what);

enum class State {
    installed,    ///< up to date
    notInstalled, ///< there is no such file
    stale,        ///< not as an installation would leave it now, or the program cannot be run
    switchedOff,  ///< ours, and the user has told systemd or the desktop not to start it
    foreign       ///< there is one, and it is not ours
};

/// Throws EditError when the file cannot be written so that the program is started (AutostartText), and
/// FileError when it cannot be read.
State state(ServiceManager manager, What what, const Start& start);

/// Writes the file and the link. A file of ours that was edited is backed up. Throws as state() does, and
/// EditError "<path> is not Quorvik's; it is left alone".
EditOutcome install(ServiceManager manager, What what, const Start& start);

/// Removes the file and the link; what is not ours stays. Throws FileError.
EditOutcome uninstall(ServiceManager manager, What what);

/// The command that tells the service manager of an install(), or of an uninstall(). Empty when there is
/// nothing to tell before the next session.
std::vector<std::string> noticeOfInstall(ServiceManager manager, What what);
std::vector<std::string> noticeOfUninstall(ServiceManager manager, What what);

/// Whether the service manager is set up to start an app for the support folder of this process, with
/// whatever program. The app should then be started by it alone.
bool isInstalledHere(ServiceManager manager);

/// The command that makes the service manager start the app now. It does not wait until the app is ready.
std::vector<std::string> startCommand(ServiceManager manager);

} // namespace quorvik::Autostart

template <>
inline constexpr std::array<std::string_view, 5> quorvik::rawValues<quorvik::Autostart::State> = {
    "installed", "notInstalled", "stale", "switchedOff", "foreign"};
