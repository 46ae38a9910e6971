#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Text.h"

#include "QuorvikCore/Alerts/AlertClient.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>

namespace quorvik {

using namespace testing;
using namespace std::chrono_literals;
using namespace std::string_literals;
using Kind = AlertOutcome::Kind;

class AlertClientTests : public TemporaryHome {
  protected:
    AlertOutcome send(std::chrono::duration<double> timeout = 3s) const {
        return AlertClient::send(request, socket.string(), timeout);
    }

    const std::filesystem::path socket = support / "alert.sock";
    AlertRequest request{.title = "Hi"};
};

TEST_F(AlertClientTests, TurnsEveryAnswerIntoItsOutcome) {
    const std::string off = "External alerts are switched off in Quorvik's settings";
    for (const auto& [expected, exitCode, message, answers] :
         std::initializer_list<std::tuple<AlertOutcome, int, std::string, std::string>>{
             {{Kind::shown, ""}, 0, "", R"({"status":"ok"}+ignored)"},
             {{Kind::disabled, ""}, 2, off, R"({"status":"disabled","message":null}+)"},
             {{Kind::rejected, "loud"}, 3, "refused: loud", R"({"status":"rejected","message":"loud"}+)"},
             {{Kind::rejected, ""}, 3, "refused: ", R"({"status":"rejected"}+)"},
             {{Kind::failed, "unexpected reply"}, 4, "unexpected reply", R"({"status":"OK"}+)"},
             {{Kind::failed, "later"}, 4, "later", R"({"status":"busy","message":"later"}+)"},
             {{Kind::failed, "unexpected answer"},
              4,
              "unexpected answer",
              R"({"status":1}+|{"status":"ok","message":1}+|hello+|+|)" + std::string(5000, 'x') +
                  R"(|{"status":"ok"})" + '\0' + "x+"},
             {{Kind::notRunning, ""}, 1, "Quorvik is not running", R"(|{"status":"ok"})"}, // breaks off
         }) {
        EXPECT_EQ(expected.exitCode(), exitCode);
        EXPECT_EQ(expected.message(), message);
        for (std::string answer : split(answers)) {
            std::ranges::replace(answer, '+', '\n');
            const FakeApp app(socket, FakeApp::says(answer));
            EXPECT_EQ(send(), expected) << answer;
        }
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
        const FakeApp app(socket, FakeApp::isSilent());
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

TEST_F(AlertClientTests, AnotherUsersListenerIsNotTheApp) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can change sides";
    std::atomic<bool> spokenTo = false;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        if (!line.empty()) spokenTo = true;
        FakeApp::says("{\"status\":\"ok\"}\n")(line, connection);
    });
    for (const auto& file : {support, std::filesystem::path(socket)})
        ::chmod(file.c_str(), 0777);
    const auto asNobody = [] { ASSERT_EQ(::setuid(65534), 0); };
    EXPECT_EQ(Program::run({programForAnyone("quorvik"), "alert", "--title", "x"}, "", asNobody),
              (Program::Result{1, "", "quorvik: Quorvik is not running\n"}));
    EXPECT_FALSE(spokenTo);
}

} // namespace quorvik
