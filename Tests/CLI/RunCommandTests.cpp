#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

namespace quorvik {

using namespace testing;

class RunCommandTests : public TemporaryHome {
  protected:
    static std::vector<std::string> supervised(std::vector<std::string> command,
                                               const std::string& program = "quorvik") {
        command.insert(command.begin(), {programPath(program), "run", "--"});
        return command;
    }
    /// Ours, and on Linux one whose sigwait() behaves as on macOS.
#ifdef __linux__
    static constexpr const char* programs[] = {"quorvik", "quorvik-darwin-sigwait"};
#else
    static constexpr const char* programs[] = {"quorvik"};
#endif
    static Program::Result run(std::vector<std::string> command, const std::string& input = "",
                               const std::function<void()>& prepare = {}) {
        return Program::run(supervised(std::move(command)), input, prepare);
    }
    static std::vector<std::string> sh(const std::string& script) {
        return {"sh", "-c", script};
    }

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
        if (found) SessionStore::remove(*found, sessions);
        return found.value_or(SessionRecord());
    }

    /// A command that says when it is ready, says "told" at the signals, and then exits with 5.
    static std::vector<std::string> trapping(const std::string& signals) {
        return sh("trap 'echo told; exit 5' " + signals +
                  "; echo ready; for i in $(seq 300); do sleep 0.1; done");
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
    using State = SessionState;
    const std::string user = home.string();
    for (const auto& [command, status, state, summary, detail] : std::initializer_list<Case>{
             {{"true"}, 0, State::done, "true", std::nullopt},
             {{"false", "x"}, 1, State::failed, "exit 1", "false x"},
             {sh("echo fine; echo warn >&2; exit 7"), 7, State::failed, "warn",
              "sh -c echo fine; echo warn >&2; exit 7"},
             {sh("echo error in " + user + "/x TOKEN=1; exit 2"), 2, State::failed, "error in ~/x TOKEN=***",
              "sh -c echo error in ~/x TOKEN=*** exit 2"},
             {sh("kill -9 $$"), 137, State::failed, "exit 137", "sh -c kill -9 $$"},
             {sh("kill -INT $$"), 130, State::ended, "exit 130", "sh -c kill -INT $$"},
             {sh("exit 143"), 143, State::ended, "exit 143", "sh -c exit 143"},
         }) {
        EXPECT_EQ(run(command).status, status);
        const SessionRecord left = takeRecord();
        SessionRecord expected(Source::build, left.sessionID, std::filesystem::current_path().string(),
                               left.stateSince);
        expected.state = state;
        expected.summary = summary;
        expected.detail = detail;
        expected.exitCode = status;
        expected.tool = std::filesystem::path(command[0]).filename().string();
        expected.lastEvent = "exit";
        expected.turnStartedAt = left.turnStartedAt;
        expected.host = left.host;
        expected.logPath = (support / "logs" / (left.sessionID + ".log")).string();
        EXPECT_EQ(left, expected) << summary; // without a process, too
        EXPECT_TRUE(left.sessionID.starts_with("run-") && left.sessionID.size() == 12) << left.sessionID;
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

TEST_F(RunCommandTests, KnowsItsTerminal) {
    Terminal terminal(supervised(sh("tty; echo end")));
    std::string tty = terminal.waitFor("end");
    tty.erase(tty.find('\r'));
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_EQ(takeRecord().host.tty, tty);
}

TEST_F(RunCommandTests, PassesOutputThroughAndLogsBoth) {
    const std::string input("in\0\xFF\n", 5), errors("err\0\xFF", 5);
    EXPECT_EQ(run(sh("cat; printf 'err\\0\\377' >&2"), input), (Program::Result{0, input, errors}));
    const std::string logPath = *takeRecord().logPath;
    EXPECT_EQ(contentOf(logPath).size(), 10u);
    EXPECT_EQ(modeOf(logPath), 0600u);
}

TEST_F(RunCommandTests, ACommandThatCannotBeStarted) {
    const std::string folder = write("folder/x", "").parent_path().string();
    for (const auto& [command, why] : std::initializer_list<std::pair<std::string, std::string>>{
             {"no-such-command", "no-such-command: No such file or directory"},
             {"", ": No such file or directory"},
             {folder, folder + ": Permission denied"},
         }) {
        EXPECT_EQ(run({command}), (Program::Result{127, "", "quorvik: " + why + "\n"}));
        const SessionRecord left = takeRecord();
        EXPECT_EQ(left.exitCode, 127);
        EXPECT_EQ(left.state, SessionState::failed);
        EXPECT_EQ(left.summary, why);
        EXPECT_EQ(left.lastEvent, "exit");
        EXPECT_EQ(left.pid, std::nullopt);
    }
    const auto script = writeProgram("script", "echo a script without a first line\n");
    EXPECT_EQ(run({script.string()}).status, 0); // as a shell does
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
        const auto expected = Program::run(look, "", prepare);
        EXPECT_FALSE(expected.output.empty());
        EXPECT_EQ(run(look, "", prepare), expected);
    }
}
#endif

TEST_F(RunCommandTests, SignalsAreTheCommands) {
    // What a terminal sends goes to the whole group; the rest is forwarded.
    for (const auto& [signal, toGroup] : {std::pair(SIGTERM, false),
                                          {SIGHUP, false},
                                          {SIGALRM, false},
                                          {SIGUSR1, false},
                                          {SIGUSR2, false},
                                          {SIGINT, true},
                                          {SIGQUIT, true}}) {
        Program program(supervised(trapping("TERM HUP ALRM USR1 USR2 INT QUIT")), [] { ::setpgid(0, 0); });
        EXPECT_EQ(program.readLine(), "ready");
        ::kill(toGroup ? -program.pid() : program.pid(), signal);
        EXPECT_EQ(program.readLine(), "told") << signal;
        EXPECT_EQ(program.finish().status, 5);
        EXPECT_EQ(takeRecord().state, SessionState::failed);
    }
    Program program(supervised({"sleep", "100"}));
    eventually([&] { return record().has_value(); });
    ::kill(program.pid(), SIGTERM); // perhaps before the command runs: kept for it
    EXPECT_EQ(program.finish().status, 143);
    EXPECT_EQ(takeRecord().state, SessionState::ended);
}

TEST_F(RunCommandTests, CtrlZStopsACommandThatHasClosedItsOutputs) {
    for (const std::string program : programs) {
        const std::string pidFile = (home / program).string();
        Terminal terminal(sh("set -m; " + programPath(program) +
                             " run -- sh -c 'exec >/dev/null 2>&1; echo $$ >" + pidFile +
                             "; exec sleep 300'; echo stopped; kill -9 %1"));
        eventually([&] {
            std::ifstream file(pidFile);
            int pid = 0;
            const auto command = file >> pid ? ProcessInspector::info(pid) : std::nullopt;
            return command && command->name == "sleep";
        });
        terminal.type("\x1A");
        terminal.waitFor("stopped");
        if (!HasFailure()) terminal.finish();
    }
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
    struct Case {
        std::string script;
        int status;
        bool toGroup; // the command goes at the very moment at which we are told to stop
    };
    for (const auto& [script, status, toGroup] : std::initializer_list<Case>{
             {"exit 3", 3, false}, {"wait", 128 + SIGTERM, false}, {"wait", 128 + SIGTERM, true}}) {
        const std::string program = toGroup ? std::end(programs)[-1] : programs[0];
        const auto words = sh("echo $$; (trap '' TERM; exec sleep 100) & echo $!; " + script);
        Program run(supervised(words, program), [] { ::setpgid(0, 0); });
        const int command = std::stoi(run.readLine()), left = std::stoi(run.readLine());
        eventually([&, name = std::string("sleep")] { return ProcessInspector::info(left)->name == name; });
        if (status == 3) eventually([&] { return ProcessInspector::info(left)->parentPID != command; });
        EXPECT_EQ(record()->state, SessionState::working); // not ended as long as somebody may write
        const auto told = std::chrono::steady_clock::now();
        ::kill(toGroup ? -run.pid() : run.pid(), SIGTERM);
        EXPECT_EQ(run.finish().status, status);
        // One second, on a quiet machine.
        EXPECT_LT(std::chrono::steady_clock::now() - told, std::chrono::seconds(6)) << program;
        EXPECT_EQ(takeRecord().state, status == 3 ? SessionState::failed : SessionState::ended);
        EXPECT_EQ(::kill(left, SIGKILL), 0); // nobody has ended it
    }
}

TEST_F(RunCommandTests, WithoutThreadsThereIsNoCommand) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "the limit is counted per user, and root can take one that nobody uses";
    std::filesystem::create_directories(support), ::chmod(support.c_str(), 0777);
    const auto oneThread = [] {
        const rlimit limit{1, 1}; // processes and threads
        ::setrlimit(RLIMIT_NPROC, &limit);
        ASSERT_EQ(::setuid(64321), 0);
    };
    EXPECT_EQ(Program::run({programForAnyone("quorvik"), "run", "sh", "-c", "echo ran"}, "", oneThread),
              (Program::Result{127, "", "quorvik: sh: Resource temporarily unavailable\n"}));
}

TEST_F(RunCommandTests, KeepsFiftyLogsAndTellsTheApp) {
    for (int log = 0; log < 55; ++log)
        write("support/logs/" + std::to_string(log) + ".log", "");
    run({"true"});
    EXPECT_EQ(namesIn(support / "logs").size(), 51u); // fifty, and its own
    EXPECT_TRUE(std::filesystem::exists(*takeRecord().logPath));
#ifdef __linux__
    EXPECT_TRUE(std::filesystem::exists(support / "com.quorvik.state-changed"));
#endif
}

TEST_F(RunCommandTests, AFullDiskDoesNotConcernTheCommand) {
    const auto result = run(sh("seq 1 1000; exit 9"), "", [] { limitFileSize(100); });
    EXPECT_EQ(result.status, 9);
    EXPECT_EQ(result.output.size(), 3893u);
    EXPECT_EQ(result.errors, "");
    for (const std::string& name : namesIn(sessions))
        EXPECT_TRUE(name.ends_with(".lock")) << name;

    // The log keeps what it holds, also when the end cannot be told.
    std::filesystem::remove_all(support);
    write("support/sessions", "a file in the way");
    EXPECT_EQ(run(sh("echo out; exit 2")).status, 2);
    EXPECT_EQ(contentOf(support / "logs" / namesIn(support / "logs").at(0)), "out\n");
#ifdef __linux__
    const auto toFullDisk = [] { ::dup2(::open("/dev/full", O_WRONLY), 1); };
    EXPECT_EQ(run(sh("seq 9; echo err >&2; exit 3"), "", toFullDisk),
              (Program::Result{3, "", "err\nquorvik: output was lost: No space left on device\n"}));
#endif

    std::filesystem::remove_all(support);
    write("support", "a file in the way");
    EXPECT_EQ(run(sh("echo out; exit 2")), (Program::Result{2, "out\n", ""}));
}

TEST_F(RunCommandTests, ClosedStandardStreams) {
    const auto closed = [] {
        for (const int descriptor : {0, 1, 2})
            ::close(descriptor);
    };
    EXPECT_EQ(run(sh("echo out; echo err >&2; read x || exit 8"), "", closed).status, 8);
    EXPECT_EQ(contentOf(*takeRecord().logPath).size(), 8u);
}

} // namespace quorvik
