#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace quorvik {

using namespace testing;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class ApprovalClientTests : public TemporaryHome {
  protected:
    std::optional<ApprovalResponse> ask(std::chrono::duration<double> timeout = 5s,
                                        const std::function<bool()>& stillWanted = {}) const {
        return ApprovalClient::ask(request, timeout, socket.string(), stillWanted);
    }

    const std::filesystem::path socket = support / "approval.sock";
    ApprovalRequest request{.id = "i", .sessionID = "s", .cwd = "/w"};
};

TEST_F(ApprovalClientTests, ReadsTheFirstLineOfTheAnswer) {
    const std::string allow = "{\"decision\":\"allow\"}\n";
    using Case = std::pair<std::string, ApprovalResponse>;
    for (const auto& [answer, response] : {
             Case{"{\"decision\":\"deny\",\"message\":\"no\"}\nnonsense", {ApprovalDecision::deny, "no"}},
             Case{"{\"decision\":\"allow\",\"answers\":[\"a\"],\"other\":1}\n",
                  {ApprovalDecision::allow, {}, {{"a"}}}},
             Case{"{\"decision\":\"ask\",\"message\":null,\"answers\":null}\n", {ApprovalDecision::ask}},
             Case{std::string(65'535 - 20, ' ') + allow, {ApprovalDecision::allow}},
         }) {
        const FakeApp app(socket, FakeApp::says(answer));
        EXPECT_EQ(ask(), response) << answer.substr(0, 80);
    }
    for (const std::string& answer :
         {std::string("{\"decision\":\"Allow\"}\n"),
          "{\"decision\":\"allow\"}" + std::string(1, '\0') + "x\n",
          std::string("{\"decision\":\"deny\",\"message\":1}\n"),
          std::string("{\"decision\":\"allow\",\"answers\":[1]}\n"), std::string("hello\n"), std::string(),
          std::string("{\"decision\":\"allow\"}"), std::string(70'000, ' ') + allow}) {
        const FakeApp app(socket, FakeApp::says(answer));
        EXPECT_FALSE(ask()) << answer.substr(0, 80);
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
    EXPECT_TRUE(ask());
    EXPECT_EQ(ApprovalRequest::fromJSON(*parseJSON(received)), request);

    const auto withLine = [&](std::size_t bytes) {
        request.cwd.clear();
        request.cwd.assign(bytes - printJSON(request.toJSON()).size(), 'x');
        return ask().has_value();
    };
    EXPECT_TRUE(withLine(65'535));
    EXPECT_FALSE(withLine(65'536));
    EXPECT_EQ(received.size(), 65'535u);
}

TEST_F(ApprovalClientTests, WaitsAsLongAsToldAndWanted) {
    std::atomic<int> heard = 0, asked = 0, left = 0;
    static std::atomic<bool> signalled = false;
    const FakeApp app(socket, [&, asker = ::pthread_self()](const std::string& line, int connection) {
        ++heard;
        char c;
        if (heard == 3) ::pthread_kill(asker, SIGUSR1);
        if (heard < 4) {
            if (::read(connection, &c, 1) == 0) ++left; // only the other side's going ends this
            return;
        }
        EXPECT_TRUE(eventually([&] { return asked > 2; }));
        FakeApp::says("{\"decision\":\"allow\"}\n")(line, connection);
    });
    const auto timed = [&](std::chrono::duration<double> timeout, const std::function<bool()>& stillWanted) {
        const auto start = Clock::now();
        EXPECT_FALSE(ask(timeout, stillWanted));
        return Clock::now() - start;
    };
    EXPECT_GE(timed(200ms, {}), 190ms);
    EXPECT_LT(timed(60s, [&] { return heard < 2; }), 3s);
    struct sigaction noting {
    }, previous{};
    noting.sa_handler = [](int) { signalled = true; };
    ::sigaction(SIGUSR1, &noting, &previous);
    EXPECT_LT(timed(60s, [] { return !signalled; }), 3s);
    ::sigaction(SIGUSR1, &previous, nullptr);
    EXPECT_TRUE(eventually([&] { return left == 3; }));
    EXPECT_TRUE(ask(60s, [&] { return ++asked > 0; }));
}

} // namespace quorvik
