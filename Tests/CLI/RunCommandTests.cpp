#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace quorvik {

using testing::contentOf;
using testing::eventually;
using testing::namesIn;
using testing::Program;

class RunCommandTests : public testing::TemporaryHome {
  protected:
    static std::vector<std::string> supervised(std::vector<std::string> command) {
        command.insert(command.begin(), {testing::programPath("quorvik"), "run", "--"});
        return command;
    }
    static Program::Result run(std::vector<std::string> command, const std::string& input = "",
                               const std::function<void()>& prepare = {}) {
        return Program::run(supervised(std::move(command)), input, prepare);
    }
    static std::vector<std::string> sh(const std::string& script) { return {"sh", "-c", script}; }

    /// The one record there is; absent before there is one.
    std::optional<SessionRecord> record() const {
        const auto results = SessionStore::loadAll(sessions);
        if (results.size() != 1 || !results[0].record()) return std::nullopt;
        return *results[0].record();
    }
    /// The one record there must be, which the next run will not find.
    SessionRecord takeRecord() const {
        const auto found = record();
        EXPECT_TRUE(found);
        if (!found) return {};
        SessionStore::remove(*found, sessions);
        return *found;
    }
};

TEST_F(RunCommandTests, ReportsHowItWent) {
    struct Case {
        std::vector<std::string> command;
        int status;
        SessionState state;
        std::string summary;
        std::optional<std::string> detail;
    };
    const std::string user = home.string();
    for (const auto& [command, status, state, summary, detail] : std::initializer_list<Case>{
             {{"true"}, 0, SessionState::done, "true", std::nullopt},
             {{"/bin/false", "x"}, 1, SessionState::failed, "exit 1", "/bin/false x"},
             {sh("echo fine; echo warn >&2; exit 7"), 7, SessionState::failed, "warn",
              "sh -c echo fine; echo warn >&2; exit 7"},
             {sh("echo 'Error: no'; false"), 1, SessionState::failed, "Error: no",
              "sh -c echo 'Error: no'; false"},
             {sh("echo error in " + user + "/x TOKEN=1; exit 2"), 2, SessionState::failed,
              "error in ~/x TOKEN=***", "sh -c echo error in ~/x TOKEN=*** exit 2"},
             {sh("kill -9 $$"), 137, SessionState::failed, "exit 137", "sh -c kill -9 $$"},
             {sh("kill -INT $$"), 130, SessionState::ended, "exit 130", "sh -c kill -INT $$"},
             {sh("exit 143"), 143, SessionState::ended, "exit 143", "sh -c exit 143"},
         }) {
        const auto result = run(command);
        EXPECT_EQ(result.status, status);
        const SessionRecord left = takeRecord();
        EXPECT_EQ(left.source, Source::build);
        EXPECT_EQ(left.state, state) << summary;
        EXPECT_EQ(left.summary, summary);
        EXPECT_EQ(left.detail, detail);
        EXPECT_EQ(left.exitCode, status);
        EXPECT_EQ(left.tool, std::filesystem::path(command[0]).filename().string());
        EXPECT_EQ(left.lastEvent, "exit");
        EXPECT_EQ(left.pid, std::nullopt);
        EXPECT_EQ(left.pidStartTime, std::nullopt);
        EXPECT_EQ(left.cwd, std::filesystem::current_path());
        EXPECT_TRUE(left.sessionID.starts_with("run-") && left.sessionID.size() == 12) << left.sessionID;
        EXPECT_EQ(left.logPath, (support / "logs" / (left.sessionID + ".log")).string());
        EXPECT_GE(left.stateSince, *left.turnStartedAt);
    }
}

