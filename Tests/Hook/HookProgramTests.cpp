#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <list>
#include <mutex>
#include <thread>

namespace quorvik {

using testing::eventually;
using testing::FakeApp;
using testing::Program;

class HookProgramTests : public testing::TemporaryHome {
  protected:
    static std::vector<std::string> hook(const std::string& source = "claude") {
        return {testing::programPath("quorvik-hook"), "--source", source};
    }

    /// Sends one event and checks that nothing but `output` comes back.
    static void send(const std::string& payload, const std::string& output = "",
                     const std::string& source = "claude") {
        const auto result = Program::run(hook(source), payload);
        EXPECT_EQ(result.status, 0) << payload;
        EXPECT_EQ(result.output, output) << payload;
        EXPECT_EQ(result.errors, "") << payload;
    }

    static std::string event(const std::string& name, const std::string& more = "") {
        return R"({"session_id":"s","cwd":"/w","hook_event_name":")" + name + "\"" +
               (more.empty() ? "" : "," + more) + "}";
    }
    static std::string bash(const std::string& name, const std::string& command) {
        return event(name, R"("tool_name":"Bash","tool_input":{"command":")" + command + "\"}");
    }

    std::optional<SessionRecord> record(Source source = Source::claude) const {
        const auto loaded = SessionStore::load(SessionStore::fileURL(source, "s", sessions));
        return loaded.record() ? std::optional(*loaded.record()) : std::nullopt;
    }
    SessionState state() const {
        const auto found = record();
        return found ? found->state : SessionState::idle;
    }

    const std::filesystem::path socket = support / "approval.sock";
    static constexpr const char* allowed =
        R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})";
};

