#include "QuorvikCore/Agents/EventReducer.h"

#include <gtest/gtest.h>

namespace quorvik {

using S = SessionState;

namespace {

constexpr S allStates[] = {S::idle, S::working, S::awaiting, S::compacting, S::failed, S::done, S::ended};
const Date before = dateFromSeconds(100);
const Date now = dateFromSeconds(200);

SessionRecord recordIn(S state) {
    SessionRecord record(Source::claude, "s", "/old", before);
    record.state = state;
    record.tool = "Old";
    record.summary = "old";
    record.title = "Old title";
    record.turnStartedAt = before;
    return record;
}

} // namespace

TEST(EventReducerTests, TheStateAfterEachEvent) {
    struct Case {
        std::string name;
        HookEvent event;
        bool means;
        std::vector<S> after; // from each of allStates
    };
    const auto all = [](S state) { return std::vector<S>(std::size(allStates), state); };
    const std::vector<S> kept(std::begin(allStates), std::end(allStates));
    const std::vector<S> resumed = {S::idle,   S::working, S::working, S::working,
                                    S::failed, S::done,    S::ended};
    const std::vector<S> revived = {S::idle, S::working, S::awaiting, S::compacting,
                                    S::idle, S::done,    S::idle};
    for (const auto& [name, like, means, after] : std::initializer_list<Case>{
             {"SessionStart", {}, true, revived},
             {"UserPromptSubmit", {}, true, all(S::working)},
             {"PreToolUse", {.toolName = "Bash"}, true, all(S::working)},
             {"PreToolUse", {.toolName = "AskUserQuestion"}, true, all(S::awaiting)},
             {"PreToolUse", {.toolName = "ask_user_question"}, true, all(S::awaiting)},
             {"PermissionRequest", {}, true, all(S::awaiting)},
             {"PostToolUse", {}, true, resumed},
             {"PostToolUseFailure", {}, true, resumed},
             {"PostToolBatch", {}, true, resumed},
             {"PostCompact", {}, true, resumed},
             {"PostCompaction", {}, true, resumed},
             {"SubagentStart", {}, true, resumed},
             {"Notification", {.notificationType = "permission_prompt"}, true, all(S::awaiting)},
             {"Notification", {.notificationType = "elicitation_dialog"}, true, all(S::awaiting)},
             {"Notification", {.notificationType = "idle"}, false, kept},
             {"Notification", {}, false, kept},
             {"PreCompact", {}, true, all(S::compacting)},
             {"Stop", {}, true, all(S::done)},
             {"StopFailure", {}, true, all(S::failed)},
             {"Interrupt", {}, true, all(S::idle)},
             {"SessionEnd", {}, true, all(S::ended)},
             {"SubagentStop", {}, false, kept},
             {"stop", {}, false, kept},
             {"", {}, false, kept},
         }) {
        for (std::size_t index = 0; index < std::size(allStates); ++index) {
            SessionRecord record = recordIn(allStates[index]);
            HookEvent event = like;
            event.name = name;
            event.cwd = index % 2 ? "/new" : "";
            EXPECT_EQ(EventReducer::apply(event, record, now), means) << name;
            EXPECT_EQ(rawValue(record.state), rawValue(after[index]))
                << name << " in " << rawValue(allStates[index]);
            EXPECT_EQ(record.stateSince, record.state == allStates[index] ? before : now) << name;
            EXPECT_EQ(record.updatedAt, now) << name;
            EXPECT_EQ(record.lastEvent, name);
            EXPECT_EQ(record.cwd, index % 2 ? "/new" : "/old") << name;
        }
    }
}

TEST(EventReducerTests, WhatIsShown) {
    struct Shown {
        std::optional<std::string> tool = "Old", summary = "old", title = "Old title";
    };
    struct Case {
        S from;
        HookEvent event;
        Shown shown;
    };
    const RawJSON::Members ls = {{"command", "\"ls /old/x\""}};
    for (const auto& [from, event, shown] : std::initializer_list<Case>{
             {S::working, {.name = "SessionStart", .source = "clear"}, {.title = std::nullopt}},
             {S::working, {.name = "SessionStart", .source = "Clear"}, {}},
             {S::done,
              {.name = "UserPromptSubmit", .prompt = "# Do /old/it"},
              {std::nullopt, std::nullopt, "Do it"}},
             {S::done, {.name = "UserPromptSubmit", .prompt = "yes"}, {std::nullopt, std::nullopt}},
             {S::done,
              {.name = "UserPromptSubmit", .prompt = "Do it", .source = "slash_command_expansion"},
              {std::nullopt, std::nullopt}},
             {S::working, {.name = "PreToolUse", .toolName = "T", .toolInput = ls}, {"T", "ls /old/x"}},
             {S::working,
              {.name = "PreToolUse", .cwd = "/old", .toolName = "T", .toolInput = ls},
              {"T", "ls x"}},
             {S::working, {.name = "PreToolUse"}, {std::nullopt, std::nullopt}},
             {S::working, {.name = "PermissionRequest"}, {}},
             {S::working,
              {.name = "PermissionRequest", .toolName = "T", .toolInput = ls},
              {"T", "ls /old/x"}},
             {S::awaiting, {.name = "PostToolUse", .toolName = "T", .toolInput = ls}, {}},
             {S::working,
              {.name = "Notification", .notificationType = "permission_prompt", .message = "see /old/x"},
              {.summary = "see x"}},
             {S::working, {.name = "Notification", .notificationType = "permission_prompt"}, {}},
             {S::awaiting,
              {.name = "Notification", .notificationType = "permission_prompt", .message = "m"},
              {}},
             {S::working, {.name = "Notification", .notificationType = "idle", .message = "m"}, {}},
             {S::done, {.name = "Stop", .lastAssistantMessage = "m"}, {.tool = std::nullopt}},
             {S::working,
              {.name = "StopFailure", .error = "e", .lastAssistantMessage = "--token abc"},
              {std::nullopt, "--token ***"}},
             {S::working, {.name = "StopFailure", .error = "e"}, {std::nullopt, "e"}},
             {S::working, {.name = "StopFailure"}, {std::nullopt, "Turn failed"}},
             {S::working, {.name = "Interrupt"}, {.tool = std::nullopt}},
             {S::working, {.name = "SessionEnd"}, {}},
         }) {
        SessionRecord record = recordIn(from);
        EventReducer::apply(event, record, now);
        EXPECT_EQ(record.tool, shown.tool) << event.name;
        EXPECT_EQ(record.summary, shown.summary) << event.name;
        EXPECT_EQ(record.title, shown.title) << event.name;
    }
}

TEST(EventReducerTests, ATurnStartsOnce) {
    for (const S state : allStates) {
        SessionRecord record = recordIn(state);
        EventReducer::apply({.name = "PreToolUse"}, record, now);
        EXPECT_EQ(record.turnStartedAt, state == S::idle || state == S::done ? now : before)
            << rawValue(state);
    }
    SessionRecord record = recordIn(S::failed);
    record.turnStartedAt.reset();
    EventReducer::apply({.name = "PreToolUse"}, record, now);
    EXPECT_EQ(record.turnStartedAt, now);
    EventReducer::apply({.name = "UserPromptSubmit"}, record, dateFromSeconds(300));
    EXPECT_EQ(record.turnStartedAt, dateFromSeconds(300));
}

} // namespace quorvik
