#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvik {

namespace {

/// The event of a payload with these members besides its session's id; absent when it is dropped or no event.
std::optional<HookEvent> eventOf(Source source, const std::string& members,
                                 const PayloadNormaliser::Surroundings& surroundings = {}) {
    static std::string bytes; // events refer to them
    bytes = R"({"session_id":"s","sessionId":"s",)" + members + "}\n";
    auto payload = HookPayload::read(bytes);
    if (!payload) ADD_FAILURE() << members;
    const auto verdict = PayloadNormaliser::normalise(*payload, source, surroundings);
    return verdict == PayloadNormaliser::Verdict::drop ? std::nullopt : HookEvent::fromPayload(*payload);
}

} // namespace

TEST(PayloadNormaliserTests, WhichEventAPayloadIs) {
    std::istringstream cases(R"(
        copilot PostToolUse        "toolName":"bash","toolArgs":{},"toolResult":{"error":"x"},"error":"x"
        copilot PostToolUseFailure "toolName":"bash","toolArgs":{},"error":"it failed"
        copilot PreToolUse         "toolName":"bash","toolArgs":{},"error":null,"toolResult":null
        copilot PermissionRequest  "hookName":"permissionRequest","toolName":"bash","toolInput":{}
        copilot SessionStart       "source":"resume"
        copilot UserPromptSubmit   "prompt":""
        copilot Stop               "stopReason":"end_turn","reason":"x"
        copilot errorOccurred      "error":{"message":"m"}
        copilot -                  "error":"m"
        copilot -                  "toolName":"bash","parentAgentId":"p"
        copilot PreToolUse         "toolName":"bash","parentAgentId":null
        claude  -                  "toolName":"bash","toolResult":1
        grok    SessionStart       "hookEventName":"session_start"
        grok    PostToolUseFailure "hookEventName":"post_tool_use_failure"
        grok    StopFailure        "hookEventName":"stop_failure"
        grok    something_new      "hookEventName":"something_new"
        grok    PreToolUse         "hookEventName":"pre_tool_use","toolName":"ask_user_question","toolInput":{}
        grok    UserPromptSubmit   "hookEventName":"user_prompt_submit","workspaceRoot":"/w","prompt":"Ask"
        claude  -                  "hookEventName":"pre_tool_use","toolName":"Bash"
        claude  -                  "hookEventName":"stop","workspaceRoot":"/w"
        claude  Stop               "hookEventName":"agentStop","workspaceRoot":"/w"
        claude  Notification       "hookEventName":"notification"
        claude  Stop               "hook_event_name":"Stop","hookEventName":"stop_failure"
        qwen    UserPromptSubmit   "hook_event_name":"UserPromptSubmit","prompt":"","submitted_prompt":"x"
        qwen    UserPromptSubmit   "hook_event_name":"UserPromptSubmit"
        claude  UserPromptSubmit   "hook_event_name":"UserPromptSubmit","prompt":"","agent_id":""
        claude  -                  "hook_event_name":"UserPromptSubmit","prompt":"Find it","agent_id":"a1"
        claude  PreToolUse         "hook_event_name":"PreToolUse","tool_name":"Bash","agent_id":"a1"
        qwen    -                  "hook_event_name":"PreCompact","trigger":"manual"
        qwen    PreCompact         "hook_event_name":"PreCompact","trigger":"auto"
        claude  PreCompact         "hook_event_name":"PreCompact","trigger":"manual")");
    for (std::string source, expected, members; cases >> source >> expected;) {
        std::getline(cases, members);
        const auto event = eventOf(*fromRawValue<Source>(source), members);
        EXPECT_EQ(event ? event->name : "-", expected) << source << members;
    }
}

TEST(PayloadNormaliserTests, WhoeverAllowsAllIsNotAsked) {
    const auto asks = [](const std::string& inherited, const std::vector<std::string>& words,
                         Source agent = Source::copilot) {
        const char* request = agent == Source::copilot ? R"("hookName":"permissionRequest")"
                                                       : R"("hook_event_name":"PermissionRequest")";
        return eventOf(agent, request, {"", "", inherited, [&] { return words; }}).has_value();
    };
    for (const char* all : {"--allow-all-tools", "--allow-all", "--yolo"}) {
        EXPECT_FALSE(asks("", {"copilot", "-p", "x", all})) << all;
        EXPECT_TRUE(asks("", {"copilot", all, "--assisted-approval"})) << all;
        EXPECT_TRUE(asks("true", {"codex", all}, Source::codex)) << all;
    }
    EXPECT_FALSE(asks(" TRUE ", {}));
    EXPECT_TRUE(asks("no", {"copilot", "--allow-all-paths", "--allow-all-urls", "--allow-tool", "shell"}));
}

TEST(PayloadNormaliserTests, FoldersOfAnAgentThatSaysNone) {
    const std::string stop = R"("hook_event_name":"Stop")";
    EXPECT_EQ(eventOf(Source::devin, stop, {"/project \"x\"", "/here"})->cwd, "/project \"x\"");
    EXPECT_EQ(eventOf(Source::devin, stop, {"", "/here"})->cwd, "/here");
    EXPECT_EQ(eventOf(Source::devin, stop + R"(,"cwd":"/own")", {"/project", "/here"})->cwd, "/own");
    EXPECT_EQ(eventOf(Source::kimi, stop, {"/project", "/here"})->cwd, "");
}

/// Each line: the state that the event leaves, the title, and the event.
TEST(PayloadNormaliserTests, SessionsAsAgentsReportThem) {
    const std::pair<Source, const char*> sessions[] = {
        {Source::qwen, R"(
            working  Write "hook_event_name":"UserPromptSubmit","prompt":"Write","submitted_prompt":"Write"
            awaiting Write "hook_event_name":"PermissionRequest","tool_name":"write_file"
            working  Write "hook_event_name":"PreToolUse","tool_name":"write_file"
            working  Write "hook_event_name":"PostToolBatch","tool_calls":[{}]
            done     Write "hook_event_name":"Stop"
            done     Write "hook_event_name":"UserPromptSubmit","prompt":""
            done     Write "hook_event_name":"Notification","notification_type":"idle_prompt")"},
        {Source::codex, R"(
            working  Ask "hook_event_name":"UserPromptSubmit","prompt":"Ask"
            awaiting Ask "hook_event_name":"PreToolUse","tool_name":"request_user_input"
            working  Ask "hook_event_name":"PostToolUse","tool_name":"request_user_input")"},
        {Source::copilot, R"(
            idle     -    "source":"new","initialPrompt":"List"
            working  List "prompt":"List"
            working  List "toolName":"bash","toolArgs":{"command":"ls"}
            awaiting List "hookName":"permissionRequest","toolName":"bash","permissionSuggestions":[]
            awaiting List "parentAgentId":"p","stopReason":"end_turn"
            working  List "toolName":"bash","toolResult":{"resultType":"success"}
            done     List "stopReason":"end_turn","transcriptPath":"/x"
            ended    List "reason":"complete")"},
    };
    for (const auto& [source, lines] : sessions) {
        SessionRecord record(source, "s", "/w", dateFromSeconds(0));
        std::istringstream steps(lines);
        for (std::string state, title, members; steps >> state >> title;) {
            std::getline(steps, members);
            if (const auto event = eventOf(source, members))
                EventReducer::apply(*event, record, dateFromSeconds(1));
            EXPECT_EQ(rawValue(record.state), state) << members;
            EXPECT_EQ(record.title.value_or("-"), title) << members;
        }
    }
}

} // namespace quorvik