/// An app that leaves requests unanswered and notices when they are withdrawn.
class SilentApp {
  public:
    explicit SilentApp(const std::filesystem::path& socket)
        : app_(socket, [this](const std::string&, int connection) {
              ++asked;
              char byte;
              while (::read(connection, &byte, 1) > 0) {
              }
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
    for (const std::string odd : {"", "x", "-1", "0", "99999999999"}) {
        EXPECT_EQ(from(odd), 0);
        EXPECT_EQ(record()->pid, ::getpid()) << odd; // then the hook's own parent
    }
    // As agents run it: by a shell, which is not what is looked for.
    const auto result = Program::run({"sh", "-c", "\"$0\" --source claude --ppid $PPID; :", hook()[0]},
                                     event("SessionStart"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(record()->pid, ::getpid());
}

TEST_F(HookProgramTests, IsSilentWhateverItIsGiven) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    for (const std::string& payload :
         {std::string(), std::string("[]"), std::string("{"), std::string("\xFF\xFE"), deep,
          "{\"tool_response\":" + deep + "," + event("Stop").substr(1),
          std::string(R"({"session_id":7,"hook_event_name":"Stop"})"), std::string(R"({"session_id":"s"})"),
          std::string(1 << 20, ' '), event("NoSuchEvent")})
        send(payload);
    for (const char* source : {"", "build", "nobody"})
        send(event("Stop"), "", source);
    EXPECT_EQ(Program::run({hook()[0]}, event("Stop")).status, 0);
    EXPECT_EQ(Program::run({hook()[0], "--source"}, event("Stop")).status, 0);

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
        FakeApp::says("{\"decision\":\"allow\"}\n")(request, connection);
    });
    send(event("UserPromptSubmit", R"("prompt":"go on with it")"));
    send(bash("PreToolUse", "git push")); // asks nobody
    {
        const std::lock_guard lock(mutex);
        EXPECT_EQ(line, "");
    }
    send(
        event(
            "PermissionRequest",
            R"("tool_name":"Bash","tool_input":{"command":"git push"},"permission_suggestions":[{"n":1.50}])"),
        allowed);
    const std::lock_guard lock(mutex);
    EXPECT_EQ(meanwhile, SessionState::awaiting);
    auto request = *parseJSON(line);
    EXPECT_EQ(request["id"].get<std::string>().size(), 36u);
    request.erase("id");
    EXPECT_EQ(printJSON(request),
              R"({"cwd":"/w","sessionID":"s","source":"claude","suggestions":"[{\"n\":1.50}]",)"
              R"("summary":"git push","tool":"Bash"})");
    EXPECT_EQ(state(), SessionState::working); // it may take minutes; it no longer waits for the user
    EXPECT_EQ(record()->stateSince, record()->updatedAt);
}

TEST_F(HookProgramTests, AnsweredOrNot) {
    struct Case {
        std::string source, payload, answer, output;
        SessionState after;
    };
    const std::string questions =
        R"([{"question":"Which?","header":"H","options":[{"label":"A"},{"label":"B"}],"n":1.50}])";
    const auto asking = [&](const std::string& name, const std::string& list) {
        return event(name, R"("tool_name":"AskUserQuestion","tool_input":{"questions":)" + list + "}");
    };
    using State = SessionState;
    for (
        const auto& [source, payload, answer, output, after] : std::initializer_list<Case>{
            {"codex", bash("PermissionRequest", "x"), R"({"decision":"deny","message":"no"})",
             R"({"hookSpecificOutput":{"decision":{"behavior":"deny","message":"no"},"hookEventName":"PermissionRequest"}})",
             State::working},
            {"copilot",
             R"({"hookName":"permissionRequest","sessionId":"s","cwd":"/w","toolName":"bash","toolInput":{}})",
             R"({"decision":"allowAlways"})", R"({"behavior":"allow"})", State::working},
            {"devin", R"({"hook_event_name":"PermissionRequest","session_id":"s","tool_name":"exec"})",
             R"({"decision":"allow"})", R"({"decision":"approve"})", State::working},
            {"claude", asking("PermissionRequest", questions), R"({"decision":"allow","answers":["B"]})",
             R"({"hookSpecificOutput":{"decision":{"behavior":"allow","updatedInput":{"answers":{"Which?":"B"},"questions":)" +
                 questions + R"(}},"hookEventName":"PermissionRequest"}})",
             State::working},
            {"grok", asking("PreToolUse", questions), R"({"decision":"allow","answers":["B"]})",
             R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"deny","permissionDecisionReason":)"
             R"("The user has already answered in the Quorvik notch, so do not ask again. Continue with their answer.\n)"
             R"(Question: Which?\nThe user's answer: B"}})",
             State::working},
            {"grok", asking("PreToolUse", "[]"), R"({"decision":"allow","answers":[]})", "", State::awaiting},
            {"claude", bash("PermissionRequest", "x"), R"({"decision":"ask"})", "", State::awaiting},
            {"claude", bash("PermissionRequest", "x"), "nonsense", "", State::awaiting},
            {"qwen", bash("PermissionRequest", "x"), "", "", State::awaiting}, // it closes without a word
            {"kimi", bash("PermissionRequest", "x"), R"({"decision":"allow"})", "",
             State::awaiting}, // has no such reply
        }) {
        const FakeApp app(socket, FakeApp::says(answer.empty() ? "" : answer + "\n"));
        send(payload, output, source);
        const auto left = record(*fromRawValue<Source>(source));
        ASSERT_TRUE(left) << payload;
        EXPECT_EQ(left->state, after) << source << payload;
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
        Program waiting(hook());
        waiting.writeInput(bash("PermissionRequest", "a"));
        waiting.closeInput();
        eventually([&] { return app.asked == 1; });

        // Parallel work is no reason to go.
        send(bash("PostToolUse", "b"));
        send(bash("PreToolUse", "c"));
        send(bash("PostToolUse", "c"));
        send(event("SubagentStart"));
        std::this_thread::sleep_for(std::chrono::milliseconds(600)); // twice as long as it takes to look
        EXPECT_EQ(app.withdrawn, 0) << over;

        send(over);
        send(bash("PreToolUse", "the next at once")); // hides what was last in the record
        const auto start = std::chrono::steady_clock::now();
        eventually([&] { return app.withdrawn == 1; });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5))
            << over; // one, on a quiet machine
        const auto result = waiting.finish();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output + result.errors, "");
        EXPECT_EQ(testing::namesIn(sessions),
                  (std::vector<std::string>{"claude-s.json", "claude-s.json.lock"}));
    }
}