TEST_F(RunCommandTests, PublishesTheStart) {
    Program program(supervised(sh("echo; read x")), [] {
        ::setenv("TERM_PROGRAM", "Terminal", 1);
        ::setenv("TMUX", "", 1);
    });
    program.readLine();
    const auto working = record();
    ASSERT_TRUE(working);
    EXPECT_EQ(working->state, SessionState::working);
    EXPECT_EQ(working->summary, "sh -c echo; read x");
    EXPECT_EQ(working->lastEvent, "start");
    EXPECT_EQ(working->host.termProgram, "Terminal");
    EXPECT_TRUE(working->host.tmux);
    EXPECT_EQ(working->pid, program.pid());
    EXPECT_TRUE(ProcessInspector::isAlive(program.pid(), *working->pidStartTime));
    EXPECT_EQ(working->turnStartedAt, working->stateSince);
    EXPECT_EQ(program.finish().status, 1); // read meets the end of its input
}

TEST_F(RunCommandTests, PassesOutputThroughAndLogsBoth) {
    const auto result = run({"sh", "-c", "cat; printf 'err\\0\\377' >&2"}, std::string("in\0\xFF\n", 5));
    EXPECT_EQ(result.output, std::string("in\0\xFF\n", 5));
    EXPECT_EQ(result.errors, std::string("err\0\xFF", 5));
    const std::string logPath = *takeRecord().logPath;
    EXPECT_EQ(contentOf(logPath).size(), 10u);
    struct stat status;
    ASSERT_EQ(::stat(logPath.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(RunCommandTests, ACommandThatCannotBeStarted) {
    write("script", "echo a script without a first line\n");
    write("folder/x", "");
    ::chmod((home / "script").c_str(), 0755);
    struct Case {
        std::string command, errors;
        int status;
    };
    for (const auto& [command, errors, status] : std::initializer_list<Case>{
             {"no-such-command", "quorvik: no-such-command: No such file or directory\n", 127},
             {"", "quorvik: : No such file or directory\n", 127},
             {home.string() + "/folder", "quorvik: " + home.string() + "/folder: Permission denied\n", 127},
             {home.string() + "/script", "", 0}, // as a shell does
         }) {
        const auto result = run({command});
        EXPECT_EQ(result.status, status) << command;
        EXPECT_EQ(result.errors, errors);
        const SessionRecord left = takeRecord();
        EXPECT_EQ(left.exitCode, status);
        EXPECT_EQ(left.tool, std::filesystem::path(command).filename().string());
        if (status == 0) continue;
        EXPECT_EQ(left.state, SessionState::failed);
        EXPECT_EQ("quorvik: " + *left.summary + "\n", errors);
        EXPECT_EQ(left.lastEvent, "exit");
        EXPECT_EQ(left.pid, std::nullopt);
    }
}

#ifdef __linux__
TEST_F(RunCommandTests, TheCommandCannotTell) {
    // Its view of the world, with and without supervision, under odd circumstances: signals ignored and
    // blocked, an extra descriptor open, standard input closed.
    const auto prepare = [] {
        for (const int signal : {SIGHUP, SIGCHLD, SIGUSR1, SIGTSTP})
            ::signal(signal, SIG_IGN);
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR2);
        sigaddset(&blocked, SIGTERM);
        ::pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
        ::dup2(::open("/dev/null", O_RDONLY), 9);
        ::close(0);
        ::umask(027);
        ::setpriority(PRIO_PROCESS, 0, 5);
    };
    for (const std::vector<std::string>& look : std::initializer_list<std::vector<std::string>>{
             {"grep", "-E", "^(Sig(Blk|Ign|Cgt)|Umask|NoNewPrivs|Groups)", "/proc/self/status"},
             {"ls", "/proc/self/fd"},
             {"sh", "-c", "cut -d' ' -f5,6,19 /proc/$$/stat; env | grep -v ^_= | sort; pwd; ulimit -a"},
             {"sh", "-c", "echo \"$0\" \"$@\"", "name", "a b", "", "--", "-x"},
         }) {
        const std::string expected = Program::run(look, "", prepare).output;
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(run(look, "", prepare).output, expected);
    }
}

#endif

TEST_F(RunCommandTests, ForwardsTermination) {
    for (const int signal : {SIGTERM, SIGHUP}) {
        Program program(
            supervised(sh("trap 'echo told; exit 5' TERM HUP; echo ready; while :; do read x; done")));
        EXPECT_EQ(program.readLine(), "ready");
        ::kill(program.pid(), signal);
        EXPECT_EQ(program.readLine(), "told");
        EXPECT_EQ(program.finish().status, 5);
        takeRecord();
    }
    Program program(supervised({"sleep", "100"}));
    eventually([&] { return record().has_value(); });
    ::kill(program.pid(), SIGTERM); // perhaps before the command runs: kept for it
    EXPECT_EQ(program.finish().status, 143);
    EXPECT_EQ(takeRecord().state, SessionState::ended);
}

TEST_F(RunCommandTests, LosesNoSignalWhileStarting) {
    // At whatever moment of its start it comes, before the first line of main() included.
    for (int round = 0; round < 60; ++round) {
        const bool interrupt = round % 2 == 0;
        Program program(supervised({"sleep", "100"}), [] { ::setpgid(0, 0); });
        ::setpgid(program.pid(), program.pid());
        std::this_thread::sleep_for(std::chrono::microseconds(round * 50));
        ::kill(interrupt ? -program.pid() : program.pid(), interrupt ? SIGINT : SIGTERM);
        EXPECT_EQ(program.finish().status, interrupt ? 130 : 143) << round;
        for (const auto& result : SessionStore::loadAll(sessions)) {
            ASSERT_TRUE(result.record());
            SessionStore::remove(*result.record(), sessions);
        }
    }
}

TEST_F(RunCommandTests, SurvivesAnInterruptOfTheGroup) {
    Program program(
        supervised(sh("trap 'echo interrupted; exit 4' INT; echo ready; while :; do read x; done")),
        [] { ::setpgid(0, 0); });
    EXPECT_EQ(program.readLine(), "ready");
    ::kill(-program.pid(), SIGINT); // as a terminal's Ctrl-C
    EXPECT_EQ(program.readLine(), "interrupted");
    EXPECT_EQ(program.finish().status, 4);
    EXPECT_EQ(takeRecord().state, SessionState::failed);
}

TEST_F(RunCommandTests, AReaderThatGoesAwayStallsNobody) {
    Program program(supervised(sh("echo ready; read x; head -c 1000000 /dev/zero; echo done >&2; exit 6")));
    EXPECT_EQ(program.readLine(), "ready");
    program.closeOutput();
    const auto result = program.finish();
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(result.errors, "done\n");
    EXPECT_EQ(contentOf(*takeRecord().logPath).size(), 1'000'000u + 6 + 5);
}

TEST_F(RunCommandTests, WritesToASlowNonBlockingReaderLoseNothing) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
    Program program(supervised({"head", "-c", "1000000", "/dev/zero"}), [&] { ::dup2(ends[1], 1); });
    ::close(ends[1]);
    std::size_t total = 0;
    char buffer[4096];
    for (ssize_t count; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;)
        total += static_cast<std::size_t>(count);
    ::close(ends[0]);
    EXPECT_EQ(total, 1'000'000u);
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(RunCommandTests, WaitsForWhatHoldsTheOutputUntilToldToStop) {
    Program program(supervised(sh("echo $$; sleep 100 & echo $!; exit 3")));
    const int command = std::stoi(program.readLine()), left = std::stoi(program.readLine());
    eventually([&] { return ProcessInspector::info(left)->parentPID != command; });
    EXPECT_EQ(record()->state, SessionState::working); // not ended as long as somebody may write
    ::kill(program.pid(), SIGTERM);
    EXPECT_EQ(program.finish().status, 3);
    EXPECT_EQ(takeRecord().state, SessionState::failed);
    EXPECT_EQ(::kill(left, SIGKILL), 0); // it was not sent the signal
}

TEST_F(RunCommandTests, EndsSoonAfterItWasToldTo) {
    // The shell dies of the signal; what it had started holds the output open.
    Program program(supervised(sh("echo ready; sleep 100; echo over")));
    EXPECT_EQ(program.readLine(), "ready");
    const auto start = std::chrono::steady_clock::now();
    ::kill(program.pid(), SIGTERM);
    EXPECT_EQ(program.finish().status, 143);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    EXPECT_EQ(takeRecord().state, SessionState::ended);
}

TEST_F(RunCommandTests, OtherSignalsAreTheCommandsToo) {
    for (const int signal : {SIGQUIT, SIGALRM, SIGUSR1, SIGUSR2}) {
        Program program(
            supervised(
                sh("trap 'echo told; exit 6' QUIT ALRM USR1 USR2; echo ready; while :; do read x; done")),
            [] { ::setpgid(0, 0); });
        EXPECT_EQ(program.readLine(), "ready");
        ::kill(signal == SIGQUIT ? -program.pid() : program.pid(), signal); // Ctrl-\ goes to the whole group
        EXPECT_EQ(program.readLine(), "told");
        EXPECT_EQ(program.finish().status, 6);
        takeRecord();
    }
}

TEST_F(RunCommandTests, WithoutThreadsThereIsNoCommand) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "the limit is counted per user, and root can take one that nobody uses";
    for (const auto& folder : {home, support})
        std::filesystem::create_directories(folder), ::chmod(folder.c_str(), 0777);
    const auto result = run(sh("echo ran"), "", [] {
        const rlimit limit{1, 1}; // processes and threads
        ::setrlimit(RLIMIT_NPROC, &limit);
        ASSERT_EQ(::setuid(64321), 0);
    });
    EXPECT_EQ(result.status, 127);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "quorvik: sh: Resource temporarily unavailable\n");
}

