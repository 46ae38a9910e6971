#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Agents/ToolWord.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

/// An event with these members besides the ones that it cannot be without.
std::optional<HookEvent> eventWith(const std::string& members, const std::string& name = "PreToolUse") {
    return HookEvent::fromJSON(R"({"hook_event_name":")" + name + R"(","session_id":"s","cwd":"/w",)" +
                               members + "}");
}

std::string oneQuestion(const std::string& more = "") {
    return R"({"question":"Q?","options":[{"label":"A"}])" + more + "}";
}

} // namespace

TEST(HookEventTests, UnusablePayloadsGiveNoEvent) {
    for (const std::string payload : {
             "",
             "null",
             "[]",
             "\"Stop\"",
             "{}",
             "{",
             R"({"hook_event_name":"Stop"})",
             R"({"hook_event_name":"Stop","session_id":""})",
             R"({"hook_event_name":"Stop","session_id":"","sessionId":"s"})", // the first of the two decides
             R"({"hook_event_name":"Stop","session_id":1})",
             R"({"hook_event_name":1,"session_id":"s"})",
             R"({"session_id":"s"})",
             R"({"hook_event_name":"Stop","session_id":"s"} x)",
             R"({"hook_event_name":"Stop","session_id":"s","tool_response":[1,]})",
             "{\"hook_event_name\":\"Stop\",\"session_id\":\"s\",\"x\":\"line\nbreak\"}",
         })
        EXPECT_FALSE(HookEvent::fromJSON(payload)) << payload;
}

TEST(HookEventTests, KeysOfEitherKind) {
    const auto snake = HookEvent::fromJSON(R"({"hook_event_name":"Notification","session_id":"s","cwd":"/w",
        "tool_name":"T","tool_input":{"a":1.50},"notification_type":"n","message":"m","error":"e",
        "last_assistant_message":"l","submitted_prompt":"p","prompt":"other","source":"o",
        "permission_suggestions":"[1]","hookEventName":"x","sessionId":"x","workspaceRoot":"/x","toolName":"x"})");
    EXPECT_EQ(
        snake,
        (HookEvent{"Notification", "s", "/w", "T", {{"a", "1.50"}}, "n", "m", "e", "l", "p", "o", "[1]"}));
    const auto camel = HookEvent::fromJSON(R"({"hookEventName":"agentStop","sessionId":"s1","toolName":"T",
        "workspaceRoot":"/w","prompt":"p"})");
    EXPECT_EQ(camel,
              (HookEvent{.name = "Stop", .sessionID = "s1", .cwd = "/w", .toolName = "T", .prompt = "p"}));
    // Wrong types count as missing, and the other key then has its turn.
    const auto wrong = HookEvent::fromJSON(R"({"hook_event_name":[],"hookEventName":"Stop","session_id":null,
        "sessionId":"s","cwd":1,"tool_name":{},"tool_input":[],"notification_type":true,"message":[],
        "error":{"message":"m"},"last_assistant_message":null,"submitted_prompt":0,"prompt":{},"source":1,
        "permission_suggestions":{}})");
    EXPECT_EQ(wrong, (HookEvent{.name = "Stop", .sessionID = "s"}));
}

TEST(HookEventTests, CanonicalNames) {
    const std::pair<const char*, const char*> names[] = {{"sessionStart", "SessionStart"},
                                                         {"sessionEnd", "SessionEnd"},
                                                         {"userPromptSubmitted", "UserPromptSubmit"},
                                                         {"preToolUse", "PreToolUse"},
                                                         {"postToolUse", "PostToolUse"},
                                                         {"postToolUseFailure", "PostToolUseFailure"},
                                                         {"permissionRequest", "PermissionRequest"},
                                                         {"notification", "Notification"},
                                                         {"agentStop", "Stop"},
                                                         {"subagentStart", "SubagentStart"},
                                                         {"subagentStop", "SubagentStop"},
                                                         {"preCompact", "PreCompact"},
                                                         {"Stop", "Stop"},
                                                         {"stop", "stop"},
                                                         {"PRETOOLUSE", "PRETOOLUSE"},
                                                         {"", ""}};
    for (const auto& [received, canonical] : names)
        EXPECT_EQ(HookEvent::canonicalName(received), canonical);
}

