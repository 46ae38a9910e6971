#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Agents/ToolWord.h"
#include "QuorvikCore/Text/Redactor.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvik {

namespace {

/// An event with these members besides the ones that it cannot be without.
HookEvent eventWith(const std::string& members, const std::string& name = "PreToolUse") {
    return HookEvent::fromJSON(R"({"session_id":"s","cwd":"/w","hook_event_name":")" + name + "\"," +
                               members + "}")
        .value();
}

} // namespace

TEST(HookEventTests, UnusablePayloadsGiveNoEvent) {
    std::istringstream payloads(R"(null
        []
        {"hook_event_name":"Stop"}
        {"session_id":"s"}
        {"hook_event_name":"Stop","session_id":"","sessionId":"s"}
        {"hook_event_name":"Stop","session_id":1}
        {"hook_event_name":1,"session_id":"s"}
        {"hook_event_name":"Stop","session_id":"s"} x
        {"hook_event_name":"Stop","session_id":"s","tool_response":[1,]})");
    for (std::string payload; std::getline(payloads, payload);)
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
    EXPECT_EQ(eventWith("\"prompt\":\"odd \\udc00 é\\u0000\\u001b\xff\"").prompt,
              std::string("odd \uFFFD é\0\x1b\uFFFD", 15));
    // Wrong types count as missing, and the other key then has its turn.
    const auto wrong = HookEvent::fromJSON(R"({"hook_event_name":[],"hookEventName":"Stop","session_id":null,
        "sessionId":"s","cwd":1,"tool_name":{},"tool_input":[],"notification_type":true,"message":[],
        "error":{"message":"m"},"last_assistant_message":null,"submitted_prompt":0,"prompt":{},"source":1,
        "permission_suggestions":{}})");
    EXPECT_EQ(wrong, (HookEvent{.name = "Stop", .sessionID = "s"}));
}

