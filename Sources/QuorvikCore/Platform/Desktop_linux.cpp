#include "QuorvikCore/Platform/Desktop.h"

namespace quorvik::Platform {

std::string_view desktopOpener() {
    return "xdg-open";
}

Notifier desktopNotifier() {
    return Notifier::notifySend;
}

ServiceManager serviceManager() {
    return ServiceManager::systemd;
}

} // namespace quorvik::Platform
