#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <algorithm>
#include <cstdlib>

namespace quorvik {

using namespace testing;

/// Runs the generated extension under Node, as pi would. It uses nothing that is TypeScript only, so that any
/// Node runs it as it is.
class PiExtensionTests : public TemporaryHome {
  protected:
    PiExtensionTests() {
        std::filesystem::create_directories(home / "records");
        ::setenv("RECORDS", (home / "records").c_str(), 1);
    }
    void SetUp() override {
        if (Program::run({"node", "--version"}).status != 0) GTEST_SKIP() << "node is not installed";
    }

    /// Installs the extension for that hook program, runs it in Node, and fires the events at it.
    void fire(const std::filesystem::path& hookProgram, const std::string& script) {
        HookInstaller::install(HookTarget::pi(), hookProgram.string());
        write("run/extension.mjs", contentOf(HookTarget::pi().fileURL));
        write("run/harness.mjs", R"(import extension from "./extension.mjs";
const handlers = {};
extension({ on: (name, handler) => (handlers[name] = handler) });
console.log(process.pid);
const fire = async (name, event, ctx) => {
  const answer = await handlers[name]({ type: name, ...event }, ctx);
  if (answer !== undefined) throw new Error(name + " answered");
};
)" + script);
        const auto result = Program::run({"node", (home / "run/harness.mjs").string()});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        pid = result.output.substr(0, result.output.find('\n'));
    }

    /// What the noting hook program was given, sorted: its marker and arguments, a blank, and the payload.
    std::vector<std::string> runs(std::size_t expected) const {
        std::vector<std::string> found;
        const auto complete = [](const std::string& name) { return name.ends_with(".run"); };
        eventually([&] {
            return std::ranges::count_if(namesIn(home / "records"), complete) >= std::ptrdiff_t(expected);
        });
        for (const std::string& name : namesIn(home / "records"))
            found.push_back(contentOf(home / "records" / name));
        std::ranges::sort(found);
        return found;
    }

    const std::filesystem::path hook = writeProgram("a \"quoted\\ folder/quorvik-hook", R"(#!/bin/sh
{ printf '%s ' "$QUORVIK_MANAGED" "$@"; cat; } >"$RECORDS/$$.part" && mv "$RECORDS/$$.part" "$RECORDS/$$.run"
)");
    std::string pid; ///< of the last Node
};

TEST_F(PiExtensionTests, ItsEventsBecomeARecord) {
    struct Case {
        std::string event;
        SessionState state;
        std::optional<std::string> tool;
    };
    const std::string session = R"({ cwd: "/w", sessionManager: { getSessionFile: () => "/x/s.jsonl" } })";
    const auto record = [&] { return recordIn(SessionStore::fileURL(Source::pi, "s", sessions)); };
    using State = SessionState;
    for (const auto& [event, state, tool] : std::initializer_list<Case>{
             {R"("session_start", {})", State::idle, std::nullopt},
             {R"("before_agent_start", { prompt: "Fix the login bug" })", State::working, std::nullopt},
             {R"("tool_call", { toolName: "bash", input: { command: "ls" } })", State::working, "bash"},
             {R"("tool_result", { toolName: "bash" })", State::working, "bash"},
             {R"("agent_end", {})", State::done, std::nullopt},
             {R"("session_shutdown", {})", State::ended, std::nullopt},
         }) {
        const auto before = record();
        fire(programPath("quorvik-hook"), "await fire(" + event + ", " + session + ");");
        eventually([&] { return record() && (!before || record()->updatedAt != before->updatedAt); });
        EXPECT_EQ(record()->state, state) << event;
        EXPECT_EQ(record()->tool, tool) << event;
    }
    EXPECT_EQ(record()->title, "Fix the login bug");
}

TEST_F(PiExtensionTests, SaysWhatPiTold) {
    fire(hook, R"(const ctx = { cwd: "/w", sessionManager: { getSessionFile: () => "/u/s/2026_01.jsonl" } };
await fire("before_agent_start", { prompt: "go \"quoted\" é 😀\n" }, ctx);
await fire("before_agent_start", { prompt: "" }, ctx);
await fire("agent_start", {}, ctx);
await fire("tool_call", { toolName: "list" }, ctx);
)");
    const auto run = [&](const std::string& event, const std::string& more = "") {
        return "1 --source pi --ppid " + pid + R"( {"hook_event_name":")" + event +
               R"(","session_id":"2026_01","cwd":"/w")" + more + "}";
    };
    EXPECT_EQ(runs(3), (std::vector{run("PreToolUse", R"(,"tool_name":"list","tool_input":{})"),
                                    run("UserPromptSubmit", R"(,"prompt":"go \"quoted\" é 😀\n")"),
                                    run("UserPromptSubmit")}));
}

TEST_F(PiExtensionTests, NeverDisturbsPi) {
    fire(hook, R"(await fire("agent_end", {}, undefined);
await fire("agent_end", {}, { sessionManager: { getSessionFile: () => { throw new Error("no"); } } });
const loop = {};
loop.loop = loop;
await fire("tool_call", { toolName: "bash", input: loop }, {});
)");
    for (const std::string& run : runs(2)) {
        const auto payload = parseJSON(run.substr(run.find('{'))).value_or(nullptr);
        EXPECT_EQ(payload["session_id"], "pid-" + pid);
        EXPECT_EQ(payload["cwd"], std::filesystem::current_path().string());
    }
    std::filesystem::remove(hook);
    EXPECT_EQ(Program::run({"node", (home / "run/harness.mjs").string()}).errors, "");
}

} // namespace quorvik
