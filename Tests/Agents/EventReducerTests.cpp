#include "QuorvikCore/Agents/EventReducer.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvik {

using S = SessionState;

namespace {

constexpr std::string_view letters = "iwacfde"; // idle, working, awaiting, compacting, failed, done, ended
const Date before = dateFromSeconds(100);
const Date now = dateFromSeconds(200);

SessionRecord recordIn(S state) {
    SessionRecord record(Source::claude, "s", "/old", before);
    record.state = state;
    record.tool = "Old";
    record.summary = "old";
    record.title = "Title";
    record.turnStartedAt = before;
    return record;
}

/// An event of the name, in quotes, and the members after it.
HookEvent eventNamed(const std::string& name) {
    return *HookEvent::fromJSON("{\"session_id\":\"s\",\"hook_event_name\":" + name + "}");
}

} // namespace

TEST(EventReducerTests, TheStateAfterEachEvent) {
    std::istringstream cases(R"(
        iwacidi 1 "SessionStart"
        wwwwwww 1 "UserPromptSubmit"
        wwwwwww 1 "PreToolUse","tool_name":"Bash"
        aaaaaaa 1 "PreToolUse","tool_name":"AskUserQuestion"
        aaaaaaa 1 "PermissionRequest"
        iwwwfde 1 "PostToolUse"
        iwwwfde 1 "PostToolUseFailure"
        iwwwfde 1 "PostCompact"
        iwwwfde 1 "PostCompaction"
        iwwwfde 1 "SubagentStart"
        aaaaaaa 1 "Notification","notification_type":"permission_prompt"
        aaaaaaa 1 "Notification","notification_type":"elicitation_dialog"
        iwacfde 0 "Notification","notification_type":"idle"
        iwacfde 0 "Notification"
        ccccccc 1 "PreCompact"
        ddddddd 1 "Stop"
        fffffff 1 "StopFailure"
        iiiiiii 1 "Interrupt"
        eeeeeee 1 "SessionEnd"
        iwacfde 0 "SubagentStop")");
    std::string after, name; // the states after the event, from each of the states
    for (bool means; cases >> after >> means && std::getline(cases, name);) {
        for (std::size_t from = 0; from < letters.size(); ++from) {
            SessionRecord record = recordIn(static_cast<S>(from));
            EXPECT_EQ(EventReducer::apply(eventNamed(name), record, now), means) << name;
            EXPECT_EQ(letters[static_cast<std::size_t>(record.state)], after[from]) << name << from;
            EXPECT_EQ(record.stateSince, letters[from] == after[from] ? before : now) << name << from;
            EXPECT_EQ(record.updatedAt, now);
            EXPECT_EQ(record.lastEvent, eventNamed(name).name);
        }
    }
}

TEST(EventReducerTests, WhatIsShown) {
    std::istringstream cases(R"(
        working  Old old     -     "SessionStart","source":"clear"
        done     -   -       Do_it "UserPromptSubmit","prompt":"# Do_/old/it"
        done     -   -       Title "UserPromptSubmit","prompt":"yes"
        working  T   /old/x  Title "PreToolUse","tool_name":"T","tool_input":{"path":"/old/x"}
        working  T   x       Title "PreToolUse","tool_name":"T","tool_input":{"path":"/old/x"},"cwd":"/old"
        working  -   -       Title "PreToolUse"
        working  T   /old/x  Title "PermissionRequest","tool_name":"T","tool_input":{"path":"/old/x"}
        working  Old old     Title "PermissionRequest"
        awaiting Old old     Title "PostToolUse","tool_name":"T","tool_input":{"path":"/old/x"}
        working  Old x       Title "Notification","notification_type":"permission_prompt","message":"/old/x"
        awaiting Old old     Title "Notification","notification_type":"permission_prompt","message":"/old/x"
        done     -   old     Title "Stop","last_assistant_message":"m"
        working  -   m       Title "StopFailure","error":"e","last_assistant_message":"/old/m"
        working  -   e       Title "StopFailure","error":"e")");
    for (std::string from, tool, summary, title, name; cases >> from >> tool >> summary >> title;) {
        std::getline(cases, name);
        SessionRecord record = recordIn(*fromRawValue<S>(from));
        EventReducer::apply(eventNamed(name), record, now);
        EXPECT_EQ(record.tool.value_or("-"), tool) << name;
        EXPECT_EQ(record.summary.value_or("-"), summary) << name;
        EXPECT_EQ(record.title.value_or("-"), title) << name;
        EXPECT_EQ(record.cwd, "/old");
    }
    SessionRecord record = recordIn(S::working);
    EventReducer::apply({.name = "StopFailure", .cwd = "/new"}, record, now);
    EXPECT_EQ(record.summary, "Turn failed");
    EXPECT_EQ(record.cwd, "/new");
}

TEST(EventReducerTests, ATurnStartsOnce) {
    for (const S state : {S::idle, S::working, S::awaiting, S::compacting, S::failed, S::done, S::ended}) {
        SessionRecord record = recordIn(state);
        EventReducer::apply({.name = "PreToolUse"}, record, now);
        EXPECT_EQ(record.turnStartedAt, state == S::idle || state == S::done ? now : before);
        EventReducer::apply({.name = "UserPromptSubmit"}, record, dateFromSeconds(300));
        EXPECT_EQ(record.turnStartedAt, dateFromSeconds(300));
    }
}

} // namespace quorvik
