#include "QuorvikCore/Agents/EventReducer.h"

#include "QuorvikCore/Session/TaskTitle.h"
#include "QuorvikCore/Text/Redactor.h"

#include <algorithm>

namespace quorvik::EventReducer {

namespace {

using State = SessionState;

void enter(State state, SessionRecord& record, Date now) {
    if (record.state == state) return;
    record.state = state;
    record.stateSince = now;
}

// One function for each kind of event. It changes the record as the event demands, and returns false when the
// event means nothing to the user.

bool sessionStarted(const HookEvent& event, SessionRecord& record, Date now) {
    if (record.state == State::failed || record.state == State::ended) enter(State::idle, record, now);
    if (event.source == "clear") record.title.reset();
    return true;
}

bool promptSubmitted(const HookEvent& event, SessionRecord& record, Date now) {
    // apply() has already put the event's folder, if it names one, into record.cwd
    if (auto title = TaskTitle::make(event.prompt, event.source, record.cwd)) record.title = std::move(title);
    record.turnStartedAt = now;
    record.tool.reset();
    record.summary.reset();
    enter(State::working, record, now);
    return true;
}

bool toolStarts(const HookEvent& event, SessionRecord& record, Date now) {
    const bool turnIsOver = record.state == State::idle || record.state == State::done;
    if (!record.turnStartedAt || turnIsOver) record.turnStartedAt = now;
    record.tool = event.toolName;
    record.summary = event.toolSummary();
    enter(event.isQuestionTool() ? State::awaiting : State::working, record, now);
    return true;
}

bool permissionRequested(const HookEvent& event, SessionRecord& record, Date now) {
    if (event.toolName) record.tool = event.toolName;
    if (auto summary = event.toolSummary()) record.summary = std::move(summary);
    enter(State::awaiting, record, now);
    return true;
}

/// The tool or compaction is over, so a session that was awaiting or compacting works again. A session in any
/// other state keeps it: a late event does not revive one that has finished.
bool workResumed(const HookEvent&, SessionRecord& record, Date now) {
    if (record.state == State::awaiting || record.state == State::compacting)
        enter(State::working, record, now);
    return true;
}

bool notified(const HookEvent& event, SessionRecord& record, Date now) {
    if (event.notificationType != "permission_prompt" && event.notificationType != "elicitation_dialog")
        return false;
    if (record.state == State::awaiting) return true; // what it waits for is known better already
    if (event.message) record.summary = Redactor::redact(*event.message, record.cwd);
    enter(State::awaiting, record, now);
    return true;
}

bool compactionStarts(const HookEvent&, SessionRecord& record, Date now) {
    enter(State::compacting, record, now);
    return true;
}

/// The summary stays: the last action remains visible.
bool stopped(const HookEvent&, SessionRecord& record, Date now) {
    record.tool.reset();
    enter(State::done, record, now);
    return true;
}

bool failed(const HookEvent& event, SessionRecord& record, Date now) {
    record.tool.reset();
    const std::string why = event.lastAssistantMessage.value_or(event.error.value_or("Turn failed"));
    record.summary = Redactor::redact(why, record.cwd);
    enter(State::failed, record, now);
    return true;
}

bool interrupted(const HookEvent&, SessionRecord& record, Date now) {
    record.tool.reset();
    enter(State::idle, record, now);
    return true;
}

bool sessionEnded(const HookEvent&, SessionRecord& record, Date now) {
    enter(State::ended, record, now);
    return true;
}

struct Rule {
    std::string_view event;
    bool (*apply)(const HookEvent&, SessionRecord&, Date);
};

constexpr Rule rules[] = {
    {"SessionStart", sessionStarted},
    {"UserPromptSubmit", promptSubmitted},
    {"PreToolUse", toolStarts},
    {"PermissionRequest", permissionRequested},
    {"PostToolUse", workResumed},
    {"PostToolUseFailure", workResumed},
    {"PostToolBatch", workResumed},
    {"PostCompact", workResumed},
    {"PostCompaction", workResumed},
    {"SubagentStart", workResumed},
    {"Notification", notified},
    {"PreCompact", compactionStarts},
    {"Stop", stopped},
    {"StopFailure", failed},
    {"Interrupt", interrupted},
    {"SessionEnd", sessionEnded},
};

const Rule* ruleFor(std::string_view event) {
    const Rule* rule = std::ranges::find(rules, event, &Rule::event);
    return rule == std::end(rules) ? nullptr : rule;
}

} // namespace

bool apply(const HookEvent& event, SessionRecord& record, Date now) {
    if (!event.cwd.empty()) record.cwd = event.cwd;
    record.lastEvent = event.name;
    record.updatedAt = now;
    const Rule* rule = ruleFor(event.name);
    return rule && rule->apply(event, record, now);
}

bool knows(std::string_view event) {
    return ruleFor(event) != nullptr;
}

} // namespace quorvik::EventReducer
