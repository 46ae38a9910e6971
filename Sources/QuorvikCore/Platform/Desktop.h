#pragma once

#include <string_view>

namespace quorvik::Platform {

/// The program that opens a file or an address as a double click would: "xdg-open", "open".
std::string_view desktopOpener();

/// The program that shows a notification on the desktop.
enum class Notifier { notifySend, osascript };

Notifier desktopNotifier();

/// Who starts a user's programs when their session begins.
enum class ServiceManager { systemd, launchd };

ServiceManager serviceManager();

/// Tells the service manager that started this process, if one did, that it is ready to serve: systemd waits
/// for that (sd_notify(3): a datagram to $NOTIFY_SOCKET), launchd does not.
void reportReady();

} // namespace quorvik::Platform