TEST(HookEventTests, ToolArgumentsAndTheirSummary) {
    for (const auto& [members, summary] : std::initializer_list<std::pair<std::string, std::string>>{
             {R"("tool_input":null,"toolInput":"x","toolArgs":"{\"command\":\"ls -la\"}")", "ls -la"},
             {R"("tool_input":[],"toolInput":"[1]","toolArgs":"{\"a\":","tool_args":{"url":"u"})", "u"},
             {R"("tool_input":{"path":"/w/a","absolute_path":"/w/b","file_path":"/w/c","command":" \t"})",
              "c"},
             {R"("tool_input":{"command":"\n","path":"a"})", ""}, // a line break is no blank
             {R"("tool_input":{"command":["git","status"]})", "git status"},
             {R"("tool_input":{"command":[],"path":["a",1],"url":{"a":1},"query":"q"})", "q"},
             {R"("tool_input":{"command":" ls --token abc "})", "ls --token ***"},
             {R"("tool_input":{"command":7,"other":"x"})", "-"},
         })
        EXPECT_EQ(eventWith(members).toolSummary().value_or("-"), summary) << members;
}

TEST(HookEventTests, SumsUpALongCommandByItsStartAsByTheWhole) {
    struct Case {
        std::string_view start, piece, end;
    };
    for (const auto& [start, piece, end] : std::initializer_list<Case>{
             {"", "x y ", ""},
             {"", " ", ""},
             {"", " ", "x"},
             {"", "\\n", ""},
             {"", "\\n \\n", "n"},
             {" \\t", "\\t", "\u00A0"},
             {"\\n", " ", "\\ud83d\\ude00"},
             {"x", "\\u00e9", ""},
             {"x", " ", "x"},
             {"A='", "\\n\\u00e9\\\\b", "' x"},
             {"A=", "/w/", " x"},
             {"", "/w/", ""},
             {"", "/w", "/x"},
             {"", "abcdefghijklmnop0123456789", " x"},
             {"", "-", "token x"},
             {"", "-", " x"},
         }) {
        std::string value = "\"";
        for (value += start; value.size() < 70'000; value += piece) {
        }
        value += std::string(end) + '"';
        const std::string text = nlohmann::json::parse(value).get<std::string>();
        const bool isTelling = text.find_first_not_of(" \t\u00A0") != text.npos;
        const auto event = eventWith("\"tool_input\":{\"command\":" + value + "}");
        EXPECT_EQ(event.toolSummary(), isTelling ? std::optional(Redactor::redact(text, "/w")) : std::nullopt)
            << start << " " << piece;
        EXPECT_EQ(HookEvent::fromJSON(
                      "{\"hook_event_name\":\"Stop\",\"session_id\":\"s\",\"prompt\":" + value + "}")
                      ->prompt,
                  text);
    }
}

TEST(HookEventTests, WhatTheUserIsAsked) {
    EXPECT_EQ(eventWith(R"("permission_suggestions":[ ])").permissionSuggestions, std::nullopt);
    EXPECT_EQ(eventWith(R"("permissionSuggestions":[ 1.50,"\udc00" ])").permissionSuggestions,
              R"([ 1.50,"\ufffd" ])");
    enum Asked { nothing, permission, questions };
    const std::string lists[] = {R"([{"question":"Q?","options":[{"label":"A"}],"n":1.50} ])",
                                 R"([{"question":"Q?","options":[]}])"}; // good and bad
    struct Case {
        Source agent;
        std::string event, tool;
        Asked asked[2];
    };
    for (const auto& [agent, name, tool, asked] : std::initializer_list<Case>{
             {Source::claude, "PermissionRequest", "Bash", {permission, permission}},
             {Source::claude, "PermissionRequest", "AskUserQuestion", {questions, permission}},
             {Source::claude, "PreToolUse", "AskUserQuestion", {nothing, nothing}},
             {Source::copilot, "permissionRequest", "bash", {permission, permission}},
             {Source::qwen, "PermissionRequest", "ask_user_question", {nothing, nothing}}, // takes no answer
             {Source::grok, "PreToolUse", "ask_user_question", {questions, nothing}},
             {Source::grok, "PreToolUse", "Ask_User_Question", {nothing, nothing}},
             {Source::kimi, "PermissionRequest", "Bash", {nothing, nothing}},
         }) {
        for (const std::size_t list : {0u, 1u}) {
            const std::string input = R"({"command":"ls","questions":)" + lists[list] + "}";
            const auto event = eventWith(
                R"("permission_suggestions":[1],"tool_name":")" + tool + R"(","tool_input":)" + input, name);
            std::optional<ApprovalRequest> expected;
            if (asked[list] != nothing) expected = {"id", agent, "s", "/w", tool, "ls", "[1]"};
            if (asked[list] == questions) {
                expected->questions = {{"Q?", "", {{"A", ""}}}};
                expected->questionsJSON = lists[list];
            }
            EXPECT_EQ(event.approvalRequest(agent, "id"), expected)
                << rawValue(agent) << name << tool << list;
        }
    }
}

TEST(HookEventTests, HostileSizes) {
    constexpr std::size_t depth = 100'000;
    const std::string deep = "[{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}]";
    const auto event =
        eventWith(R"("tool_name":"AskUserQuestion","message":)" + deep + R"(,"permission_suggestions":)" +
                      deep + R"(,"tool_input":{"command":)" + deep + R"(,"questions":)" + deep +
                      R"(},"tool_response":")" + std::string(10'000'000, 'x') + "\"",
                  "PermissionRequest");
    EXPECT_FALSE(event.toolSummary());
    EXPECT_FALSE(event.firstQuestion());
    EXPECT_EQ(event.approvalRequest(Source::claude, "i")->suggestions, deep);
}

TEST(ToolWordTests, OneWordForEveryTool) {
    std::istringstream words(
        "Bash Bash  NotebookEdit Edit  create Write  view Read  ReadMediaFile Search  SearchWeb Web "
        "Task Agent  TodoWrite Plan  mcp__server__tool MCP  MCP__tool MCP__tool "
        "SeventeenLetters1 SeventeenL  ééééééééééé éééééééééé");
    for (std::string tool, word; words >> tool >> word;)
        EXPECT_EQ(ToolWord::shortName(tool), word);
    EXPECT_FALSE(ToolWord::shortName(""));
}

} // namespace quorvik
