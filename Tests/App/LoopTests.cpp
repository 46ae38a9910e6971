#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikApp/Loop/ChildProcess.h"
#include "QuorvikApp/Loop/LineServer.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/LineSocket.h"
#include "QuorvikCore/Platform/ServerSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace quorvik {

using namespace testing;

namespace {

using Seconds = Timer::Seconds;

/// Turns the loop until the condition holds, for 20 seconds at most.
template <typename Condition>
bool turnUntil(EventLoop& loop, Condition condition) {
    bool isLate = false;
    Timer limit(loop, [&] {
        isLate = true;
        loop.stop();
    });
    limit.start(Seconds(20));
    loop.atEndOfTurn([&] {
        if (condition()) loop.stop();
    });
    Timer first(loop, [] {}); // a turn, even if nothing happens
    first.start(Seconds(0));
    loop.run();
    loop.atEndOfTurn({});
    return !isLate;
}

} // namespace

class LoopTests : public TemporaryHome {
  protected:
    LoopTests() { std::filesystem::create_directories(support); }

    int connect() {
        int error = 0;
        sockets.push_back(connectedSocket(path.string(), Seconds(5), error));
        EXPECT_EQ(error, 0);
        return sockets.back().get();
    }

    static constexpr LineLimits limits{.lineBytes = 100,
                                       .outputBytes = 1 << 20,
                                       .peers = 3,
                                       .firstLine = Seconds(0.2),
                                       .stalled = Seconds(2)};
    const std::filesystem::path path = support / "x.sock";
    std::vector<FileDescriptor> sockets;
    EventLoop loop;
};

TEST_F(LoopTests, PublishesASocketWithoutAGapAndOverNothingButSockets) {
    ServerSocket first = ServerSocket::publish(path);
    EXPECT_EQ(modeOf(path), 0600U);
    {
        const ServerSocket second = ServerSocket::publish(path); // what a dead app left is replaced
        EXPECT_FALSE(first.isPublished());
        EXPECT_TRUE(second.isPublished());
        first.withdraw(); // not its own any more
        EXPECT_TRUE(second.isPublished());
        EXPECT_THROW(ServerSocket::publish(path, ServerSocket::Replaces::dead), FileError);
        EXPECT_TRUE(second.isPublished());
    }
    EXPECT_NO_THROW(ServerSocket::publish(path, ServerSocket::Replaces::dead));
    EXPECT_EQ(namesIn(support), std::vector<std::string>{"x.sock"});
    write(support / "file", "mine");
    for (const auto& [where, why] : std::initializer_list<std::pair<std::filesystem::path, std::string>>{
             {support / "file", "File exists"},
             {support / std::string(100, 'x'), "File name too long"},
             {support / "none/x.sock", "No such file or directory"}}) {
        try {
            ServerSocket::publish(where);
            ADD_FAILURE() << where;
        } catch (const FileError& error) {
            EXPECT_EQ(error.what(), "could not listen at " + where.string() + ": " + why);
        }
    }
    EXPECT_EQ(contentOf(support / "file"), "mine");
}