TEST(HookEventTests, TextsAreRepaired) {
    const auto event = eventWith(R"("message":"odd \udc00 done \u0000\u001b)"
                                 "\xff"
                                 R"(","prompt":"é😀")");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->message, std::string("odd \uFFFD done \0\x1b\uFFFD", 18));
    EXPECT_EQ(event->prompt, "é😀");
}

TEST(HookEventTests, ToolArguments) {
    struct Case {
        std::string members;
        RawJSON::Members input;
    };
    for (const auto& [members, input] : std::initializer_list<Case>{
             {R"("tool_input":{"a":[ 1 ]},"toolInput":{"b":1})", {{"a", "[ 1 ]"}}},
             {R"("tool_input":[1],"toolInput":{"b":1})", {{"b", "1"}}},
             {R"("tool_input":null,"toolInput":"no object","toolArgs":"{\"command\":\"ls -la\"}")",
              {{"command", "\"ls -la\""}}},
             {R"("toolInput":"[1]","toolArgs":"{\"a\":","tool_args":{"c":{}})", {{"c", "{}"}}},
             {R"("tool_args":"{}")", {}},
             {R"("x":1)", {}},
         }) {
        const auto event = eventWith(members);
        ASSERT_TRUE(event) << members;
        EXPECT_EQ(event->toolInput, input) << members;
    }
}

TEST(HookEventTests, SummaryIsTheMostTellingArgument) {
    struct Case {
        std::string input;
        std::optional<std::string> summary;
    };
    for (const auto& [input, summary] : std::initializer_list<Case>{
             {R"({"prompt":"p","description":"d","query":"q","url":"u","pattern":"r","notebook_path":"n"})",
              "n"},
             {R"({"path":"/w/a","absolute_path":"/w/b","file_path":"/w/c","command":"  \t"})", "c"},
             {R"({"command":"\n","path":"a"})", ""}, // a line break is no blank
             {R"({"command":["git","status"]})", "git status"},
             {R"({"command":[],"path":["a",1],"url":{"a":1},"query":"q"})", "q"},
             {R"({"command":" ls --token abc "})", "ls --token ***"},
             {R"({"command":7,"other":"x"})", std::nullopt},
             {"{}", std::nullopt},
         }) {
        const auto event = eventWith("\"tool_input\":" + input);
        ASSERT_TRUE(event) << input;
        EXPECT_EQ(event->toolSummary(), summary) << input;
    }
}

TEST(HookEventTests, PermissionSuggestionsTravelAsText) {
    struct Case {
        std::string members;
        std::optional<std::string> suggestions;
    };
    for (const auto& [members, suggestions] : std::initializer_list<Case>{
             {R"("permission_suggestions":[{"n":1.50}])", R"([{"n":1.50}])"},
             {R"("permissionSuggestions":[ "\udc00" ])", R"([ "\ufffd" ])"},
             {R"("permission_suggestions":[ ])", std::nullopt},
             {R"("permission_suggestions":[],"permissionSuggestions":[1])", "[1]"},
             {R"("permission_suggestions":null)", std::nullopt},
             {R"("permission_suggestions":"text")", "text"},
         })
        EXPECT_EQ(eventWith(members)->permissionSuggestions, suggestions) << members;
}

TEST(HookEventTests, WhatTheUserIsAsked) {
    enum Asked { nothing, permission, questions };
    struct Case {
        Source agent;
        std::string event, tool, list; // list: of questions
        Asked asked;
    };
    const std::string good = "[" + oneQuestion(R"(,"n":1.50)") + " ]";
    const std::string bad = "[" + oneQuestion() + ",{}]";
    for (const auto& [agent, name, tool, list, asked] : std::initializer_list<Case>{
             {Source::claude, "PermissionRequest", "Bash", good, permission},
             {Source::claude, "PermissionRequest", "AskUserQuestion", good, questions},
             {Source::claude, "PermissionRequest", "AskUserQuestion", bad, permission},
             {Source::claude, "PreToolUse", "AskUserQuestion", good, nothing},
             {Source::qwen, "PermissionRequest", "ask_user_question", good, permission},
             {Source::codex, "PermissionRequest", "Bash", "1", permission},
             {Source::devin, "PermissionRequest", "Bash", "1", permission},
             {Source::copilot, "permissionRequest", "bash", "1", permission},
             {Source::grok, "PreToolUse", "ask_user_question", good, questions},
             {Source::grok, "PreToolUse", "ask_user_question", bad, nothing},
             {Source::grok, "PreToolUse", "askuserquestion", good, nothing},
             {Source::grok, "PermissionRequest", "ask_user_question", good, nothing},
             {Source::kimi, "PermissionRequest", "Bash", "1", nothing},
             {Source::commandcode, "PermissionRequest", "Bash", "1", nothing},
             {Source::claude, "Stop", "AskUserQuestion", good, nothing},
         }) {
        const auto event =
            eventWith("\"tool_name\":\"" + tool + R"(","tool_input":{"command":"ls","questions":)" + list +
                          R"(},"permission_suggestions":[1])",
                      name);
        const auto request = event->approvalRequest(agent, "id");
        const std::string what = std::string(rawValue(agent)) + " " + name + " " + tool;
        ASSERT_EQ(request.has_value(), asked != nothing) << what;
        if (!request) continue;
        ApprovalRequest expected{"id", agent, "s", "/w", tool, "ls", "[1]"};
        if (asked == questions) {
            expected.questions = {{"Q?", "", {{"A", ""}}}};
            expected.questionsJSON = good;
        }
        EXPECT_EQ(*request, expected) << what;
    }
}

TEST(HookEventTests, HostileSizes) {
    const std::string nest = std::string(100'000, '[') + std::string(100'000, ']');
    const std::string objects = [] {
        std::string text;
        for (int depth = 0; depth < 100'000; ++depth)
            text += "{\"a\":";
        return text + "1" + std::string(100'000, '}');
    }();
    for (const std::string& deep : {nest, objects}) {
        const auto event =
            eventWith(R"("tool_name":"AskUserQuestion","tool_response":)" + deep + R"(,"message":)" + deep +
                          R"(,"permission_suggestions":[)" + deep + R"(],"tool_input":{"command":)" + deep +
                          R"(,"questions":[)" + deep + "]}",
                      "PermissionRequest");
        ASSERT_TRUE(event);
        const HookEvent copy = *event;
        EXPECT_TRUE(copy == *event);
        EXPECT_FALSE(copy.toolSummary());
        EXPECT_TRUE(copy.questions().empty());
        EXPECT_TRUE(copy.approvalRequest(Source::claude, "i"));
    }
    EXPECT_TRUE(eventWith(R"("tool_response":")" + std::string(10'000'000, 'x') + "\""));
}

TEST(ToolWordTests, OneWordForEveryTool) {
    const std::pair<const char*, const char*> words[] = {{"Bash", "Bash"},
                                                         {"NotebookEdit", "Edit"},
                                                         {"apply_patch", "Edit"},
                                                         {"create", "Write"},
                                                         {"view", "Read"},
                                                         {"ReadMediaFile", "Search"},
                                                         {"LS", "Search"},
                                                         {"run_shell_command", "Bash"},
                                                         {"SearchWeb", "Web"},
                                                         {"Task", "Agent"},
                                                         {"TodoWrite", "Plan"},
                                                         {"mcp__server__tool", "MCP"},
                                                         {"MCP__server", "MCP__serve"},
                                                         {"SeventeenLetters1", "SeventeenL"},
                                                         {"ééééééééééé", "éééééééééé"},
                                                         {"x", "x"}};
    for (const auto& [tool, word] : words)
        EXPECT_EQ(ToolWord::shortName(tool), word) << tool;
    EXPECT_FALSE(ToolWord::shortName(""));
    EXPECT_FALSE(ToolWord::shortName(std::nullopt));
}

} // namespace quorvik
