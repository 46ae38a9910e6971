#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <list>
#include <mutex>
#include <thread>

namespace quorvik {

using namespace testing;

class HookProgramTests : public TemporaryHome {
  protected:
    using Names = std::vector<std::string>;

    static std::vector<std::string> hook(const std::string& source = "claude") {
        return {programPath("quorvik-hook"), "--source", source};
    }

    /// Sends one event and checks that nothing but `output` comes back.
    static void send(const std::string& payload, const std::string& output = "",
                     const std::string& source = "claude") {
        EXPECT_EQ(Program::run(hook(source), payload), (Program::Result{0, output, ""})) << payload;
    }

    static std::string event(const std::string& name, const std::string& more = "") {
        return R"({"session_id":"s","cwd":"/w","hook_event_name":")" + name + "\"" +
               (more.empty() ? "" : "," + more) + "}";
    }
    static std::string bash(const std::string& name, const std::string& command) {
        return event(name, R"("tool_name":"Bash","tool_input":{"command":")" + command + "\"}");
    }

    /// A hook that has its event, and may be waiting for an answer.
    Program& started(const std::string& payload) {
        hooks.emplace_back(hook()).giveInput(payload);
        return hooks.back();
    }

    std::optional<SessionRecord> record(Source source = Source::claude) const {
        return recordIn(SessionStore::fileURL(source, "s", sessions));
    }
    SessionState state() const {
        const auto found = record();
        return found ? found->state : SessionState::idle;
    }

    std::size_t waitingRequests() const {
        const auto file = sessions / "claude-s.json.asked";
        const auto list = std::filesystem::exists(file) ? parseJSON(contentOf(file)) : std::nullopt;
        return list ? list->size() : 0;
    }

    const std::filesystem::path socket = support / "approval.sock";
    static constexpr const char* allow = "{\"decision\":\"allow\"}\n";
    static constexpr const char* allowed =
        R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})";
    const Program::Result nothing{0, "", ""};
    std::list<Program> hooks;
};

/// An app that leaves requests unanswered and notices when they are withdrawn.
class SilentApp {
  public:
    explicit SilentApp(const std::filesystem::path& socket)
        : app_(socket, [this](const std::string& line, int connection) {
              ++asked;
              FakeApp::isSilent()(line, connection);
              ++withdrawn;
          }) {}
    std::atomic<int> asked = 0, withdrawn = 0;

  private:
    FakeApp app_;
};

TEST_F(HookProgramTests, ASessionFromStartToEnd) {
    send(event("SessionStart", R"("source":"startup")"));
    EXPECT_EQ(state(), SessionState::idle);
    send(event("UserPromptSubmit", R"("prompt":"Fix the login bug")"));
    send(bash("PreToolUse", "make API_KEY=secret"));
    const auto working = record();
    ASSERT_TRUE(working);
    EXPECT_EQ(working->state, SessionState::working);
    EXPECT_EQ(working->title, "Fix the login bug");
    EXPECT_EQ(working->tool, "Bash");
    EXPECT_EQ(working->summary, "make API_KEY=***");
    EXPECT_EQ(working->cwd, "/w");
    EXPECT_EQ(working->pid, ::getpid()); // the hook's parent, which is no shell
    EXPECT_TRUE(ProcessInspector::isAlive(*working->pid, working->pidStartTime));

    send(event("Notification", R"("notification_type":"idle_prompt")"));
    EXPECT_EQ(record(), working); // it does not count, so nothing is saved
    send(event("Stop"));
    EXPECT_EQ(state(), SessionState::done);
    send(event("SessionEnd"));
    EXPECT_EQ(state(), SessionState::ended);
}

TEST_F(HookProgramTests, FindsTheAgentAboveItsShells) {
    Program agent({"sleep", "30"});
    const auto from = [&](const std::string& ppid) {
        auto words = hook();
        words.insert(words.end(), {"--ppid", ppid});
        return Program::run(words, event("SessionStart")).status;
    };
    EXPECT_EQ(from(std::to_string(agent.pid())), 0);
    EXPECT_EQ(record()->pid, agent.pid());
    for (const std::string odd : {"x", "0", "99999999999"}) {
        EXPECT_EQ(from(odd), 0);
        EXPECT_EQ(record()->pid, ::getpid()) << odd; // then the hook's own parent
    }
    // As agents run it: by a shell, which is not what is looked for.
    Program::run({"sh", "-c", "\"$0\" --source codex --ppid $PPID; :", hook()[0]}, event("SessionStart"));
    EXPECT_EQ(record(Source::codex)->pid, ::getpid());
}

