#pragma once

#include <filesystem>
#include <string>

/// Where the programs meet: every file and folder that they share, and the files of the agents. All are
/// computed on every call from the environment and the file system; nothing is cached, nothing created.
namespace quorvik::QuorvikPaths {

using Path = std::filesystem::path;

Path home(); ///< the current user's home folder

/// $QUORVIK_HOME when set and not empty, else "Library/Application Support/Quorvik" in the home folder, on
/// every system, so that a folder copied from a Mac works.
Path supportDirectory();
Path sessionsDirectory(); ///< one JSON file per session
Path logsDirectory();     ///< output of supervised commands
Path backupsDirectory();  ///< copies of users' files made before an edit
Path binDirectory();      ///< installed programs
Path usageDirectory();    ///< the last figures of agents' limits

/// The app's sockets, in the support folder. A socket's path has little room (104 bytes on macOS): one of
/// more than 99 bytes is replaced by "/tmp/quorvik-<uid>-alert.sock" and "/tmp/quorvik-<uid>.sock". The app
/// computes the same.
Path alertSocket();
Path approvalSocket();

/// What front ends connect to (docs/control.md); "/tmp/quorvik-<uid>-island.sock" when the path is too long.
Path controlSocket();

Path settingsFile(); ///< the user's choices
Path memoryFile();   ///< what the user has acknowledged and picked
Path appLock();      ///< locked by the app for as long as it runs; never removed
Path appLog();       ///< what an app says that was started in the background
Path overlayLog();   ///< the same of the overlay

inline constexpr const char* cliBinaryName = "quorvik";
inline constexpr const char* hookBinaryName = "quorvik-hook";
inline constexpr const char* appBinaryName = "quorvik-island";
inline constexpr const char* overlayBinaryName = "quorvik-overlay";
Path installedCLIBinary();
Path installedHookBinary();
Path installedAppBinary();
Path installedOverlayBinary();

/// Marks a hook command line as written by us.
inline constexpr const char* managedMarker = "QUORVIK_MANAGED=1";

/// Name of the notification that records have changed.
inline constexpr const char* darwinNotification = "com.quorvik.state-changed";

// The agents' configuration files.
Path claudeSettings();
Path claudeCredentials(); ///< its login; only ever read
Path codexHooks();
Path grokHooks();
Path commandCodeSettings();
Path devinConfig();
Path qwenSettings();
Path copilotHooks();
Path codexRollouts(); ///< a folder: what Codex notes of its sessions; in $CODEX_HOME, else in ".codex"
Path kimiConfig();    ///< in ".kimi", or in ".kimi-code" if only that one exists
Path piExtension();

/// Creates the folder and missing parents with permissions 0700; an existing folder is left as it is.
/// Throws FileError.
void ensureDirectory(const Path& folder);

} // namespace quorvik::QuorvikPaths
