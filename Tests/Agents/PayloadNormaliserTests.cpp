#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"

#include <gtest/gtest.h>

namespace quorvik {

using PayloadNormaliser::Surroundings;
using PayloadNormaliser::Verdict;

namespace {

constexpr const char* dropped = "(dropped)";
constexpr const char* noEvent = "(no event)";

std::optional<HookEvent> eventOf(Source source, const std::string& bytes,
                                 const Surroundings& surroundings = {}) {
    auto payload = HookPayload::read(bytes);
    if (!payload || PayloadNormaliser::normalise(*payload, source, surroundings) == Verdict::drop)
        return std::nullopt;
    return HookEvent::fromPayload(*payload);
}

std::string nameOf(Source source, const std::string& bytes) {
    auto payload = HookPayload::read(bytes);
    if (!payload) return noEvent;
    if (PayloadNormaliser::normalise(*payload, source, {}) == Verdict::drop) return dropped;
    const auto event = HookEvent::fromPayload(*payload);
    return event ? event->name : noEvent;
}

} // namespace

TEST(PayloadNormaliserTests, WhichEventAPayloadIs) {
    struct Case {
        Source source;
        std::string members; // besides the session's id under both keys
        std::string event;
    };
    for (const auto& [source, members, event] : std::initializer_list<Case>{
             {Source::copilot, R"("toolName":"bash","toolArgs":{},"toolResult":{"error":"x"})",
              "PostToolUse"},
             {Source::copilot, R"("toolName":"bash","toolArgs":{},"error":"it failed")",
              "PostToolUseFailure"},
             {Source::copilot, R"("toolName":"bash","toolArgs":{},"error":null,"toolResult":null)",
              "PreToolUse"},
             {Source::copilot, R"("hookName":"permissionRequest","toolName":"bash","toolInput":{})",
              "PermissionRequest"},
             {Source::copilot, R"("hook_event_name":"Notification","message":"m","prompt":"p")",
              "Notification"},
             {Source::copilot, R"("source":"resume")", "SessionStart"},
             {Source::copilot, R"("initialPrompt":"p")", "SessionStart"},
             {Source::copilot, R"("prompt":"")", "UserPromptSubmit"},
             {Source::copilot, R"("stopReason":"end_turn","reason":"x")", "Stop"},
             {Source::copilot, R"("reason":"complete")", "SessionEnd"},
             {Source::copilot, R"("error":{"message":"m"})", "errorOccurred"},
             {Source::copilot, R"("error":"m")", noEvent},
             {Source::copilot, R"("timestamp":1)", noEvent},
             {Source::copilot, R"("toolName":"bash","parentAgentId":"p")", dropped},
             {Source::copilot, R"("toolName":"bash","parentAgentId":null)", "PreToolUse"},
             {Source::claude, R"("toolName":"bash","toolResult":1)",
              noEvent}, // told by its members: only Copilot's

             {Source::grok, R"("hookEventName":"session_start")", "SessionStart"},
             {Source::grok, R"("hookEventName":"user_prompt_submit")", "UserPromptSubmit"},
             {Source::grok, R"("hookEventName":"pre_tool_use")", "PreToolUse"},
             {Source::grok, R"("hookEventName":"post_tool_use_failure")", "PostToolUseFailure"},
             {Source::grok, R"("hookEventName":"stop")", "Stop"},
             {Source::grok, R"("hookEventName":"stop_failure")", "StopFailure"},
             {Source::grok, R"("hookEventName":"PreToolUse")", "PreToolUse"},
             {Source::grok, R"("hookEventName":"something_new")", "something_new"},
             {Source::kimi, R"("hookEventName":"pre_tool_use")", "pre_tool_use"},
             {Source::claude, R"("hookEventName":"pre_tool_use","toolName":"Bash")", dropped},
             {Source::claude, R"("hookEventName":"stop","workspaceRoot":"/w")", dropped},
             {Source::claude, R"("hookEventName":"agentStop","workspaceRoot":"/w")", "Stop"},
             {Source::claude, R"("hookEventName":"notification")", "Notification"},
             {Source::claude, R"("hook_event_name":"Stop","hookEventName":"stop_failure")", "Stop"},

             {Source::qwen, R"("hook_event_name":"UserPromptSubmit","prompt":"")", dropped},
             {Source::qwen, R"("hook_event_name":"UserPromptSubmit","prompt":"","submitted_prompt":"x")",
              "UserPromptSubmit"},
             {Source::qwen, R"("hook_event_name":"UserPromptSubmit")", "UserPromptSubmit"},
             {Source::qwen, R"("hook_event_name":"Stop","prompt":"")", "Stop"},
             {Source::claude, R"("hook_event_name":"UserPromptSubmit","prompt":"")", "UserPromptSubmit"},
         })
        EXPECT_EQ(nameOf(source, R"({"session_id":"s","sessionId":"s",)" + members + "}"), event)
            << rawValue(source) << " " << members;
}

TEST(PayloadNormaliserTests, FoldersOfAnAgentThatSaysNone) {
    const std::string bare = R"({"hook_event_name":"Stop","session_id":"s"})";
    const std::string named = R"({"hook_event_name":"Stop","session_id":"s","cwd":"/own"})";
    const Surroundings both{"/project \"x\"", "/here"}, onlyHere{"", "/here"};
    EXPECT_EQ(eventOf(Source::devin, bare, both)->cwd, "/project \"x\"");
    EXPECT_EQ(eventOf(Source::devin, bare, onlyHere)->cwd, "/here");
    EXPECT_EQ(eventOf(Source::devin, bare)->cwd, "");
    EXPECT_EQ(eventOf(Source::devin, named, both)->cwd, "/own");
    EXPECT_EQ(eventOf(Source::kimi, bare, both)->cwd, "");
}

TEST(PayloadNormaliserTests, ABackgroundTasksPromptIsNoTitle) {
    const std::string payload =
        R"({"hook_event_name":"UserPromptSubmit","session_id":"s","prompt":"<task-notification>\n<id>b1</id>"})";
    EXPECT_FALSE(eventOf(Source::claude, payload)->prompt);
    EXPECT_TRUE(eventOf(Source::codex, payload)->prompt);
}

/// Whole sessions, as the agents report them: each line is an event and the state that it leaves.
TEST(PayloadNormaliserTests, SessionsAsAgentsReportThem) {
    struct Step {
        std::string members;
        SessionState state;
        std::string tool = "", summary = "", title = "";
    };
    struct Session {
        Source source;
        std::string idKey;
        std::vector<Step> steps;
    };
    using S = SessionState;
    const Session sessions[] = {
        {Source::claude,
         "session_id",
         {{R"("hook_event_name":"SessionStart","source":"startup","model":"m")", S::idle},
          {R"("hook_event_name":"UserPromptSubmit","prompt":"Fix the build")", S::working, "", "",
           "Fix the build"},
          {R"("hook_event_name":"PreToolUse","tool_name":"Bash","tool_input":{"command":"make"},"effort":{"level":"low"})",
           S::working, "Bash", "make", "Fix the build"},
          {R"("hook_event_name":"PermissionRequest","tool_name":"Bash","tool_input":{"command":"make"},"permission_suggestions":[{}])",
           S::awaiting, "Bash", "make", "Fix the build"},
          {R"("hook_event_name":"Notification","message":"Needs you","notification_type":"permission_prompt")",
           S::awaiting, "Bash", "make", "Fix the build"},
          {R"("hook_event_name":"PostToolUseFailure","tool_name":"Bash","error":{"code":2})", S::working,
           "Bash", "make", "Fix the build"},
          {R"("hook_event_name":"Stop","last_assistant_message":"odd \udc00")", S::done, "", "make",
           "Fix the build"},
          {R"("hook_event_name":"UserPromptSubmit","prompt":"<task-notification>done")", S::working, "", "",
           "Fix the build"},
          {R"("hook_event_name":"StopFailure","error":"server_error","last_assistant_message":"API Error: 529")",
           S::failed, "", "API Error: 529", "Fix the build"},
          {R"("hook_event_name":"SessionEnd","reason":"other")", S::ended, "", "API Error: 529",
           "Fix the build"}}},
        {Source::codex,
         "session_id",
         {{R"("hook_event_name":"SessionStart","source":"startup")", S::idle},
          {R"("hook_event_name":"UserPromptSubmit","prompt":"Look around")", S::working, "", "",
           "Look around"},
          {R"("hook_event_name":"PreToolUse","tool_name":"mcp__a__b","tool_input":{"n":1.5})", S::working,
           "mcp__a__b", "", "Look around"},
          {R"("hook_event_name":"PostToolUse","tool_name":"mcp__a__b","tool_response":"text")", S::working,
           "mcp__a__b", "", "Look around"},
          {R"("hook_event_name":"Interrupt")", S::idle, "", "", "Look around"}}},
        {Source::qwen,
         "session_id",
         {{R"("hook_event_name":"UserPromptSubmit","prompt":"Say it","submitted_prompt":"Say it")",
           S::working, "", "", "Say it"},
          {R"("hook_event_name":"PermissionRequest","tool_name":"write_file","tool_input":{"file_path":"/w/b"})",
           S::awaiting, "write_file", "b", "Say it"},
          {R"("hook_event_name":"PreToolUse","tool_name":"write_file","tool_input":{"file_path":"/w/b"})",
           S::working, "write_file", "b", "Say it"},
          {R"("hook_event_name":"PostToolBatch","tool_calls":[{}])", S::working, "write_file", "b", "Say it"},
          {R"("hook_event_name":"UserPromptSubmit","prompt":"")", S::working, "write_file", "b", "Say it"},
          {R"("hook_event_name":"Stop")", S::done, "", "b", "Say it"},
          {R"("hook_event_name":"Notification","message":"waiting","notification_type":"idle_prompt")",
           S::done, "", "b", "Say it"}}},
        {Source::copilot,
         "sessionId",
         {{R"("source":"new","initialPrompt":"List files")", S::idle},
          {R"("prompt":"List files")", S::working, "", "", "List files"},
          {R"("toolName":"bash","toolArgs":{"command":"ls"})", S::working, "bash", "ls", "List files"},
          {R"("hookName":"permissionRequest","toolName":"bash","toolInput":{"command":"ls"},"permissionSuggestions":[])",
           S::awaiting, "bash", "ls", "List files"},
          {R"("parentAgentId":"p","stopReason":"end_turn")", S::awaiting, "bash", "ls", "List files"},
          {R"("toolName":"bash","toolArgs":{"command":"ls"},"toolResult":{"resultType":"success"})",
           S::working, "bash", "ls", "List files"},
          {R"("stopReason":"end_turn","transcriptPath":"/x")", S::done, "", "ls", "List files"},
          {R"("reason":"complete")", S::ended, "", "ls", "List files"}}},
        {Source::grok,
         "sessionId",
         {{R"("hookEventName":"user_prompt_submit","workspaceRoot":"/w","prompt":"Ask me")", S::working, "",
           "", "Ask me"},
          {R"("hookEventName":"pre_tool_use","toolName":"ask_user_question","toolInput":{})", S::awaiting,
           "ask_user_question", "", "Ask me"},
          {R"("hookEventName":"post_tool_use","toolName":"ask_user_question")", S::working,
           "ask_user_question", "", "Ask me"},
          {R"("hookEventName":"stop")", S::done, "", "", "Ask me"}}},
    };
    for (const Session& session : sessions) {
        SessionRecord record(session.source, "s", "/w", dateFromSeconds(0));
        for (const Step& step : session.steps) {
            const auto event = eventOf(session.source, "{\"" + session.idKey + "\":\"s\",\"cwd\":\"/w\"," +
                                                           step.members + "}\n");
            if (event) EventReducer::apply(*event, record, dateFromSeconds(1));
            EXPECT_EQ(record.state, step.state) << step.members;
            EXPECT_EQ(record.tool.value_or(""), step.tool) << step.members;
            EXPECT_EQ(record.summary.value_or(""), step.summary) << step.members;
            EXPECT_EQ(record.title.value_or(""), step.title) << step.members;
        }
    }
}

} // namespace quorvik
