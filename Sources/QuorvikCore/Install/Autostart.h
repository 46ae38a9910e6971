#pragma once

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/JSON/RawValue.h"
#include "QuorvikCore/Platform/Desktop.h"

#include <optional>
#include <string>
#include <vector>

/// The app's start with the user's session: a unit for systemd, or an agent for launchd. Both restart it
/// after a crash, and leave it alone when it ended by itself or found another one running.
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

    /// With what this process has in its environment.
    static Start now(std::string program);
};

/// `$XDG_CONFIG_HOME/systemd/user/quorvik.service`, or `~/Library/LaunchAgents/com.quorvik.app.plist`.
Path file(ServiceManager manager);

/// What makes systemd start the unit: a link to it in "default.target.wants" beside it. Empty for launchd,
/// which starts everything in the folder.
Path link(ServiceManager manager);

/// The file's content. Throws EditError when a control character stands in one of the texts, or in the
/// program's path what systemd does not take there.
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
FileChange install(ServiceManager manager, const Start& start);

/// Takes file and link away again; what is not ours stays. Throws FileError.
FileChange uninstall(ServiceManager manager);

/// The command that lets the service manager know after install(), or after uninstall(); empty when it need
/// not know before the next session.
std::vector<std::string> noticeOfInstall(ServiceManager manager);
std::vector<std::string> noticeOfUninstall(ServiceManager manager);

/// Whether the service manager would start the app of this process's own support folder, whatever program
/// that is: then it should be the one to do so.
bool isInstalledHere(ServiceManager manager);

/// The command that lets it start the app now; it does not wait until the app is ready.
std::vector<std::string> startCommand(ServiceManager manager);

} // namespace quorvik::Autostart

template <>
inline constexpr std::array<std::string_view, 4> quorvik::rawValues<quorvik::Autostart::State> = {
    "installed", "notInstalled", "stale", "foreign"};
