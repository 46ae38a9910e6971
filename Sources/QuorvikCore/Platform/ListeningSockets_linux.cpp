#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/ListeningSockets.h"
#include "QuorvikCore/Platform/ProcessTable.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>
#include <vector>

namespace quorvik::Platform {

namespace {

struct Listener {
    std::uint64_t inode;
    int port;
};

/// Asks the kernel for the listening sockets of one family (sock_diag(7)). False when it does not answer such
/// questions.
bool askKernel(std::uint8_t family, std::vector<Listener>& listeners) {
    const FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    struct {
        nlmsghdr header;
        inet_diag_req_v2 question;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.question.sdiag_family = family;
    request.question.sdiag_protocol = IPPROTO_TCP;
    constexpr int listening = 10; // TCP_LISTEN
    request.question.idiag_states = 1u << listening;
    if (!socket || ::send(socket.get(), &request, sizeof request, 0) < 0) return false;
    for (;;) {
        alignas(nlmsghdr) char answer[32'768];
        const ssize_t size = ::recv(socket.get(), answer, sizeof answer, 0);
        if (size <= 0) return false;
        auto left = static_cast<unsigned>(size);
        for (auto* message = reinterpret_cast<nlmsghdr*>(answer); NLMSG_OK(message, left);
             message = NLMSG_NEXT(message, left)) {
            if (message->nlmsg_type == NLMSG_DONE) return true;
            if (message->nlmsg_type != SOCK_DIAG_BY_FAMILY) return false; // an error
            const auto* found = static_cast<const inet_diag_msg*>(NLMSG_DATA(message));
            listeners.push_back({found->idiag_inode, ntohs(found->id.idiag_sport)});
        }
    }
}

/// The same from the kernel's tables of all connections, described in proc(5), whose reading takes
/// milliseconds: of a line, the second word is "0100007F:0BB8", address and port in hexadecimal digits, the
/// fourth "0A" for a listener, the tenth the inode.
void readTable(const char* table, std::vector<Listener>& listeners) {
    std::ifstream lines(table);
    std::string line;
    std::getline(lines, line); // the heads of the columns
    while (std::getline(lines, line)) {
        std::istringstream text(line);
        std::string number, local, remote, state, ignored;
        Listener listener{};
        text >> number >> local >> remote >> state;
        if (state != "0A") return; // the kernel lists them first
        for (int word = 0; word < 5; ++word)
            text >> ignored;
        const auto colon = local.rfind(':');
        if (!(text >> listener.inode) || colon == local.npos) continue;
        const char* const end = local.data() + local.size();
        const auto [last, error] = std::from_chars(local.data() + colon + 1, end, listener.port, 16);
        if (error == std::errc() && last == end) listeners.push_back(listener);
    }
}

/// In an order that depends on nothing but the sockets.
std::vector<Listener> allListeners() {
    std::vector<Listener> listeners;
    if (!askKernel(AF_INET, listeners) || !askKernel(AF_INET6, listeners)) {
        listeners.clear();
        readTable("/proc/net/tcp", listeners);
        readTable("/proc/net/tcp6", listeners);
    }
    std::ranges::sort(listeners, {}, &Listener::inode);
    return listeners;
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
    for (const Listener& listener : allListeners())
        ports.emplace(std::to_string(listener.inode), listener.port);
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
    for (const Listener& listener : allListeners())
        table += std::to_string(listener.inode) + " " + std::to_string(listener.port) + "\n";
    return table;
}

} // namespace quorvik::Platform
