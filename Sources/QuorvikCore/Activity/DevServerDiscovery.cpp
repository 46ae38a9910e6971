#include "QuorvikCore/Activity/DevServerDiscovery.h"

#include "QuorvikCore/Session/ProjectRoot.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace quorvik::DevServerDiscovery {

namespace {

constexpr std::int64_t firstUnprivilegedPort = 1024;

/// Programs that listen and are nobody's work in progress. "ControlCe" is all that lsof shows of the Control
/// Center's name, which it cuts to nine characters.
constexpr std::array<std::string_view, 42> ignored = {
    "Code Helper", "Electron",      "Cursor",    "Google",   "Chrome",    "Slack",        "Figma",
    "Docker",      "com.docker",    "OrbStack",  "colima",   "limactl",   "vpnkit",       "ssh",
    "Quorvik",     "rapportd",      "ControlCe", "sharingd", "Spotify",   "Dropbox",      "Notion",
    "Discord",     "WeChat",        "Telegram",  "zoom",     "Arc",       "Safari",       "Firefox",
    "AirPlay",     "mDNSResponder", "launchd",   "postgres", "mysqld",    "redis-server", "mongod",
    "ollama",      "Raycast",       "Obsidian",  "Linear",   "1Password", "Tailscale",    "tailscaled"};

bool sameInAnyCase(char a, char b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
    return lower(a) == lower(b);
}

bool isIgnored(std::string_view command) {
    return std::ranges::any_of(ignored, [&](std::string_view name) {
        return std::search(command.begin(), command.end(), name.begin(), name.end(), sameInAnyCase) !=
               command.end();
    });
}

} // namespace

std::vector<ListeningSocket> parse(std::string_view output) {
    std::vector<ListeningSocket> sockets;
    std::unordered_set<std::int64_t> ports;
    std::optional<pid_t> pid;
    std::string_view command;
    while (!output.empty()) {
        const std::string_view line = Unicode::takeLine(output);
        if (line.empty()) continue;
        const std::string_view value = line.substr(1);
        if (line[0] == 'p') pid = Number::integer<pid_t>(value);
        if (line[0] == 'c') command = value;
        const auto colon = value.rfind(':');
        if (line[0] != 'n' || !pid || colon == value.npos) continue;
        const auto port = Number::integer<std::int64_t>(value.substr(colon + 1));
        if (port && ports.insert(*port).second) sockets.push_back({*pid, std::string(command), *port});
    }
    return sockets;
}

bool isDevServer(const ListeningSocket& socket, const std::optional<std::string>& workingDirectory,
                 const std::string& home) {
    if (socket.port < firstUnprivilegedPort || !workingDirectory) return false;
    if (socket.command.empty() || isIgnored(socket.command)) return false;
    const std::string_view directory = *workingDirectory;
    if (directory.starts_with(home) && directory.substr(home.size()).starts_with("/Library")) return false;
    return ProjectRoot::find(*workingDirectory, home).has_value();
}

} // namespace quorvik::DevServerDiscovery