TEST_F(HookProgramTests, EndsAtOnceWhenTheAgentsTimeIsUp) {
    SilentApp app(socket);
    Program waiting(hook());
    waiting.writeInput(bash("PermissionRequest", "a"));
    waiting.closeInput();
    eventually([&] { return app.asked == 1; });
    ::kill(waiting.pid(), SIGTERM);
    const auto result = waiting.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(state(), SessionState::awaiting);
}

TEST_F(HookProgramTests, AnAnswerToOneRequestDoesNotEndAnother) {
    // The app answers them in the order in which they come; the second one only when told.
    std::atomic<int> answers = 0;
    std::atomic<bool> second = false;
    const FakeApp app(socket, [&](const std::string& line, int connection) {
        if (answers == 1) eventually([&] { return second.load(); });
        FakeApp::says("{\"decision\":\"allow\"}\n")(line, connection);
        ++answers;
    });
    std::list<Program> hooks;
    const auto ask = [&](const std::string& command) {
        hooks.emplace_back(hook());
        hooks.back().writeInput(bash("PermissionRequest", command));
        hooks.back().closeInput();
    };
    ask("a");
    EXPECT_EQ(hooks.front().finish().output, allowed);
    EXPECT_EQ(state(), SessionState::working);
    ask("b");
    eventually([&] { return state() == SessionState::awaiting; });
    send(bash("PostToolUse", "a")); // the first one's tool has run
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    second = true;
    EXPECT_EQ(hooks.back().finish().output, allowed); // it was not given up
    EXPECT_EQ(state(), SessionState::working);
}

TEST_F(HookProgramTests, ABareAllowThatClaudeDoesNotHeedChangesNothing) {
    const FakeApp app(socket, FakeApp::says("{\"decision\":\"allow\"}\n"));
    send(event("PermissionRequest", R"("tool_name":"ExitPlanMode","tool_input":{"plan":"x"})"), allowed);
    EXPECT_EQ(state(), SessionState::awaiting);
}

TEST_F(HookProgramTests, AHundredAtOnce) {
    std::list<Program> hooks;
    for (int index = 0; index < 100; ++index) {
        Program& one = hooks.emplace_back(hook());
        one.writeInput(bash("PreToolUse", "command " + std::to_string(index)));
        one.closeInput();
    }
    for (Program& one : hooks)
        EXPECT_EQ(one.finish().status, 0);
    ASSERT_TRUE(record());
    EXPECT_EQ(record()->state, SessionState::working);
    EXPECT_TRUE(record()->summary->starts_with("command "));
    EXPECT_EQ(testing::namesIn(sessions), (std::vector<std::string>{"claude-s.json", "claude-s.json.lock"}));
}

TEST_F(HookProgramTests, KilledAtAnyMomentItLeavesAWholeRecord) {
    send(event("SessionStart"));
    for (int round = 0; round < 60; ++round) {
        Program one(hook());
        one.writeInput(bash("PreToolUse", std::string(50'000, 'x')));
        one.closeInput();
        std::this_thread::sleep_for(std::chrono::microseconds(round * 40));
        ::kill(one.pid(), SIGKILL);
        one.finish();
        ASSERT_TRUE(record()) << round;
    }
    send(event("Stop")); // nobody holds the lock
    EXPECT_EQ(state(), SessionState::done);
}

} // namespace quorvik
