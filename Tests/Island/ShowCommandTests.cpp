#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#ifdef __linux__
#include <sys/syscall.h>
#endif
#include <unistd.h>

#include <csignal>
#include <regex>

namespace quorvik {

using testing::Program;

/// `quorvik-island show`, on sessions that our own programs made.
class ShowCommandTests : public testing::TemporaryHome {
  protected:
    static Program::Result show(std::vector<std::string> words = {},
                                const std::function<void()>& prepare = {},
                                const std::string& program = "quorvik-island") {
        words.insert(words.begin(), {testing::programPath(program), "show"});
        return Program::run(words, "", prepare);
    }
    static nlohmann::json layout() {
        const auto result = show({"--json"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        return parseJSON(result.output).value_or(nullptr);
    }
    static void tellHook(const nlohmann::json& payload) {
        const auto hook = testing::programPath("quorvik-hook");
        Program::run({hook, "--source", "claude"}, printJSON(payload));
    }
    void put(SessionRecord record, const std::function<void(SessionRecord&)>& change = {}) const {
        if (change) change(record);
        std::filesystem::create_directories(sessions);
        SessionStore::write(record, SessionStore::fileURL(record.source, record.sessionID, sessions));
    }
    static SessionRecord working(const std::string& id) {
        SessionRecord record(Source::claude, id, "/w", std::chrono::system_clock::now());
        record.state = SessionState::working;
        return record;
    }
};

TEST_F(ShowCommandTests, RealProgramsInOrder) {
    EXPECT_EQ(show().output, "");
    EXPECT_TRUE(layout()["primary"].is_null());

    const std::string run = testing::programPath("quorvik");
    EXPECT_EQ(Program::run({run, "run", "--", "sh", "-c", "echo 'error: no such planet' >&2; exit 1"}).status,
              1);
    Program busy({run, "run", "--", "sh", "-c", "echo started; read line"});
    EXPECT_EQ(busy.readLine(), "started");
    nlohmann::json event = {{"session_id", "s1"},
                            {"cwd", home.string()},
                            {"hook_event_name", "UserPromptSubmit"},
                            {"prompt", "Fix the login bug"}};
    tellHook(event);
    event.erase("prompt");
    event["hook_event_name"] = "Notification";
    event["message"] = "Claude needs your permission to use Bash";
    event["notification_type"] = "permission_prompt";
    tellHook(event);

    const std::regex expected("◆ CC   awaiting +[0-9]+ s  Fix the login bug.*\n"
                              "• RUN  failed +[0-9]+ s  sh +error: no such planet\n"
                              "• RUN  working +[0-9]+ s  sh +sh -c .*\n");
    const std::string output = show().output;
    EXPECT_TRUE(std::regex_match(output, expected)) << output;
    EXPECT_EQ(output.find('\x1b'), output.npos);

    const auto json = layout();
    auto primary = json["primary"];
    primary.erase("record");
    EXPECT_EQ(printJSON(primary), R"({"display":"awaiting","id":"claude-s1","label":"Fix the login bug",)"
                                  R"("mark":"CC","needsAttention":true,"quiet":false})");
    ASSERT_EQ(json["bubbles"].size(), 2);
    EXPECT_EQ(json["bubbles"][0]["record"]["summary"], "error: no such planet");
    EXPECT_EQ(json["bubbles"][1]["display"], "working");
    EXPECT_EQ(json["overflow"], nlohmann::json::array());

    ::kill(busy.pid(), SIGKILL); // it cannot say that it ended, and nobody asks yet
    EXPECT_TRUE(testing::eventually([] { return layout()["bubbles"].size() == 1; }));
    EXPECT_EQ(busy.finish().status, 128 + SIGKILL);
    EXPECT_EQ(layout()["bubbles"].size(), 1);

    const std::string island = testing::programPath("quorvik-island");
    EXPECT_EQ(Program::run({island, "clear"}).output, "removed 2\n"); // the failed and the killed one
    EXPECT_EQ(Program::run({island, "clear", "--json"}).output, "{\"removed\":0}\n");
    EXPECT_EQ(layout()["primary"]["id"], "claude-s1");
    EXPECT_TRUE(layout()["bubbles"].empty());
}

TEST_F(ShowCommandTests, OnlyWhatIsBusyNeedsItsProcess) {
    Program over({"true"});
    const pid_t gone = over.pid();
    over.finish();
    const Date now = std::chrono::system_clock::now();
    const auto shownAs = [&](SessionState state, std::optional<std::int32_t> pid, double startTime,
                             Date updatedAt) {
        put(working("a"), [&](SessionRecord& record) {
            record.state = state;
            record.pid = pid;
            record.pidStartTime = startTime;
            record.updatedAt = updatedAt;
        });
        const auto primary = layout()["primary"];
        return primary.is_null() ? "nothing" : primary["display"].get<std::string>();
    };
    using enum SessionState;
    EXPECT_EQ(shownAs(working, gone, 5, now), "nothing");
    EXPECT_EQ(shownAs(awaiting, gone, 5, now), "nothing");
    EXPECT_EQ(shownAs(compacting, ::getpid(), 5, dateFromSeconds(9)),
              "nothing"); // the number is another's now
    EXPECT_EQ(shownAs(compacting, ::getpid(), 5, now),
              "compacting"); // the clock was set: it wrote this itself
    EXPECT_EQ(shownAs(failed, gone, 5, now), "failed");
    EXPECT_EQ(shownAs(working, std::nullopt, 5, now), "working");

    // Nobody waits any more when the hook that asked was killed.
    for (const auto& [pid, wanted] : {std::pair(gone, "nothing"), {::getpid(), "awaiting"}}) {
        write("support/sessions/claude-a.json.asked", R"([{"id":"q","pid":)" + std::to_string(pid) + "}]");
        EXPECT_EQ(shownAs(awaiting, std::nullopt, 5, now), wanted);
    }
}

TEST_F(ShowCommandTests, FilesThatCannotBeReadAreNamed) {
    put(working("a"));
    write("support/sessions/b.json", "{");
    write("support/sessions/c.json", "null");
    write("support/sessions/d.json", R"({"schemaVersion":2})");
    const auto result = show();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.starts_with("◆ CC   working ")) << result.output;
    const std::string folder = sessions.string() + "/";
    EXPECT_EQ(result.errors, "quorvik-island: 2 files hold no readable session record: " + folder +
                                 "b.json, " + folder + "c.json\n" +
                                 "quorvik-island: 1 record is of another version of Quorvik: " + folder +
                                 "d.json\n");
    const auto json = layout();
    EXPECT_EQ(json["corrupt"], (nlohmann::json{folder + "b.json", folder + "c.json"}));
    EXPECT_EQ(json["unsupported"], nlohmann::json::array({folder + "d.json"}));

#ifdef __linux__
    const auto refused = show({}, [] { testing::refuse(SYS_getdents64, EIO); });
    const std::string why = "could not list " + sessions.string() + ": Input/output error";
    EXPECT_TRUE(refused.status == 77 || refused.errors == "quorvik-island: " + why + "\n") << refused;
#endif
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) &&                                                  \
    !defined(__SANITIZE_THREAD__) // they open files too
    // Out of descriptors for a record while the folder is open, or all the time.
    for (const auto& [descriptors, status] : {std::pair(4, 0), {3, 1}}) {
        const auto tight = show({}, [&, most = descriptors] {
            for (int inherited = 3; inherited < 64; ++inherited) // of whoever runs the tests
                ::fcntl(inherited, F_SETFD, FD_CLOEXEC);
            const rlimit limit{rlim_t(most), rlim_t(most)};
            ::setrlimit(RLIMIT_NOFILE, &limit);
        });
        if (tight.status == 127) continue; // a program with shared libraries does not even start
        EXPECT_EQ(tight.status, status) << tight;
        EXPECT_TRUE(status == 1 || tight.errors == result.errors) << tight;
    }
#endif

