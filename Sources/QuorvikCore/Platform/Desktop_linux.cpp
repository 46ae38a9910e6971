#include "QuorvikCore/Platform/Desktop.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstring>
#include <string>

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

void reportReady() {
    const std::string path = environmentValue("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    if (address.sun_path[0] == '@') address.sun_path[0] = '\0'; // a name of the kernel's, not a file
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    constexpr std::string_view ready = "READY=1";
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    // An error is ignored: only the service manager has an interest in this message.
    [[maybe_unused]] const ssize_t sent = ::sendto(socket.get(), ready.data(), ready.size(), MSG_NOSIGNAL,
                                                   reinterpret_cast<const sockaddr*>(&address), length);
}

} // namespace quorvik::Platform