TEST_F(LoopTests, HearsLinesAndBoundsWhatPeersMayCost) {
    const ServerSocket listening = ServerSocket::publish(path);
    std::vector<std::string> heard;
    int closed = 0;
    LineServer server(loop, limits, [&](const std::shared_ptr<LineConnection>& connection) {
        EXPECT_EQ(connection->peer().pid, ::getpid());
        connection->onLine = [&](const std::string& line) { heard.push_back(line); };
        connection->onClosed = [&] { ++closed; };
    });
    server.listen(listening.descriptor());
    const auto say = [&](int socket, const std::string& text) {
        ASSERT_EQ(::send(socket, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    };
    const int talks = connect(), tooLong = connect(), silent = connect(), waits = connect();
    say(talks, "one\ntw");
    say(tooLong, std::string(100, 'x'));
    say(waits, "later\n"); // a fourth one stays in the queue until one of the others goes
    ASSERT_TRUE(turnUntil(loop, [&] { return heard.size() == 2 && closed == 2; }));
    EXPECT_EQ(heard, (std::vector<std::string>{"one", "later"})); // "silent" said nothing in time
    char byte;
    EXPECT_EQ(::recv(silent, &byte, 1, 0), 0);
    say(talks, "o\n");
    sockets.erase(sockets.begin());
    ASSERT_TRUE(turnUntil(loop, [&] { return closed == 3; })); // after its last line
    EXPECT_EQ(heard.back(), "two");
    EXPECT_EQ(server.connectionCount(), 1U);
}

TEST_F(LoopTests, PeersThatSayNothingKeepNobodyOut) {
    const ServerSocket listening = ServerSocket::publish(path);
    std::vector<std::string> heard;
    LineLimits patient = limits;
    patient.firstLine = Seconds(3600);
    int closed = 0;
    LineServer server(loop, patient, [&](const std::shared_ptr<LineConnection>& connection) {
        connection->onLine = [&](const std::string& line) { heard.push_back(line); };
        connection->onClosed = [&] { ++closed; };
    });
    server.listen(listening.descriptor());
    const int first = connect();
    ASSERT_EQ(::send(first, "first\n", 6, 0), 6);
    for (int index = 0; index < 30; ++index)
        ASSERT_EQ(::send(connect(), "not whole", 9, 0), 9);
    ASSERT_EQ(::send(connect(), "last\n", 5, 0), 5);
    ASSERT_TRUE(turnUntil(loop, [&] { return heard.size() == 2; }));
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "last"}));
    EXPECT_EQ(closed, 29); // the oldest of them, as many as it took
    ASSERT_EQ(::send(first, "more\n", 5, 0), 5);
    ASSERT_TRUE(turnUntil(loop, [&] { return heard.back() == "more"; })) << "who has spoken stays";
}