TEST_F(HookProgramTests, IsSilentWhateverItIsGiven) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    for (const std::string& payload : {std::string(), std::string("{"), std::string("\xFF\xFE"), deep,
                                       "{\"tool_response\":" + deep + "," + event("Stop").substr(1),
                                       std::string(1 << 20, ' '), event("NoSuchEvent")})
        send(payload);
    for (const char* source : {"", "build", "nobody"})
        send(event("Stop"), "", source);
    EXPECT_EQ(Program::run({hook()[0]}, event("Stop")), nothing);
    EXPECT_EQ(Program::run({hook()[0], "--source"}, event("Stop")), nothing);

    std::filesystem::remove_all(support);
    write("support", "a file in the way");
    send(event("Stop"));
    send(bash("PermissionRequest", "x")); // no store and no app
}

TEST_F(HookProgramTests, PutsARequestToTheApp) {
    std::mutex mutex; // the app answers on a thread of its own
    std::string line;
    SessionState meanwhile = SessionState::idle;
    const FakeApp app(socket, [&](const std::string& request, int connection) {
        const std::lock_guard lock(mutex);
        line = request;
        meanwhile = state();
        FakeApp::says(allow)(request, connection);
    });
    send(event("UserPromptSubmit", R"("prompt":"go on with it")"));
    send(bash("PreToolUse", "git push")); // asks nobody
    {
        const std::lock_guard lock(mutex);
        EXPECT_EQ(line, "");
    }
    const std::string rules = R"("permission_suggestions":[{"n":1.50}])";
    const std::string push = R"("tool_name":"Bash","tool_input":{"command":"git push", "n":1.50},)";
    send(event("PermissionRequest", push + rules), allowed);
    const std::lock_guard lock(mutex);
    EXPECT_EQ(meanwhile, SessionState::awaiting);
    auto request = *parseJSON(line);
    EXPECT_EQ(request["id"].get<std::string>().size(), 36u);
    request.erase("id");
    EXPECT_EQ(printJSON(request),
              R"({"cwd":"/w","input":"{\"command\":\"git push\", \"n\":1.50}","sessionID":"s",)"
              R"("source":"claude","suggestions":"[{\"n\":1.50}]","summary":"git push","tool":"Bash"})");
    EXPECT_EQ(state(), SessionState::working); // it may take minutes; it no longer waits for the user
    EXPECT_EQ(record()->stateSince, record()->updatedAt);
}

/// What each agent is told is the library's matter; here, whether it is told, and what is left.
TEST_F(HookProgramTests, AnsweredOrNot) {
    struct Case {
        std::string source, payload, answer, output;
        SessionState after;
    };
    const std::string ask = bash("PermissionRequest", "x"),
                      plan = event("PermissionRequest", R"("tool_name":"ExitPlanMode","tool_input":{})"),
                      list = R"([{"question":"Which?","header":"H","options":[{"label":"B"}],"n":1.50}])",
                      question =
                          event("PermissionRequest",
                                R"("tool_name":"AskUserQuestion","tool_input":{"questions":)" + list + "}"),
                      answered = R"({"hookSpecificOutput":{"decision":{"behavior":"allow","updatedInput":)"
                                 R"({"answers":{"Which?":"B"},"questions":)" +
                                 list + R"(}},"hookEventName":"PermissionRequest"}})";
    using State = SessionState;
    for (const auto& [source, payload, answer, output, after] : std::initializer_list<Case>{
             {"copilot", R"({"hookName":"permissionRequest","sessionId":"s","toolName":"bash"})",
              R"({"decision":"allowAlways"})", R"({"behavior":"allow"})", State::working},
             {"devin", ask, R"({"decision":"deny","message":"no"})", R"({"decision":"block","reason":"no"})",
              State::working},
             {"claude", question, R"({"decision":"allow","answers":["B"]})", answered, State::working},
             {"claude", plan, R"({"decision":"allow"})", allowed, State::awaiting}, // which it does not heed
             {"claude", ask, R"({"decision":"ask"})", "", State::awaiting},
             {"claude", ask, "nonsense", "", State::awaiting},
             {"qwen", ask, "", "", State::awaiting},                             // it closes without a word
             {"qwen", question, R"({"decision":"allow"})", "", State::awaiting}, // is not asked of the app
             {"kimi", ask, R"({"decision":"allow"})", "", State::awaiting},      // has no such reply
         }) {
        const FakeApp app(socket, FakeApp::says(answer.empty() ? "" : answer + "\n"));
        send(payload, output, source);
        const auto left = record(*fromRawValue<Source>(source));
        ASSERT_TRUE(left) << payload;
        EXPECT_EQ(left->state, after) << source << payload;
        EXPECT_EQ(left->summary == "Which?", payload == question);
        SessionStore::remove(*left, sessions);
    }
}

TEST_F(HookProgramTests, GoesAwayWhenTheUserAnsweredElsewhere) {
    for (const std::string& over :
         {bash("PostToolUse", "a"), bash("PostToolUseFailure", "a"), event("UserPromptSubmit"), event("Stop"),
          event("StopFailure"), event("Interrupt"), event("SessionEnd")}) {
        SilentApp app(socket);
        send(event("UserPromptSubmit"));
        send(bash("PreToolUse", "b")); // both before either's end, as agents do
        send(bash("PreToolUse", "a"));
        Program& waiting = started(bash("PermissionRequest", "a"));
        eventually([&] { return app.asked == 1; });

        // Parallel work is no reason to go.
        for (const std::string& parallel : {bash("PostToolUse", "b"), bash("PreToolUse", "c"),
                                            bash("PostToolUse", "c"), event("SubagentStart")})
            send(parallel);
        std::this_thread::sleep_for(std::chrono::milliseconds(600)); // twice as long as it takes to look
        EXPECT_EQ(app.withdrawn, 0) << over;

        send(over);
        send(bash("PreToolUse", "the next at once")); // hides what was last in the record
        const auto start = std::chrono::steady_clock::now();
        eventually([&] { return app.withdrawn == 1; });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5))
            << over; // one, on a quiet machine
        EXPECT_EQ(waiting.finish(), nothing);
        EXPECT_EQ(namesIn(sessions), (Names{"claude-s.json", "claude-s.json.lock"}));
    }
}

