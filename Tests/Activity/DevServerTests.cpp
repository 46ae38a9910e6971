#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/DevServerDiscovery.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvik {

using Sockets = std::vector<ListeningSocket>;

class DevServerTests : public testing::TemporaryHome {};

TEST_F(DevServerTests, FindsWhatReallyListens) {
    const FileDescriptor four(::socket(AF_INET, SOCK_STREAM, 0)), six(::socket(AF_INET6, SOCK_STREAM, 0));
    Sockets ours;
    for (const FileDescriptor* socket : {&four, &six}) {
        sockaddr_in6 address{}; // the port is in the same place for both
        socklen_t size = sizeof address;
        ASSERT_EQ(::listen(socket->get(), 1), 0); // on any port
        ASSERT_EQ(::getsockname(socket->get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
        ours.push_back({::getpid(), "QuorvikTests", ntohs(address.sin6_port)});
    }
    const auto listing = testing::Program::run({"lsof", "-nP", "-iTCP", "-sTCP:LISTEN", "-F", "pcn"});
    Sockets found = DevServerDiscovery::parse(listing.output);
    std::erase_if(found, [](ListeningSocket& socket) {
        if (socket.command == "QuorvikTe") socket.command = "QuorvikTests"; // as older versions cut it
        return socket.pid != ::getpid();
    });
    EXPECT_EQ(found, ours) << listing.output << listing.errors;
}

TEST_F(DevServerTests, ReadsOddListings) {
    for (const auto& [listing, sockets] : std::initializer_list<std::pair<std::string_view, Sockets>>{
             {"p7\ncx\nf3\nn*:3000\nf4\nn[::1]:3000\nn127.0.0.1:5173\n", {{7, "x", 3000}, {7, "x", 5173}}},
             {"p7\r\ncx\r\n\r\nn*:1\r\np8\u2028n*:2", {{7, "x", 1}, {8, "x", 2}}},
             {"n*:1\np7\nn*:2\ncx\n", {{7, "", 2}}}, // before any process; no name yet
             {"p7\nn*:*\nn*:\nn3000\nn*:3000 (LISTEN)\nn\nc\nTx:1\nn*:99999999999999999999\n", {}},
             {"px\nn*:2\np99999999999\nn*:3\np9\nc\xFF x\nn*:4", {{9, "\xFF x", 4}}}})
        EXPECT_EQ(DevServerDiscovery::parse(listing), sockets) << listing;
}

TEST_F(DevServerTests, TellsDevServersFromOtherListeners) {
    for (const std::string project : {"shop", "Library/shop", "Libraryless"})
        write(project + "/go.mod", "");
    const auto isDevServer = [&](std::int64_t port, std::string command, std::optional<std::string> folder) {
        if (folder) folder->insert(0, home.string());
        return DevServerDiscovery::isDevServer({1, std::move(command), port}, folder, home.string());
    };
    for (const char* command : {"node", "python3.11", "ControlC"})
        EXPECT_TRUE(isDevServer(1024, command, "/shop/src")) << command;
    for (const char* command : {"", "Electron Helper", "my-POSTGRES", "research" /* "Arc" */, "ControlCe"})
        EXPECT_FALSE(isDevServer(3000, command, "/shop")) << command;
    for (const char* folder : {"/Library/shop", "/Libraryless", "/elsewhere", "", "/../shop"})
        EXPECT_FALSE(isDevServer(3000, "node", folder)) << folder;
    EXPECT_FALSE(isDevServer(3000, "node", std::nullopt));
    EXPECT_FALSE(isDevServer(1023, "node", "/shop"));
}

} // namespace quorvik