TEST_F(LoopTests, SparesSlowReadersWhatWasOvertakenAndDropsThoseThatStall) {
    const ServerSocket listening = ServerSocket::publish(path);
    std::shared_ptr<LineConnection> connection;
    bool isClosed = false;
    LineServer server(loop, limits, [&](const std::shared_ptr<LineConnection>& accepted) {
        connection = accepted;
        connection->onLine = [&](const std::string& line) {
            // More than a socket holds: the first is on its way, and of the others only the last counts.
            for (int number = 1; number <= 50; ++number)
                connection->sendLatest(std::make_shared<const std::string>(line + std::to_string(number) +
                                                                           std::string(500'000, '.')));
        };
        connection->onClosed = [&] { isClosed = true; };
    });
    server.listen(listening.descriptor());
    const int socket = connect();
    ASSERT_EQ(::send(socket, "n\n", 2, 0), 2);
    ASSERT_TRUE(turnUntil(loop, [&] { return connection != nullptr; }));
    std::string got;
    ASSERT_TRUE(turnUntil(loop, [&] {
        char bytes[65'536];
        for (ssize_t count; (count = ::recv(socket, bytes, sizeof bytes, MSG_DONTWAIT)) > 0;)
            got.append(bytes, static_cast<std::size_t>(count));
        loop.later([] {});
        return std::count(got.begin(), got.end(), '\n') == 2;
    }));
    EXPECT_TRUE(got.starts_with("n1."));
    EXPECT_NE(got.find("\nn50."), got.npos);

    ASSERT_EQ(::send(socket, "n\n", 2, 0), 2); // and now it reads no more
    ASSERT_TRUE(turnUntil(loop, [&] { return isClosed; }));
    bool wasSent = true;
    connection->send("lost", [&](bool success) { wasSent = success; });
    ASSERT_TRUE(turnUntil(loop, [&] { return !wasSent; }));
}

TEST_F(LoopTests, SaysWhenAFolderChangesAndWhenItIsAnother) {
    const auto folder = support / "watched";
    std::filesystem::create_directories(folder);
    int hints = 0;
    std::set<std::string> names;
    FolderWatch watch(loop, [&](const FolderHints& told) {
        ++hints;
        names.insert(told.names.begin(), told.names.end());
        if (!told.isAll) names.insert("…");
    });
    EXPECT_FALSE(watch.watch((support / "none").string()));
    ASSERT_TRUE(watch.watch(folder.string()));
    std::ofstream(folder / "a") << "x";
    ASSERT_TRUE(turnUntil(loop, [&] { return hints > 0; }));
    EXPECT_TRUE(names.contains("a"));
    for (int index = 0; index < 300; ++index)
        std::ofstream(folder / std::to_string(index)) << "x";
    ASSERT_TRUE(turnUntil(loop, [&] { return names.contains("…") || names.size() > 300; }));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    ASSERT_TRUE(watch.watch(folder.string()));
    ASSERT_TRUE(turnUntil(loop, [] { return true; })); // what the old one still had to say
    hints = 0;
    std::ofstream(folder / "b") << "x";
    ASSERT_TRUE(turnUntil(loop, [&] { return hints > 0; }));
}

TEST_F(LoopTests, RunsOtherProgramsWithinTheirLimits) {
    struct Case {
        std::string script, output, failure;
        std::optional<int> status;
    };
    for (const auto& [script, output, failure, status] : std::initializer_list<Case>{
             {"echo $LC_ALL; pwd; cat; exit 3", "C\n/\n", "", 3},
             {"kill -9 $$", "", "it was ended by signal 9", std::nullopt},
             {"trap '' TERM; echo a; sleep 60", "a\n", "it took too long", std::nullopt},
             {"yes", "", "it writes too much", std::nullopt},
             {"sleep 60 & echo done", "done\n", "", 0}}) { // its output is held open by somebody else
        std::optional<ChildProcess::Result> result;
        const ChildProcess child(loop, {"sh", "-c", script}, {Seconds(0.5), 10'000},
                                 [&](ChildProcess::Result done) { result = std::move(done); });
        ASSERT_TRUE(turnUntil(loop, [&] { return result.has_value(); })) << script;
        EXPECT_EQ(result->exitStatus, status) << script;
        EXPECT_EQ(result->failure, failure) << script;
        EXPECT_TRUE(script == "yes" || result->output == output) << script << result->output;
    }
    std::optional<ChildProcess::Result> missing;
    const ChildProcess child(loop, {"/none/such"}, {Seconds(1), 100},
                             [&](ChildProcess::Result done) { missing = std::move(done); });
    EXPECT_FALSE(missing) << "never before the constructor returns";
    ASSERT_TRUE(turnUntil(loop, [&] { return missing.has_value(); }));
    EXPECT_EQ(missing->failure, "could not run /none/such: no such file or directory");

    // More than a pipe holds or an argument may be; a program may end without having read it.
    for (const auto& [script, output] :
         {std::pair{"wc -c | tr -d ' '", "300000\n"}, {"echo unread", "unread\n"}}) {
        std::optional<ChildProcess::Result> result;
        const ChildProcess reader(
            loop, {"sh", "-c", script}, {Seconds(10), 10'000},
            [&](ChildProcess::Result done) { result = std::move(done); }, ChildProcess::Locale::plain, {},
            std::string(300'000, 'x'));
        ASSERT_TRUE(turnUntil(loop, [&] { return result.has_value(); })) << script;
        EXPECT_EQ(result->output, output);
    }

    // One that does not heed the signal that asks it to end is killed.
    std::optional<ChildProcess::Result> stubborn;
    ChildProcess ignoring(loop, {"sh", "-c", "trap '' INT; while :; do sleep 1; done"}, {Seconds(60), 100},
                          [&](ChildProcess::Result done) { stubborn = std::move(done); });
    ignoring.end(SIGINT);
    ASSERT_TRUE(turnUntil(loop, [&] { return stubborn.has_value(); }));
    EXPECT_EQ(stubborn->failure, "it was asked to end");

    // Whoever lets go of a program ends it, and leaves no zombie.
    std::ofstream(support / "pid");
    {
        const ChildProcess gone(loop,
                                {"sh", "-c", "echo $$ > '" + (support / "pid").string() + "'; sleep 60"},
                                {Seconds(60), 100}, [](const ChildProcess::Result&) { ADD_FAILURE(); });
        ASSERT_TRUE(turnUntil(loop, [&] {
            loop.later([] {});
            return contentOf(support / "pid").ends_with("\n");
        }));
    }
    const pid_t pid = std::stoi(contentOf(support / "pid"));
    EXPECT_TRUE(turnUntil(loop, [&] {
        loop.later([] {});
        return ::kill(pid, 0) != 0;
    }));
}

} // namespace quorvik
