#include "quorvik_hook/AgentEvent.h"

#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"
#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/RandomID.h"
#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <algorithm>
#include <filesystem>

namespace quorvik::AgentEvent {

namespace {

/// Agents kill their hook after 130 seconds. Connecting may take 5 of them besides.
constexpr std::chrono::seconds patience(120);

Date now() {
    return std::chrono::system_clock::now();
}

std::optional<HookEvent> eventOf(std::string_view bytes, Source agent) {
    auto payload = HookPayload::read(bytes);
    if (!payload) return std::nullopt;
    std::error_code unknown;
    const PayloadNormaliser::Surroundings surroundings{Platform::environmentValue("DEVIN_PROJECT_DIR"),
                                                       std::filesystem::current_path(unknown).string()};
    if (PayloadNormaliser::normalise(*payload, agent, surroundings) == PayloadNormaliser::Verdict::drop)
        return std::nullopt;
    return HookEvent::fromPayload(*payload);
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, name) != names.end();
}

/// The record of one session, and what it waits for, changed under the store's lock.
class Session {
  public:
    Session(Source agent, const HookEvent& event)
        : agent_(agent), id_(event.sessionID), folder_(QuorvikPaths::sessionsDirectory()),
          file_(SessionStore::fileURL(agent, event.sessionID, folder_)) {}

    /// False when the event does not count, and nothing was written.
    bool fold(const HookEvent& event, std::int32_t startedBy,
              const std::optional<ApprovalRequest>& request) const {
        const auto process = ProcessInspector::agentProcess(startedBy);
        const auto environment = Platform::environment();
        return change([&](std::optional<SessionRecord>& record) {
            if (!record) record.emplace(agent_, id_, event.cwd, now());
            if (!EventReducer::apply(event, *record, now())) {
                record.reset();
                return;
            }
            settleRequests(event);
            if (request) OpenRequests::add(file_, request->id, event.toolName, event.toolSummary());
            if (process) {
                record->pid = process->pid;
                record->pidStartTime = process->startTime;
            }
            record->host = HostInfo::fromEnvironment(environment, process ? process->tty : record->host.tty);
        });
    }

    /// The wait for a request is over. When the user answered here, the agent goes on, unless it waits for
    /// the answer to another one.
    void endWait(const std::string& requestID, bool answered) const {
        change([&](std::optional<SessionRecord>& record) {
            const bool waitsForMore = OpenRequests::strikeOff(file_, requestID);
            if (!record) return;
            if (!answered || waitsForMore || record->state != SessionState::awaiting) {
                record.reset();
                return;
            }
            record->state = SessionState::working;
            record->stateSince = record->updatedAt = now();
        });
    }

    /// False once the user answered in the agent's own interface: nobody tells the hook, but what the agent
    /// does next shows it. Work that goes on beside the request (subagents, parallel tool calls) shows
    /// nothing.
    bool isStillWaitingFor(const std::string& requestID) const {
        return OpenRequests::isOpen(file_, requestID);
    }

  private:
    void settleRequests(const HookEvent& event) const {
        if (isOneOf(event.name, {"PostToolUse", "PostToolUseFailure"}))
            OpenRequests::toolHasRun(file_, event.toolName, event.toolSummary());
        if (isOneOf(event.name,
                    {"UserPromptSubmit", "Stop", "StopFailure", "Interrupt", "SessionEnd", "PostToolBatch"}))
            OpenRequests::clear(file_);
    }

    /// Writes, and tells the app, unless `mutate` leaves no record; returns which.
    bool change(const std::function<void(std::optional<SessionRecord>&)>& mutate) const {
        bool written = false;
        SessionStore::update(agent_, id_, folder_, [&](std::optional<SessionRecord>& record) {
            mutate(record);
            written = record.has_value();
        });
        if (written) SessionStore::postChangeNotification();
        return written;
    }

    Source agent_;
    std::string id_;
    std::filesystem::path folder_;
    std::filesystem::path file_;
};

/// A bare "allow" that Claude Code does not heed: it goes on asking by itself.
bool isIgnored(const ApprovalRequest& request, const HookEvent& event, const ApprovalResponse& response) {
    const bool allows =
        response.decision == ApprovalDecision::allow || response.decision == ApprovalDecision::allowAlways;
    const bool isBare = !request.isQuestion() || response.decision == ApprovalDecision::allowAlways;
    return request.source == Source::claude && allows && isBare &&
           (event.isQuestionTool() || event.toolName == "ExitPlanMode");
}

} // namespace

void handle(std::string_view payload, Source agent, std::int32_t startedBy,
            const std::function<bool(const std::string&)>& print) {
    const auto event = eventOf(payload, agent);
    if (!event) return;
    const Session session(agent, *event);
    const auto request = event->approvalRequest(agent, Platform::newUUID());
    bool isRecorded = false;
    try {
        isRecorded = session.fold(*event, startedBy, request);
    } catch (const FileError&) {
        // A store that cannot be written is no reason to leave a question unasked.
    }
    if (!request) return;
    const auto response =
        ApprovalClient::ask(*request, patience, QuorvikPaths::approvalSocket().string(),
                            [&] { return !isRecorded || session.isStillWaitingFor(request->id); });
    const auto reply = response ? ApprovalWire::hookOutput(*request, *response) : std::nullopt;
    const bool answered = reply && print(*reply) && !isIgnored(*request, *event, *response);
    if (isRecorded) session.endWait(request->id, answered);
}

} // namespace quorvik::AgentEvent
