#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

namespace quorvik {

using testing::contentOf;
using testing::namesIn;
using testing::Program;

/// Runs the generated extension under Node, as pi would. It uses nothing that is TypeScript only, so that any
/// Node runs it as it is.
class PiExtensionTests : public testing::TemporaryHome {
  protected:
    struct Run {
        std::string arguments; ///< of the hook program, and its marker before them
        nlohmann::json payload;
    };

    /// Fires the events at the extension and collects what the hook program was given, in no particular
    /// order.
    std::vector<Run> fire(const std::string& script, std::size_t expected) {
        const auto hook = write("a \"quoted\\ folder/quorvik-hook", R"(#!/bin/sh
{ echo "$QUORVIK_MANAGED $*"; cat; } >"$RECORDS/$$.part" && mv "$RECORDS/$$.part" "$RECORDS/$$.run"
)");
        ::chmod(hook.c_str(), 0755);
        const auto records = home / "records";
        std::filesystem::create_directories(records);
        ::setenv("RECORDS", records.c_str(), 1);
        run(hook, script);

        std::vector<Run> runs;
        const auto complete = [](const std::string& name) { return name.ends_with(".run"); };
        testing::eventually(
            [&] { return std::ranges::count_if(namesIn(records), complete) >= std::ptrdiff_t(expected); });
        for (const std::string& name : namesIn(records)) {
            const std::string text = contentOf(records / name);
            const auto lineFeed = text.find('\n');
            runs.push_back(
                {text.substr(0, lineFeed), parseJSON(text.substr(lineFeed + 1)).value_or(nullptr)});
        }
        EXPECT_EQ(runs.size(), expected);
        return runs;
    }

    /// Installs the extension for that hook program and runs it in Node.
    void run(const std::filesystem::path& hook, const std::string& script) {
        HookInstaller::install(HookTarget::pi(), hook.string());
        write("run/extension.mjs", contentOf(HookTarget::pi().fileURL));
        const auto harness = write("run/harness.mjs", R"(import extension from "./extension.mjs";
const handlers = {};
extension({ on: (name, handler) => (handlers[name] = handler) });
console.log(process.pid, Object.keys(handlers).join(" "));
const fire = async (name, event, ctx) => {
  const answer = await handlers[name]({ type: name, ...event }, ctx);
  if (answer !== undefined) throw new Error(name + " answered");
};
)" + script);
        const auto result = Program::run({"node", harness.string()});
        EXPECT_EQ(result.status, 0) << result.errors;
        output = result.output;
    }

    std::string output;
};

TEST_F(PiExtensionTests, ItsEventsBecomeARecord) {
    if (Program::run({"node", "--version"}).status != 0) GTEST_SKIP() << "node is not installed";
    struct Case {
        std::string event;
        SessionState state;
        std::optional<std::string> tool;
    };
    const std::string session = R"({ cwd: "/w", sessionManager: { getSessionFile: () => "/x/s.jsonl" } })";
    using State = SessionState;
    for (const auto& [event, state, tool] : std::initializer_list<Case>{
             {R"("session_start", {})", State::idle, std::nullopt},
             {R"("before_agent_start", { prompt: "Fix the login bug" })", State::working, std::nullopt},
             {R"("tool_call", { toolName: "bash", input: { command: "ls" } })", State::working, "bash"},
             {R"("tool_result", { toolName: "bash" })", State::working, "bash"},
             {R"("agent_end", {})", State::done, std::nullopt},
             {R"("session_shutdown", {})", State::ended, std::nullopt},
         }) {
        const auto file = SessionStore::fileURL(Source::pi, "s", sessions);
        const auto before = SessionStore::load(file);
        run(testing::programPath("quorvik-hook"), "await fire(" + event + ", " + session + ");");
        testing::eventually([&] {
            const auto after = SessionStore::load(file);
            return after.record() &&
                   (!before.record() || after.record()->updatedAt != before.record()->updatedAt);
        });
        const auto loaded = SessionStore::load(file);
        EXPECT_EQ(loaded.record()->state, state) << event;
        EXPECT_EQ(loaded.record()->tool, tool) << event;
    }
    EXPECT_EQ(SessionStore::load(SessionStore::fileURL(Source::pi, "s", sessions)).record()->title,
              "Fix the login bug");
}

TEST_F(PiExtensionTests, ReportsEveryEvent) {
    if (Program::run({"node", "--version"}).status != 0) GTEST_SKIP() << "node is not installed";
    const auto runs = fire(R"(const ctx = {
  cwd: "/home/u/w",
  sessionManager: { getSessionFile: () => "/home/u/.pi/agent/sessions/w/2026_01a1fbf5.jsonl" },
};
await fire("session_start", { reason: "startup" }, ctx);
await fire("before_agent_start", { prompt: "go \"quoted\" é 😀\n" }, ctx);
await fire("before_agent_start", { prompt: "" }, ctx);
await fire("agent_start", {}, ctx);
await fire("tool_call", { toolName: "bash", input: { command: "ls" } }, ctx);
await fire("tool_call", { toolName: "list" }, ctx);
await fire("tool_result", { toolName: "bash", isError: false }, ctx);
await fire("agent_end", { messages: [] }, ctx);
await fire("session_shutdown", { reason: "quit" }, ctx);
)",
                           8);

    const std::string pid = output.substr(0, output.find(' '));
    EXPECT_EQ(output, pid + " session_start agent_start before_agent_start tool_call tool_result agent_end "
                            "session_shutdown\n");
    std::vector<std::string> payloads;
    for (const auto& [arguments, payload] : runs) {
        EXPECT_EQ(arguments, "1 --source pi --ppid " + pid);
        payloads.push_back(payload.dump());
    }
    std::ranges::sort(payloads);
    const auto event = [](const std::string& name, const std::string& extra = "") {
        return nlohmann::json::parse(
                   R"({"session_id":"2026_01a1fbf5","cwd":"/home/u/w","hook_event_name":")" + name + "\"" +
                   extra + "}")
            .dump();
    };
    std::vector<std::string> expected = {
        event("SessionStart"),
        event("UserPromptSubmit", R"(,"prompt":"go \"quoted\" é 😀\n")"),
        event("UserPromptSubmit"),
        event("PreToolUse", R"(,"tool_name":"bash","tool_input":{"command":"ls"})"),
        event("PreToolUse", R"(,"tool_name":"list","tool_input":{})"),
        event("PostToolUse", R"(,"tool_name":"bash")"),
        event("Stop"),
        event("SessionEnd"),
    };
    std::ranges::sort(expected);
    EXPECT_EQ(payloads, expected);
}

TEST_F(PiExtensionTests, NeverDisturbsPi) {
    if (Program::run({"node", "--version"}).status != 0) GTEST_SKIP() << "node is not installed";
    const auto runs = fire(R"(await fire("agent_end", {}, undefined);
await fire("agent_end", {}, { sessionManager: { getSessionFile: () => { throw new Error("no"); } } });
const loop = {};
loop.loop = loop;
await fire("tool_call", { toolName: "bash", input: loop }, {});
)",
                           2);
    for (const auto& [arguments, payload] : runs) {
        EXPECT_EQ(payload["session_id"], "pid-" + output.substr(0, output.find(' ')));
        EXPECT_EQ(payload["cwd"], std::filesystem::current_path().string());
    }
    // A hook program that is gone, or that reads nothing.
    std::filesystem::remove(home / "a \"quoted\\ folder/quorvik-hook");
    EXPECT_EQ(Program::run({"node", (home / "run/harness.mjs").string()}).errors, "");
}

} // namespace quorvik
