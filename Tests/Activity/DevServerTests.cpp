#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/DevServerDiscovery.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace quorvik {

using Sockets = std::vector<ListeningSocket>;

class DevServerTests : public testing::TemporaryHome {};

namespace {

/// Listens on the loopback address, of IPv4 or IPv6; port 0: any. Returns the port.
std::int64_t listenOn(const FileDescriptor& descriptor, bool six, std::int64_t port) {
    sockaddr_in v4{};
    sockaddr_in6 v6{};
    v4.sin_family = AF_INET;
    v6.sin6_family = AF_INET6;
    v4.sin_port = v6.sin6_port = htons(static_cast<std::uint16_t>(port));
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    v6.sin6_addr = in6addr_loopback;
    auto* const address = six ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
    socklen_t size = six ? sizeof v6 : sizeof v4;
    EXPECT_EQ(::bind(descriptor.get(), address, size), 0);
    EXPECT_EQ(::listen(descriptor.get(), 1), 0);
    EXPECT_EQ(::getsockname(descriptor.get(), address, &size), 0);
    return ntohs(six ? v6.sin6_port : v4.sin_port);
}

} // namespace

TEST_F(DevServerTests, FindsWhatReallyListens) {
    const FileDescriptor four(::socket(AF_INET, SOCK_STREAM, 0)), six(::socket(AF_INET6, SOCK_STREAM, 0)),
        both(::socket(AF_INET6, SOCK_STREAM, 0));
    const auto first = listenOn(four, false, 0);
    const std::vector ports = {first, listenOn(six, true, first), listenOn(both, true, 0)};
    const auto listing = testing::Program::run({"lsof", "-nP", "-iTCP", "-sTCP:LISTEN", "-F", "pcn"});
    ASSERT_EQ(listing.status, 0) << listing.errors;
    Sockets ours = DevServerDiscovery::parse(listing.output);
    std::erase_if(ours, [](const ListeningSocket& socket) { return socket.pid != ::getpid(); });
    ASSERT_EQ(ours.size(), 2u) << listing.output; // one port is listed twice, for IPv4 and IPv6
    EXPECT_EQ(ours[0].port, ports[0]);
    EXPECT_EQ(ours[1].port, ports[2]);
    EXPECT_TRUE(std::string_view("QuorvikTests").starts_with(ours[0].command)) << ours[0].command;

    write("shop/package.json", "{}");
    const std::string folder = home / "shop";
    EXPECT_FALSE(DevServerDiscovery::isDevServer(ours[0], folder, home.string())); // it is ours
    ours[0].command = "node";
    EXPECT_TRUE(DevServerDiscovery::isDevServer(ours[0], folder, home.string()));
}

TEST(DevServerDiscovery, ReadsListings) {
    struct Case {
        std::string_view listing;
        Sockets sockets;
    };
    for (const auto& [listing, sockets] : std::initializer_list<Case>{
             {"", {}},
             {"p7\ncnode\nf3\nn*:3000\nf4\nn[::1]:3000\nn127.0.0.1:5173\n",
              {{7, "node", 3000}, {7, "node", 5173}}},
             {"p7\r\ncnode\r\n\r\nn*:1\r\np8\u2028n*:2", {{7, "node", 1}, {8, "node", 2}}},
             {"n*:1\np7\nn*:2\ncnode\n", {{7, "", 2}}}, // before any process; no name yet
             {"p7\nn*:*\nn*:\nn3000\nn*:3000 (LISTEN)\nn*:http\nn\nc\nTx\nn*:99999999999999999999\n", {}},
             {"p7\nn*:1\npx\nn*:2\np99999999999\nn*:3\np9\nn*:1\nn*:4", {{7, "", 1}, {9, "", 4}}},
             {"p7\nc\xFF x\nn*:1", {{7, "\xFF x", 1}}},
         })
        EXPECT_EQ(DevServerDiscovery::parse(listing), sockets) << listing;
}

TEST_F(DevServerTests, TellsDevServersFromOtherListeners) {
    write("shop/go.mod", "");
    write("Library/shop/go.mod", "");
    write("Libraryless/go.mod", "");
    struct Case {
        std::int64_t port;
        std::string command;
        std::optional<std::string> folder; ///< below home
        bool isDevServer;
    };
    for (const auto& [port, command, folder, expected] : std::initializer_list<Case>{
             {1024, "node", "/shop/src", true},
             {65535, "python3.11", "/shop", true},
             {1023, "node", "/shop", false},
             {3000, "node", std::nullopt, false},
             {3000, "", "/shop", false},
             {3000, "Electron Helper", "/shop", false},
             {3000, "my-POSTGRES", "/shop", false},
             {3000, "research", "/shop", false}, // "Arc" is in it
             {3000, "ControlCe", "/shop", false},
             {3000, "ControlC", "/shop", true},
             {3000, "node", "/Library/shop", false},
             {3000, "node", "/Libraryless", false}, // close enough
             {3000, "node", "/elsewhere", false},
             {3000, "node", "", false},
             {3000, "node", "/../shop", false}, // not below home
         }) {
        const auto directory = folder ? std::optional(home.string() + *folder) : std::nullopt;
        EXPECT_EQ(DevServerDiscovery::isDevServer({1, command, port}, directory, home.string()), expected)
            << port << command << folder.value_or("-");
    }
}

} // namespace quorvik