TEST_F(RunCommandTests, KeepsTheLogsOfAWeekAndTellsTheApp) {
    const auto now = std::filesystem::file_time_type::clock::now();
    for (int age = 1; age <= 55; ++age)
        std::filesystem::last_write_time(write("support/logs/" + std::to_string(age) + ".log", ""),
                                         now - std::chrono::hours(age));
    std::filesystem::last_write_time(write("support/logs/3.log", ""), now - std::chrono::hours(24 * 8));
    EXPECT_EQ(run({"true"}).status, 0);
    const auto names = namesIn(support / "logs");
    EXPECT_EQ(names.size(), 51u); // fifty, and its own
    EXPECT_EQ(std::ranges::count(names, "3.log"), 0);
    EXPECT_EQ(std::ranges::count(names, "51.log"), 1);
#ifdef __linux__
    EXPECT_TRUE(std::filesystem::exists(support / "com.quorvik.state-changed"));
#endif
}

TEST_F(RunCommandTests, AFullDiskDoesNotConcernTheCommand) {
    const auto full = [] {
        const rlimit limit{100, 100}; // bytes of any file
        ::setrlimit(RLIMIT_FSIZE, &limit);
    };
    const auto result = run(sh("seq 1 1000; exit 9"), "", full);
    EXPECT_EQ(result.status, 9);
    EXPECT_EQ(result.output.size(), 3893u);
    EXPECT_EQ(result.errors, "");
    for (const std::string& name : namesIn(sessions))
        EXPECT_TRUE(name.ends_with(".lock")) << name;
}

TEST_F(RunCommandTests, AnUnusableSupportFolderDoesNotConcernTheCommand) {
    write("support", "a file in the way");
    const auto result = run(sh("echo out; exit 2"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output + result.errors, "out\n");
}

TEST_F(RunCommandTests, ClosedStandardStreams) {
    const auto result = run(sh("echo out; echo err >&2; read x || exit 8"), "", [] {
        for (const int descriptor : {0, 1, 2})
            ::close(descriptor);
    });
    EXPECT_EQ(result.status, 8);
    EXPECT_EQ(contentOf(*takeRecord().logPath).size(), 8u);
}

} // namespace quorvik
