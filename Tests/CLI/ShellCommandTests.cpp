#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <unistd.h>

#include <thread>

namespace quorvik {

using namespace testing;

/// `quorvik shell`, as the zsh script calls it. The test is the shell.
class ShellCommandTests : public TemporaryHome {
  protected:
    using Words = std::vector<std::string>;

    static Words joined(Words words, const Words& more) {
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    static void quorvik(const std::string& event, const Words& words) {
        const auto result = Program::run(joined({programPath("quorvik"), "shell", event}, words), "",
                                         [] { ::setenv("TERM_PROGRAM", "Terminal", 1); });
        EXPECT_EQ(result, (Program::Result{0, "", ""}));
    }

    /// The options that every report has, then these words.
    Words usual(const Words& words, const std::string& start = "1700000000.5") const {
        return joined({"--pid", self, "--start", start, "--cwd", "/tmp/x"}, words);
    }

    std::optional<SessionRecord> record() const {
        return recordIn(sessions / ("build-sh-" + self + ".json"));
    }
    SessionRecord takeRecord() const {
        const auto found = record();
        EXPECT_TRUE(found);
        if (found) SessionStore::remove(*found, sessions);
        return found.value_or(SessionRecord());
    }

    const std::string self = std::to_string(::getpid());
};

TEST_F(ShellCommandTests, EndsTellHowItWent) {
    struct Case {
        std::string exit;
        Words command;
        SessionState state;
        std::string tool, summary;
        std::optional<std::string> detail;
    };
    using State = SessionState;
    const std::string user = home.string();
    for (const auto& [exit, command, state, tool, summary, detail] : std::initializer_list<Case>{
             {"0", {"make"}, State::done, "make", "make", std::nullopt},
             {"1", {"git", "push"}, State::failed, "git", "exit 1", "git push"},
             {"130", {"make", "all"}, State::ended, "make", "exit 130", "make all"},
             {"137", {"/usr/bin/make"}, State::failed, "make", "exit 137", "/usr/bin/make"},
             {"-1", {"make"}, State::failed, "make", "exit -1", "make"},
             {"0", {"FOO=1 make build"}, State::done, "make", "FOO=*** make build", std::nullopt},
             {"2", {"cd " + user + "/x &&\nmake"}, State::failed, "cd", "exit 2", "cd ~/x && make"},
             {"0", {"./a=b", "c=d"}, State::done, "a=b c=d", "./a=*** c=***", std::nullopt},
             {"0", {"vercel --prod"}, State::done, "Deploy", "Vercel", std::nullopt},
             {"1", {"npx vercel"}, State::failed, "Deploy", "Vercel: exit 1", "npx vercel"},
         }) {
        quorvik("end", joined(usual({"--exit", exit, "--"}), command));
        const SessionRecord left = takeRecord();
        const auto shell = ProcessInspector::info(::getpid());
        SessionRecord expected(Source::build, "sh-" + self, "/tmp/x", left.stateSince);
        expected.state = state;
        expected.tool = tool;
        expected.summary = summary;
        expected.detail = detail;
        expected.exitCode = std::stoi(exit);
        expected.turnStartedAt = dateFromSeconds(1700000000.5);
        expected.lastEvent = "shell-end";
        expected.host = HostInfo::fromEnvironment({{"TERM_PROGRAM", "Terminal"}}, shell->tty);
        expected.host.tmux = left.host.tmux;
        expected.pid = ::getpid();
        expected.pidStartTime = left.pidStartTime;
        EXPECT_EQ(left, expected) << summary;
        EXPECT_NEAR(left.pidStartTime.value_or(0), shell->startTime, 0.5); // taken from two clocks each time
    }
}

TEST_F(ShellCommandTests, AStartTakesTheRecordOver) {
    quorvik("end", usual({"--exit", "1", "--", "make"}));
    quorvik("start", usual({"--exit", "5", "--", "make", "test"}, "1700000001"));
    const SessionRecord left = takeRecord();
    EXPECT_EQ(left.state, SessionState::working);
    EXPECT_EQ(left.summary, "make test");
    EXPECT_EQ(left.detail, std::nullopt);
    EXPECT_EQ(left.exitCode, std::nullopt);
    EXPECT_EQ(left.turnStartedAt, dateFromSeconds(1700000001));
    EXPECT_EQ(left.turnStartedAt, left.stateSince);
    EXPECT_GT(left.updatedAt, left.stateSince);
    EXPECT_EQ(left.lastEvent, "shell-start");
    EXPECT_EQ(left.pid, ::getpid());
    EXPECT_FALSE(namesIn(support).empty()); // the notification
}

TEST_F(ShellCommandTests, ALateStartChangesNothing) {
    quorvik("end", usual({"--exit", "1", "--", "make"}, "1700000000.1"));
    const auto ended = record();
    quorvik("start", usual({"--", "make"}, "1700000000.1000"));
    EXPECT_EQ(record(), ended);

    // A real race: whoever comes first, the end stands.
    for (int round = 0; round < 15; ++round) {
        const std::string start = std::to_string(1'700'000'100 + round);
        std::thread late([&] { quorvik("start", usual({"--", "make"}, start)); });
        quorvik("end", usual({"--exit", "0", "--", "make"}, start));
        late.join();
        EXPECT_EQ(record()->state, SessionState::done);
        EXPECT_EQ(record()->turnStartedAt, dateFromSeconds(std::stod(start)));
    }
}

TEST_F(ShellCommandTests, OptionsAreScannedInOrder) {
    quorvik("end", {"stray", "--", "make"}); // the words after it are the command's: no process, no start
    EXPECT_EQ(namesIn(sessions), Words{});
    quorvik("end", {"stray", "--pid", "1", "--new", "--pid", "--start", "+1e3", "--pid", self, "-x", "--exit",
                    "+3", "--", "make", "--pid", "--"});
    const SessionRecord left = takeRecord();
    EXPECT_EQ(left.detail, "make --pid --");
    EXPECT_EQ(left.exitCode, 3);
    EXPECT_EQ(left.cwd, std::filesystem::current_path());
    EXPECT_EQ(left.turnStartedAt, dateFromSeconds(1000));
}

TEST_F(ShellCommandTests, PublishesNothing) {
    Program finished({"true"});
    const std::string dead = std::to_string(finished.pid());
    finished.finish();
    const auto publishesNothing = [&](const std::string& event, const Words& words) {
        quorvik(event, words);
        EXPECT_EQ(namesIn(sessions), Words{}) << event << " " << ::testing::PrintToString(words);
    };
    const auto make = [&](const Words& options) { return usual(joined(options, {"--", "make"})); };
    publishesNothing("stop", make({"--exit", "0"}));
    publishesNothing("", make({}));
    publishesNothing("start", usual({}));
    publishesNothing("start", usual({"make"})); // the command line comes after "--"
    publishesNothing("start", usual({"--", "vim"}));
    publishesNothing("end", usual({"--exit", "130", "--", "git", "push"})); // no failure
    publishesNothing("end", usual({"--exit", "1", "--", "git", "status"}));
    publishesNothing("end", make({})); // how it went is the point of an end
    for (const char* exit : {"x", "2147483648", ""})
        publishesNothing("end", make({"--exit", exit}));
    for (const char* start : {"x", "1s", " 1", "", "nan", "-inf", "1e999"})
        publishesNothing("start", make({"--start", start}));
    for (const std::string& pid :
         {self + "x", self + ".0", std::string("4294967297"), std::string("-1"), std::string("0"), dead})
        publishesNothing("start", make({"--pid", pid}));
    publishesNothing("start", {"--start", "1", "--", "make"});
    publishesNothing("start", {"--pid", self, "--", "make"});
    publishesNothing("start", {"--pid", self, "--start"});

    std::filesystem::remove_all(support);
    write("support", "a file in the way");
    quorvik("end", make({"--exit", "1"}));
    EXPECT_EQ(contentOf(support), "a file in the way");
}

TEST_F(ShellCommandTests, HostileWords) {
    const std::string many(100'000, 'x');
    quorvik("end", usual({"--exit", "1", "--", many + "\xFF", "\x1B[31m", std::string(100'000, '=')}));
    const auto left = takeRecord();
    EXPECT_LE(left.detail->size() + left.tool->size(), 200u);
    quorvik("start", {"--pid", self, "--start", "1e300", "--cwd", "/\xFF", "--", "\xFF/make\x01"});
    EXPECT_EQ(takeRecord().cwd, "/\uFFFD");
}

} // namespace quorvik
