#include "quorvik_hook/AgentSession.h"

#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Session/ManualCompaction.h"
#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <algorithm>

namespace quorvik {

namespace {

// How long a hook waits for the record's lock, at the event and at the end of its wait. With the rest of its
// work the sum stays below 2 seconds.
constexpr std::chrono::milliseconds foldPatience(1400);
constexpr std::chrono::milliseconds endPatience(400);

Date now() {
    return std::chrono::system_clock::now();
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, name) != names.end();
}

/// Whether the event shows that the agent works, so that a request it waited for has been answered.
bool showsWork(const HookEvent& event) {
    return isOneOf(event.name, {"PostToolUse", "PostToolUseFailure", "PostToolBatch", "SubagentStart"});
}

void enter(SessionState state, SessionRecord& record) {
    record.state = state;
    record.stateSince = now();
}

} // namespace

AgentSession::AgentSession(Source agent, const HookEvent& event,
                           std::optional<ProcessInspector::Info> process)
    : agent_(agent), id_(event.sessionID), folder_(QuorvikPaths::sessionsDirectory()),
      file_(SessionStore::fileURL(agent, event.sessionID, folder_)), process_(std::move(process)) {}

bool AgentSession::fold(const HookEvent& event, bool isManualCompaction,
                        const std::optional<ApprovalRequest>& request) const {
    return change(foldPatience, [&](std::optional<SessionRecord>& record) {
        if (!record) record.emplace(agent_, id_, event.cwd, now());
        const bool isAbandoned =
            record->state == SessionState::awaiting && !OpenRequests::anyWaiting(*record, folder_);
        if (isAbandoned && !showsWork(event)) enter(SessionState::idle, *record);
        if (isManualCompaction && event.name == "PreCompact") ManualCompaction::begin(file_, *record);
        if (isManualCompaction && event.name != "PreCompact") ManualCompaction::end(file_, *record);
        if (!EventReducer::apply(event, *record, now())) {
            record.reset();
            return;
        }
        if (isOneOf(event.name, {"PreToolUse", "PermissionRequest"}))
            if (auto question = event.firstQuestion()) record->summary = std::move(question);
        settleRequests(event);
        if (request) OpenRequests::add(file_, request->id, event.toolName, event.toolSummary());
        if (isAbandoned || record->state == SessionState::awaiting) OpenRequests::strikeOffDead(file_);
        tellTerminal(*record);
    });
}

/// Puts the terminal, and the process to watch, into the record as far as they are certain. A daemon has the
/// environment of whoever started it first, so a process without a terminal of its own does not tell the
/// session's. A daemon also lives on when the session is over, so its process is not watched.
void AgentSession::tellTerminal(SessionRecord& record) const {
    if (!process_) return;
    if (process_->tty) record.host = HostInfo::fromEnvironment(Platform::environment(), process_->tty);
    if (ProcessInspector::isDaemon(*process_)) return;
    record.pid = process_->pid;
    record.pidStartTime = process_->startTime;
}

void AgentSession::settleRequests(const HookEvent& event) const {
    if (isOneOf(event.name, {"PostToolUse", "PostToolUseFailure"}))
        OpenRequests::toolHasRun(file_, event.toolName, event.toolSummary());
    if (isOneOf(event.name,
                {"UserPromptSubmit", "Stop", "StopFailure", "Interrupt", "SessionEnd", "PostToolBatch"}))
        OpenRequests::clear(file_);
}

void AgentSession::endWait(const std::string& requestID, End end) const {
    change(endPatience, [&](std::optional<SessionRecord>& record) {
        const bool waitsForMore = OpenRequests::strikeOff(file_, requestID);
        if (!record) return;
        if (end == End::leftToAgent || waitsForMore || record->state != SessionState::awaiting) {
            record.reset();
            return;
        }
        if (end == End::withdrawn) record->tool.reset(); // as when the user interrupts the turn
        enter(end == End::answered ? SessionState::working : SessionState::idle, *record);
        record->updatedAt = record->stateSince;
    });
}

bool AgentSession::isStillWaitingFor(const std::string& requestID) const {
    return OpenRequests::isOpen(file_, requestID);
}

bool AgentSession::agentIsRunning() const {
    return !process_ || ProcessInspector::isRunning(process_->pid, process_->startTime);
}

/// Writes the record and tells the app, unless `mutate` leaves none. Returns whether there was one.
bool AgentSession::change(std::chrono::milliseconds patience,
                          const std::function<void(std::optional<SessionRecord>&)>& mutate) const {
    bool written = false;
    SessionStore::update(
        agent_, id_, folder_,
        [&](std::optional<SessionRecord>& record) {
            mutate(record);
            written = record.has_value();
        },
        patience);
    if (written) SessionStore::postChangeNotification();
    return written;
}

} // namespace quorvik