/// Agents end a hook that waits for nothing any more: most of them ask it to go, one kills it. An agent that
/// dies does neither.
TEST_F(HookProgramTests, AWithdrawnRequestIsOver) {
    for (const int end : {SIGTERM, SIGKILL, SIGHUP /* the agent dies */}) {
        SilentApp app(socket);
        Program agent({"sleep", "30"});
        const auto ask = [&](const std::string& command) -> Program& {
            auto words = hook();
            words.insert(words.end(), {"--ppid", std::to_string(agent.pid())});
            hooks.emplace_back(words).giveInput(bash("PermissionRequest", command));
            return hooks.back();
        };
        Program& one = ask("a");
        eventually([&] { return app.asked == 1; });
        Program& other = ask("b");
        eventually([&] { return waitingRequests() == 2; });
        const auto withdraw = [&](Program& waiting) {
            ::kill(end == SIGHUP ? agent.pid() : waiting.pid(), end);
            EXPECT_EQ(waiting.finish().status, end == SIGKILL ? 128 + SIGKILL : 0);
        };
        withdraw(one);
        EXPECT_TRUE(end == SIGHUP || OpenRequests::anyWaiting(*record(), sessions));
        withdraw(other);
        EXPECT_FALSE(OpenRequests::anyWaiting(*record(), sessions));
        eventually([&] { return app.withdrawn >= 1 && app.withdrawn == app.asked; });
        if (end == SIGKILL) {
            send(event("SessionStart")); // says nothing of a request; the next to write puts things right
            EXPECT_EQ(waitingRequests(), 0u);
        }
        EXPECT_EQ(state(), SessionState::idle) << end;
        SessionStore::remove(*record(), sessions);
    }
}