    std::filesystem::remove_all(sessions);
    write("support/sessions", "a file");
    ::setenv("QUORVIK_HOME", (sessions / "below").c_str(), 1);
    for (const auto& unlisted : {sessions / "below/sessions", sessions}) {
        const std::string text = "could not list " + unlisted.string() + ": Not a directory";
        EXPECT_EQ(show({"--json"}),
                  (Program::Result{1, R"({"error":")" + text + "\"}\n", "quorvik-island: " + text + "\n"}));
        ::setenv("QUORVIK_HOME", support.c_str(), 1);
    }
}

#ifdef __linux__ // other systems have no /dev/full
TEST_F(ShowCommandTests, SaysWhenItCannotBeWritten) {
    put(working("a"));
    const std::string island = testing::programPath("quorvik-island");
    for (const std::string what : {"show", "show --json", "--help"}) {
        const auto result = Program::run({"sh", "-c", island + " " + what + " >/dev/full"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, "quorvik-island: could not write the output: No space left on device\n")
            << what;
    }
    for (const std::string name : {"quorvik-account", "quorvik-overlay"})
        for (const std::string what : {"--version", "--help"})
            if (const std::string program = testing::programPath(name); std::filesystem::exists(program)) {
                EXPECT_EQ(Program::run({"sh", "-c", program + " " + what + " >/dev/full"}).status, 1)
                    << name << what;
            }
}
#endif

#ifdef __linux__
TEST_F(ShowCommandTests, LooksTwiceBeforeItCallsAFileUnreadable) {
    put(working("a"));
    const auto result = show({}, {}, "quorvik-island-files-seen-empty");
    EXPECT_NE(result.output.find("working"), std::string::npos) << result;
    EXPECT_EQ(result.errors, "");
}
#endif

TEST_F(ShowCommandTests, NamesWhatItIsAbout) {
    struct Case {
        std::optional<std::string> title, tool;
        std::string event, label, line;
    };
    const std::string wide(40, 'w');
    for (const auto& [title, tool, event, label, line] : std::initializer_list<Case>{
             {"Task", "run_shell_command", "PreToolUse", "Task", "Task  Bash s"},
             {"Task", "AskUserQuestion", "PreToolUse", "Task", "Task  Question s"},
             {"Task", "Bash", "Notification", "Task", "Task  s"}, // what it says is a sentence
             {{}, "Bash", "PreToolUse", "Bash", "Bash  s"},
             {" \u202E\a", "", "Stop", "Claude Code", "Claude Code  s"},
             {"\x1b[31mred", {}, "Stop", " [31mred", " [31mred  s"},
             {wide.substr(0, 32), {}, "Stop", wide.substr(0, 32), wide.substr(0, 32) + "  s"},
             {wide, {}, "Stop", wide, wide.substr(0, 31) + "…  s"}}) {
        put(working("a"), [&](SessionRecord& record) {
            record.title = title;
            record.tool = tool;
            record.lastEvent = event;
            record.summary = "s";
        });
        EXPECT_EQ(layout()["primary"]["label"], label);
        EXPECT_TRUE(show().output.ends_with(" s  " + line + "\n")) << show().output;
    }
}

TEST_F(ShowCommandTests, FitsTheTerminalAndLeavesItInPeace) {
    const std::string log = write("log", "").string(), logLine = "       log: " + log;
    put(working("a"), [&](SessionRecord& record) {
        record.state = SessionState::failed;
        record.stateSince += std::chrono::hours(1); // a clock that was set back
        record.title = "日本語のタイトル";
        record.summary = "\x1b[2J\x07\n\u202Etwo 👨‍👩‍👧 123456";
        record.logPath = log;
    });
    struct Case {
        unsigned short columns;
        std::vector<const char*> environment;
        std::string line;
    };
    const std::string start = "◆ CC   failed         0 s  日本語のタ";
    for (const auto& [columns, environment, line] : std::initializer_list<Case>{
             {80, {"TERM=xterm", "NO_COLOR=1"}, start + "イトル   [2J  two 👨‍👩‍👧 123456"},
             {63, {"TERM=dumb"}, start + "イト…   [2J  two 👨‍👩‍👧 123456"},
             {60, {"TERM=dumb"}, start + "…    [2J  two 👨‍👩‍👧 123456"},
             {40, {"TERM=dumb"}, "◆ CC  failed 0 s 日本語…  [2J  two 👨‍👩‍👧 1…"},
             {12, {"TERM=xterm", "NO_COLOR="}, "◆ CC  \x1b[1;31mfailed\x1b[0m"},
             {9, {"TERM=xterm"}, "◆ CC  \x1b[1;31mfa…\x1b[0m"},
             {1, {"TERM="}, "◆"}}) {
        testing::Terminal terminal({testing::programPath("quorvik-island"), "show"}, [&] {
            const winsize size{24, columns, 0, 0};
            ::ioctl(STDOUT_FILENO, TIOCSWINSZ, &size);
            ::unsetenv("NO_COLOR");
            for (const char* variable : environment)
                ::putenv(const_cast<char*>(variable));
        });
        EXPECT_EQ(terminal.waitFor("\r\n"), line) << columns;
        const bool hasRoom = columns >= logLine.size();
        EXPECT_EQ(hasRoom ? terminal.waitFor("\r\n") : logLine, logLine);
        EXPECT_EQ(terminal.finish(), 0);
    }
    EXPECT_EQ(show().output.find(log), std::string::npos);
}

} // namespace quorvik
