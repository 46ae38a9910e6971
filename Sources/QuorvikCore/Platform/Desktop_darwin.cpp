#include "QuorvikCore/Platform/Desktop.h"

namespace quorvik::Platform {

std::string_view desktopOpener() {
    return "open";
}

Notifier desktopNotifier() {
    return Notifier::osascript;
}

ServiceManager serviceManager() {
    return ServiceManager::launchd;
}

void reportReady() {}

} // namespace quorvik::Platform