TEST_F(HookProgramTests, AHeldLockDelaysNoQuestion) {
    send(event("SessionStart"));
    const FakeApp app(socket, FakeApp::says(allow));
    const FileLock stopped = FileLock::acquire(sessions / "claude-s.json.lock");
    const auto start = std::chrono::steady_clock::now();
    send(bash("PermissionRequest", "a"), allowed);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(state(), SessionState::idle);
}

TEST_F(HookProgramTests, ACompactionThatTheUserAskedForChangesNothing) {
    send(event("UserPromptSubmit"));
    send(event("Stop"));
    const auto before = record();
    for (const std::string trigger : {"manual", "auto"}) {
        send(event("PreCompact", R"("trigger":")" + trigger + "\""));
        EXPECT_EQ(state(), SessionState::compacting);
        send(event("PostCompact", R"("trigger":")" + trigger + "\""));
        EXPECT_EQ(state(), trigger == "manual" ? SessionState::done : SessionState::working);
        EXPECT_EQ(record()->stateSince == before->stateSince, trigger == "manual");
    }
    EXPECT_EQ(namesIn(sessions), (Names{"claude-s.json", "claude-s.json.lock"}));
}

TEST_F(HookProgramTests, OnlyAProcessWithATerminalTellsOfOne) {
    ::setenv("TERM_PROGRAM", "of whoever started the daemon", 1);
    const auto from = [&](pid_t agent) {
        auto words = hook();
        words.insert(words.end(), {"--ppid", std::to_string(agent)});
        EXPECT_EQ(Program::run(words, event("SessionStart")), nothing);
        return *record();
    };
    const Program daemon({"sleep", "30"}, [] { ::setsid(); });
    eventually([&] { return ProcessInspector::isDaemon(*ProcessInspector::info(daemon.pid())); });
    EXPECT_EQ(from(daemon.pid()).host, HostInfo());
    EXPECT_EQ(record()->pid, std::nullopt);
    const Terminal terminal({"sleep", "30"});
    eventually([&] { return ProcessInspector::info(terminal.pid())->name == "sleep"; });
    const SessionRecord known = from(terminal.pid());
    EXPECT_EQ(known.pid, terminal.pid());
    EXPECT_EQ(known.host.termProgram, "of whoever started the daemon");
    EXPECT_TRUE(known.host.tty);
    EXPECT_EQ(from(daemon.pid()).host, known.host); // what is known stays known
    ::unsetenv("TERM_PROGRAM");
}

TEST_F(HookProgramTests, AnAnswerToOneRequestDoesNotEndAnother) {
    // The app answers them in the order in which they come, and only when told.
    std::atomic<int> asked = 0, told = 0, answers = 0;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        ++asked;
        eventually([&] { return told > answers; });
        ++answers;
        FakeApp::says(allow)(line, connection);
    });
    Program& one = started(bash("PermissionRequest", "a"));
    eventually([&] { return asked == 1; });
    Program& other = started(bash("PermissionRequest", "b"));
    eventually([&] { return waitingRequests() == 2; });
    told = 1;
    EXPECT_EQ(one.finish().output, allowed);
    EXPECT_EQ(state(), SessionState::awaiting); // the other one's answer
    send(bash("PostToolUse", "a"));             // the first one's tool has run
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    told = 2;
    EXPECT_EQ(other.finish().output, allowed); // it was not given up
    EXPECT_EQ(state(), SessionState::working);
}

TEST_F(HookProgramTests, AHundredAtOnceSomeOfThemKilled) {
    for (int index = 0; index < 100; ++index) {
        const Program& one = started(bash("PreToolUse", "command " + std::to_string(index)));
        if (index % 3 == 0) ::kill(one.pid(), SIGKILL);
    }
    int index = 0;
    for (Program& one : hooks) {
        const int status = one.finish().status;
        EXPECT_TRUE(status == 0 || index % 3 == 0) << status;
        ++index;
    }
    ASSERT_TRUE(record());
    EXPECT_TRUE(record()->summary->starts_with("command "));
    send(event("Stop")); // nobody holds the lock
    EXPECT_EQ(state(), SessionState::done);
}

} // namespace quorvik
