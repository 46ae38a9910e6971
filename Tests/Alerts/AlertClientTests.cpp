#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Alerts/AlertClient.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>

namespace quorvik {

using testing::FakeApp;
using testing::Program;
using namespace std::chrono_literals;
using Kind = AlertOutcome::Kind;

class AlertClientTests : public testing::TemporaryHome {
  protected:
    AlertOutcome send(std::chrono::duration<double> timeout = 3s) const {
        return AlertClient::send(request, socket.string(), timeout);
    }

    const std::filesystem::path socket = support / "alert.sock";
    AlertRequest request{.title = "Hi"};
};

TEST_F(AlertClientTests, TurnsEveryAnswerIntoItsOutcome) {
    struct Case {
        std::string answer;
        AlertOutcome outcome;
        int exitCode;
        std::string message;
    };
    const AlertOutcome unexpected{Kind::failed, "unexpected answer"};
    for (const auto& [answer, expected, exitCode, message] : std::initializer_list<Case>{
             {"{\"status\":\"ok\"}\nignored", {Kind::shown, ""}, 0, ""},
             {"{\"status\":\"disabled\",\"message\":null}\n",
              {Kind::disabled, ""},
              2,
              "External alerts are switched off in Quorvik's settings"},
             {"{\"status\":\"rejected\",\"message\":\"too loud\"}\n",
              {Kind::rejected, "too loud"},
              3,
              "refused: too loud"},
             {"{\"status\":\"rejected\"}\n", {Kind::rejected, ""}, 3, "refused: "},
             {"{\"status\":\"OK\"}\n", {Kind::failed, "unexpected reply"}, 4, "unexpected reply"},
             {"{\"status\":\"busy\",\"message\":\"later\"}\n", {Kind::failed, "later"}, 4, "later"},
             {"{\"status\":1}\n", unexpected, 4, "unexpected answer"},
             {"{\"status\":\"ok\",\"message\":1}\n", unexpected, 4, "unexpected answer"},
             {"hello\n", unexpected, 4, "unexpected answer"},
             {"\n", unexpected, 4, "unexpected answer"},
             {std::string(5000, 'x'), unexpected, 4, "unexpected answer"},
             {"", {Kind::notRunning, ""}, 1, "Quorvik is not running"}, // closes without a word
             {"{\"status\":\"ok\"}", {Kind::notRunning, ""}, 1, "Quorvik is not running"}, // breaks off
         }) {
        const FakeApp app(socket, FakeApp::says(answer));
        const AlertOutcome outcome = send();
        EXPECT_EQ(outcome, expected) << answer;
        EXPECT_EQ(outcome.exitCode(), exitCode) << answer;
        EXPECT_EQ(outcome.message(), message) << answer;
    }
}

TEST_F(AlertClientTests, SendsOneLineAndReadsAnswersInPieces) {
    std::string received;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        received = line;
        for (const char c : std::string("{\"status\":\"ok\"}\n"))
            ASSERT_EQ(::write(connection, &c, 1), 1);
    });
    request = {.title = "T", .body = "b\"\\", .level = AlertLevel::fail, .open = "/tmp", .id = "i", .ttl = 5};
    EXPECT_EQ(send().kind, Kind::shown);
    EXPECT_EQ(received, R"({"body":"b\"\\","id":"i","level":"fail","open":"/tmp","title":"T","ttl":5})");
    EXPECT_EQ(AlertRequest::fromJSON(*parseJSON(received)), request);
}

TEST_F(AlertClientTests, DoesNotWaitLongerThanTold) {
    // Five seconds of silence are enough, however long the whole may take.
    for (const auto& [timeout, atLeast, atMost] :
         {std::array{200ms, 190ms, 2000ms}, std::array{60000ms, 4900ms, 20000ms}}) {
        const FakeApp app(socket, [](const std::string&, int connection) {
            char byte;
            while (::read(connection, &byte, 1) > 0) {
            }
        });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(send(timeout), (AlertOutcome{Kind::failed, "Quorvik did not answer"}));
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited, atLeast);
        EXPECT_LT(waited, atMost);
    }
}

TEST_F(AlertClientTests, SizesAreChecked) {
    const FakeApp app(socket, FakeApp::says("{\"status\":\"ok\"}\n"));
    const auto withLine = [&](std::size_t bytes) {
        request.body.clear();
        request.body.assign(bytes - printJSON(request.toJSON()).size(), 'x');
        return send();
    };
    EXPECT_EQ(withLine(8191).kind, Kind::shown);
    EXPECT_EQ(withLine(8192), (AlertOutcome{Kind::rejected, "too large"}));

    request.body.clear();
    const auto toPath = [&](std::size_t length) {
        return AlertClient::send(request, "/tmp/" + std::string(length - 5, 'x'), 1s);
    };
    EXPECT_EQ(toPath(103).kind, Kind::notRunning);
    EXPECT_EQ(toPath(104), (AlertOutcome{Kind::failed, "socket path too long"}));
}

TEST_F(AlertClientTests, NobodyListens) {
    EXPECT_EQ(send().kind, Kind::notRunning);
    { const FakeApp gone(socket, FakeApp::says("")); }
    write("support/alert.sock", "not a socket");
    EXPECT_EQ(send().kind, Kind::notRunning);
}

TEST_F(AlertClientTests, AnotherUsersListenerIsNotTheApp) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can change sides";
    std::atomic<bool> spokenTo = false;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        if (!line.empty()) spokenTo = true;
        FakeApp::says("{\"status\":\"ok\"}\n")(line, connection);
    });
    for (const auto& folder : {home, support, std::filesystem::path(socket)})
        ::chmod(folder.c_str(), 0777);
    const auto asNobody = [] { ASSERT_EQ(::setuid(65534), 0); };
    const auto result =
        Program::run({testing::programPath("quorvik"), "alert", "--title", "x"}, "", asNobody);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "quorvik: Quorvik is not running\n");
    EXPECT_FALSE(spokenTo);
}

} // namespace quorvik
