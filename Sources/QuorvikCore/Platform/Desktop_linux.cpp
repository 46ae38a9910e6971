#include "QuorvikCore/Platform/Desktop.h"

namespace quorvik::Platform {

std::string_view desktopOpener() {
    return "xdg-open";
}

ServiceManager serviceManager() {
    return ServiceManager::systemd;
}

} // namespace quorvik::Platform
