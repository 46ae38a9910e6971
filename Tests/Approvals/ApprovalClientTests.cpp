#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace quorvik {

using testing::FakeApp;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class ApprovalClientTests : public testing::TemporaryHome {
  protected:
    std::optional<ApprovalResponse> ask(std::chrono::duration<double> timeout = 5s,
                                        const std::function<bool()>& stillWanted = {}) const {
        return ApprovalClient::ask(request, timeout, socket.string(), stillWanted);
    }

    const std::filesystem::path socket = support / "approval.sock";
    ApprovalRequest request{.id = "i", .sessionID = "s", .cwd = "/w"};
};

TEST_F(ApprovalClientTests, ReadsTheFirstLineOfTheAnswer) {
    const ApprovalResponse denied{ApprovalDecision::deny, "no", std::nullopt};
    const ApprovalResponse answered{ApprovalDecision::allow, std::nullopt, {{"a", "b"}}};
    struct Case {
        std::string answer;
        std::optional<ApprovalResponse> response;
    };
    for (const auto& [answer, response] : std::initializer_list<Case>{
             {"{\"decision\":\"deny\",\"message\":\"no\"}\n", denied},
             {"{\"decision\":\"allow\",\"answers\":[\"a\",\"b\"],\"other\":1}\nnonsense", answered},
             {"{\"decision\":\"ask\",\"message\":null,\"answers\":null}\n", ApprovalResponse{}},
             {"{\"decision\":\"allowAlways\"}\r\n", ApprovalResponse{ApprovalDecision::allowAlways}},
             {"{\"decision\":\"Allow\"}\n", {}},
             {"{\"message\":\"no\"}\n", {}},
             {"{\"decision\":\"deny\",\"message\":1}\n", {}},
             {"{\"decision\":\"allow\",\"answers\":[1]}\n", {}},
             {"[]\n", {}},
             {"hello\n", {}},
             {"\n", {}},
             {"", {}},
             {"{\"decision\":\"allow\"}", {}}, // breaks off
             {std::string(70'000, ' '), {}},
             {std::string(65'514, ' ') + "{\"decision\":\"allow\"}\n",
              ApprovalResponse{ApprovalDecision::allow}},
             {std::string(66'000, ' ') + "{\"decision\":\"allow\"}\n", {}},
         }) {
        const FakeApp app(socket, FakeApp::says(answer));
        EXPECT_EQ(ask(), response) << answer.substr(0, 80);
    }
}

TEST_F(ApprovalClientTests, SendsOneLineAndReadsAnswersInPieces) {
    std::string received;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        received = line;
        for (const char c : std::string("{\"decision\":\"allow\"}\n"))
            ASSERT_EQ(::write(connection, &c, 1), 1);
    });
    request.summary = "two\nlines";
    EXPECT_EQ(ask(), ApprovalResponse{ApprovalDecision::allow});
    EXPECT_EQ(ApprovalRequest::fromJSON(*parseJSON(received)), request);
}

TEST_F(ApprovalClientTests, SizesAreChecked) {
    std::atomic<std::size_t> received = 0;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        received = line.size();
        FakeApp::says("{\"decision\":\"allow\"}\n")(line, connection);
    });
    const auto withLine = [&](std::size_t bytes) {
        request.cwd.clear();
        request.cwd.assign(bytes - printJSON(request.toJSON()).size(), 'x');
        return ask().has_value();
    };
    EXPECT_TRUE(withLine(65'535));
    EXPECT_EQ(received, 65'535u);
    EXPECT_FALSE(withLine(65'536));
    EXPECT_EQ(received, 65'535u);
}

TEST_F(ApprovalClientTests, PathsOfUpTo103Bytes) {
    for (const auto& [length, reached] : {std::pair(103u, true), std::pair(104u, false)}) {
        const std::string path =
            "/tmp/" + std::string(length - 5 - 8, 'q') + std::to_string(10'000'000 + ::getpid());
        ASSERT_EQ(path.size(), length);
        const FakeApp app(path, FakeApp::says("{\"decision\":\"allow\"}\n"));
        EXPECT_EQ(ApprovalClient::ask(request, 5s, path).has_value(), reached) << length;
    }
}

TEST_F(ApprovalClientTests, NobodyListens) {
    EXPECT_FALSE(ask());
    write("support/approval.sock", "not a socket");
    EXPECT_FALSE(ask());
}

TEST_F(ApprovalClientTests, DoesNotWaitLongerThanToldOrWanted) {
    std::atomic<int> closed = 0;
    std::atomic<bool> heard = false;
    const FakeApp app(socket, [&](const std::string&, int connection) {
        heard = true;
        char c;
        if (::read(connection, &c, 1) == 0) ++closed; // only the other side's going ends this
    });
    auto start = Clock::now();
    EXPECT_FALSE(ask(200ms));
    EXPECT_GE(Clock::now() - start, 190ms);
    EXPECT_LT(Clock::now() - start, 3s);
    EXPECT_TRUE(testing::eventually([&] { return closed == 1; }));

    heard = false;
    start = Clock::now();
    EXPECT_FALSE(ask(60s, [&] { return !heard; }));
    EXPECT_LT(Clock::now() - start, 3s);
    EXPECT_TRUE(testing::eventually([&] { return closed == 2; }));

    EXPECT_FALSE(ask(0s));
    EXPECT_FALSE(ask(std::chrono::duration<double>(std::nan(""))));
}

TEST_F(ApprovalClientTests, StaysWhileWantedAndAsksAfterASignal) {
    std::atomic<int> asked = 0;
    {
        const FakeApp app(socket, [&](const std::string& line, int connection) {
            EXPECT_TRUE(testing::eventually([&] { return asked > 2; }));
            FakeApp::says("{\"decision\":\"allow\"}\n")(line, connection);
        });
        EXPECT_TRUE(ask(60s, [&] { return ++asked > 0; }));
    }

    static std::atomic<bool> signalled;
    signalled = false;
    struct sigaction action {};
    action.sa_handler = [](int) { signalled = true; };
    struct sigaction previous {};
    ::sigaction(SIGUSR1, &action, &previous);
    const FakeApp app(socket, [waiting = ::pthread_self()](const std::string&, int connection) {
        char c;
        ::pthread_kill(waiting, SIGUSR1);
        [[maybe_unused]] const auto count = ::read(connection, &c, 1);
    });
    EXPECT_FALSE(ask(60s, [] { return !signalled; }));
    ::sigaction(SIGUSR1, &previous, nullptr);
}

} // namespace quorvik
