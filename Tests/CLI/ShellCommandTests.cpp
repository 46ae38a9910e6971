#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <unistd.h>

#include <thread>

namespace quorvik {

using testing::contentOf;
using testing::namesIn;
using testing::Program;

/// `quorvik shell`, as the zsh script calls it. The test is the shell.
class ShellCommandTests : public testing::TemporaryHome {
  protected:
    using Words = std::vector<std::string>;

    static void quorvik(const std::string& event, const Words& words) {
        Words line{testing::programPath("quorvik"), "shell", event};
        line.insert(line.end(), words.begin(), words.end());
        const auto result = Program::run(line, "", [] { ::setenv("TERM_PROGRAM", "Terminal", 1); });
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output + result.errors, "");
    }

    /// The options that every report has, then these words.
    Words usual(const Words& words, const std::string& start = "1700000000.5") const {
        Words line{"--pid", self, "--start", start, "--cwd", "/tmp/x"};
        line.insert(line.end(), words.begin(), words.end());
        return line;
    }

    std::optional<SessionRecord> record() const {
        const auto result = SessionStore::load(sessions / ("build-sh-" + self + ".json"));
        if (!result.record()) return std::nullopt;
        return *result.record();
    }
    SessionRecord takeRecord() const {
        const auto found = record();
        EXPECT_TRUE(found);
        if (!found) return {};
        SessionStore::remove(*found, sessions);
        return *found;
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
    const std::string user = home.string();
    for (const auto& [exit, command, state, tool, summary, detail] : std::initializer_list<Case>{
             {"0", {"make"}, SessionState::done, "make", "make", std::nullopt},
             {"1", {"git", "push"}, SessionState::failed, "git", "exit 1", "git push"},
             {"130", {"make", "all"}, SessionState::ended, "make", "exit 130", "make all"},
             {"143", {"make all"}, SessionState::ended, "make", "exit 143", "make all"},
             {"137", {"/usr/bin/make"}, SessionState::failed, "make", "exit 137", "/usr/bin/make"},
             {"-1", {"make"}, SessionState::failed, "make", "exit -1", "make"},
             {"0", {"FOO=1 make build"}, SessionState::done, "make", "FOO=*** make build", std::nullopt},
             {"2",
              {"cd " + user + "/x &&\nmake -j2"},
              SessionState::failed,
              "cd",
              "exit 2",
              "cd ~/x && make -j2"},
             {"0", {"./a=b", "c=d"}, SessionState::done, "a=b c=d", "./a=*** c=***", std::nullopt},
             {"0", {"vercel --prod"}, SessionState::done, "Deploy", "Vercel", std::nullopt},
             {"1", {"npx vercel"}, SessionState::failed, "Deploy", "Vercel: exit 1", "npx vercel"},
         }) {
        Words words = usual({"--exit", exit, "--"});
        words.insert(words.end(), command.begin(), command.end());
        quorvik("end", words);
        const SessionRecord left = takeRecord();
        EXPECT_EQ(left.source, Source::build);
        EXPECT_EQ(left.sessionID, "sh-" + self);
        EXPECT_EQ(left.state, state) << summary;
        EXPECT_EQ(left.tool, tool);
        EXPECT_EQ(left.summary, summary);
        EXPECT_EQ(left.detail, detail);
        EXPECT_EQ(left.exitCode, std::stoi(exit));
        EXPECT_EQ(left.cwd, "/tmp/x");
        EXPECT_EQ(left.turnStartedAt->time_since_epoch().count(), 1700000000.5);
        EXPECT_EQ(left.stateSince, left.updatedAt);
        EXPECT_GT(left.stateSince, *left.turnStartedAt);
        EXPECT_EQ(left.lastEvent, "shell-end");
        EXPECT_EQ(left.host.termProgram, "Terminal");
        const auto shell = ProcessInspector::info(::getpid());
        EXPECT_EQ(left.host.tty, shell->tty);
        EXPECT_EQ(left.pid, ::getpid());
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
    EXPECT_EQ(left.turnStartedAt->time_since_epoch().count(), 1700000001);
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
        EXPECT_EQ(record()->turnStartedAt->time_since_epoch().count(), std::stod(start));
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
    EXPECT_EQ(left.turnStartedAt->time_since_epoch().count(), 1000);
}

TEST_F(ShellCommandTests, PublishesNothing) {
    Program finished({"true"});
    const std::string dead = std::to_string(finished.pid());
    finished.finish();
    const auto valid = [&](const Words& words) { return usual(words); };
    struct Case {
        std::string event;
        Words words;
    };
    for (const auto& [event, words] : std::initializer_list<Case>{
             {"stop", valid({"--exit", "0", "--", "make"})},
             {"", valid({"--", "make"})},
             {"start", valid({})},
             {"start", valid({"make"})}, // the command line comes after "--"
             {"start", valid({"--", "vim"})},
             {"start", valid({"--", "git", "push"})},
             {"end", valid({"--exit", "0", "--", "git", "push"})},
             {"end", valid({"--exit", "130", "--", "git", "push"})}, // no failure
             {"end", valid({"--exit", "1", "--", "git", "status"})},
             {"end", valid({"--", "make"})}, // how it went is the point of an end
             {"end", valid({"--exit", "x", "--", "make"})},
             {"end", valid({"--exit", "2147483648", "--", "make"})},
             {"end", valid({"--exit", "", "--", "make"})},
             {"start", {"--start", "1", "--", "make"}},
             {"start", {"--pid", self, "--", "make"}},
             {"start", {"--pid", self, "--start"}},
             {"start", valid({"--start", "x", "--", "make"})},
             {"start", valid({"--start", "1s", "--", "make"})},
             {"start", valid({"--start", " 1", "--", "make"})},
             {"start", valid({"--start", "", "--", "make"})},
             {"start", valid({"--start", "nan", "--", "make"})},
             {"start", valid({"--start", "-inf", "--", "make"})},
             {"start", valid({"--start", "1e999", "--", "make"})},
             {"start", valid({"--pid", self + "x", "--", "make"})},
             {"start", valid({"--pid", self + ".0", "--", "make"})},
             {"start", valid({"--pid", "4294967297", "--", "make"})},
             {"start", valid({"--pid", "-1", "--", "make"})},
             {"start", valid({"--pid", "0", "--", "make"})},
             {"start", valid({"--pid", dead, "--", "make"})},
         }) {
        quorvik(event, words);
        EXPECT_EQ(namesIn(sessions), Words{}) << event << " " << ::testing::PrintToString(words);
    }
}

TEST_F(ShellCommandTests, IsSilentWhateverHappens) {
    write("support", "a file in the way");
    quorvik("end", usual({"--exit", "1", "--", "make"}));
    EXPECT_EQ(contentOf(support), "a file in the way");
}

TEST_F(ShellCommandTests, HostileWords) {
    quorvik("end", usual({"--exit", "1", "--", std::string(100'000, 'x') + "\xFF", "\x1B[31m",
                          std::string(100'000, '=')}));
    const auto left = takeRecord();
    EXPECT_LE(left.detail->size() + left.tool->size(), 200u);
    quorvik("start", {"--pid", self, "--start", "1e300", "--cwd", "/\xFF", "--", "\xFF/make\x01"});
    EXPECT_EQ(takeRecord().cwd, "/\uFFFD");
}

} // namespace quorvik
