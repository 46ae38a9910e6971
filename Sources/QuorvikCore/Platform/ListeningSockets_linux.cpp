#include "QuorvikCore/Platform/ListeningSockets.h"
#include "QuorvikCore/Platform/ProcessTable.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>
#include <vector>

namespace quorvik::Platform {

namespace {

constexpr std::size_t fieldCount = 10;

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    for (std::size_t from = 0; words.size() < fieldCount;) {
        from = line.find_first_not_of(' ', from);
        if (from == line.npos) break;
        const std::size_t to = std::min(line.find(' ', from), line.size());
        words.push_back(line.substr(from, to - from));
        from = to;
    }
    return words;
}

/// Calls `use` with the words of each listening socket's line: 1 is "0100007F:0BB8", address and port in
/// hexadecimal digits, 9 the socket's inode. The tables are described in proc(5).
template <typename Use>
void forEachListener(const Use& use) {
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::ifstream lines(table);
        std::string line;
        std::getline(lines, line); // the heads of the columns
        while (std::getline(lines, line)) {
            const auto words = wordsOf(line);
            constexpr std::string_view listening = "0A";
            // The kernel lists them first. Connections, of which there may be very many, are not read.
            if (words.size() < fieldCount || words[3] != listening) break;
            use(words);
        }
    }
}

std::optional<int> portOf(std::string_view address) {
    const auto colon = address.rfind(':');
    int port = 0;
    if (colon == address.npos) return std::nullopt;
    const auto [end, error] =
        std::from_chars(address.data() + colon + 1, address.data() + address.size(), port, 16);
    if (error != std::errc() || end != address.data() + address.size()) return std::nullopt;
    return port;
}

/// The inode in "socket:[4711]", what a descriptor of a socket links to.
std::string_view inodeOf(std::string_view target) {
    constexpr std::string_view prefix = "socket:[";
    if (!target.starts_with(prefix) || !target.ends_with(']')) return {};
    return target.substr(prefix.size(), target.size() - prefix.size() - 1);
}

} // namespace

std::optional<std::string> listeningSockets() {
    std::map<std::string, int, std::less<>> ports; // by inode
    forEachListener([&](const std::vector<std::string_view>& words) {
        if (const auto port = portOf(words[1])) ports.emplace(words[9], *port);
    });
    std::string listing;
    if (ports.empty()) return listing;
    std::error_code error;
    for (std::filesystem::directory_iterator process("/proc", error), end; !error && process != end;
         process.increment(error)) {
        const std::string number = process->path().filename().string();
        if (number.find_first_not_of("0123456789") != number.npos) continue;
        std::string sockets;
        std::error_code ignored; // of other users' processes nothing is told
        for (std::filesystem::directory_iterator descriptor(process->path() / "fd", ignored);
             !ignored && descriptor != end; descriptor.increment(ignored)) {
            char target[64];
            const ssize_t size = ::readlink(descriptor->path().c_str(), target, sizeof target);
            if (size <= 0) continue;
            const auto found = ports.find(inodeOf({target, static_cast<std::size_t>(size)}));
            if (found != ports.end()) sockets += "n*:" + std::to_string(found->second) + "\n";
        }
        if (sockets.empty()) continue;
        int pid = 0;
        std::from_chars(number.data(), number.data() + number.size(), pid);
        std::string name = processInfo(pid).value_or(ProcessInfo{}).name;
        std::ranges::replace(name, '\n', ' ');
        listing += "p" + number + "\nc" + name + "\n" + sockets;
    }
    return listing;
}

std::optional<std::string> listenerTable() {
    std::string table;
    forEachListener([&](const std::vector<std::string_view>& words) {
        table.append(words[1]).append(" ").append(words[9]).append("\n");
    });
    return table;
}

} // namespace quorvik::Platform
