#include "quorvik_hook/AgentEvent.h"

#include "quorvik_hook/AgentSession.h"
#include "quorvik_hook/Termination.h"

#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"
#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/RandomID.h"
#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <filesystem>

namespace quorvik::AgentEvent {

namespace {

/// Agents kill their hook after 130 seconds. Connecting may take 5 of them besides.
constexpr std::chrono::seconds patience(120);

using Process = std::optional<ProcessInspector::Info>;

/// A payload that means something, and what it means.
struct Report {
    HookEvent event;
    bool isManualCompaction = false;
    std::optional<ApprovalRequest> request;
};

void countNotUnderstood(Source agent, std::string_view event) {
    HookLedger::countNotUnderstood(agent, event, std::chrono::system_clock::now());
}

std::optional<Report> reportOf(std::string_view bytes, Source agent, const Process& process) {
    auto payload = HookPayload::read(bytes);
    if (!payload) {
        countNotUnderstood(agent, HookLedger::unreadable);
        return std::nullopt;
    }
    std::error_code unknown;
    const PayloadNormaliser::Surroundings surroundings{
        Platform::environmentValue("DEVIN_PROJECT_DIR"), std::filesystem::current_path(unknown).string(),
        Platform::environmentValue("COPILOT_ALLOW_ALL"),
        [&] { return process ? ProcessInspector::arguments(process->pid) : std::vector<std::string>(); }};
    if (PayloadNormaliser::normalise(*payload, agent, surroundings) == PayloadNormaliser::Verdict::drop)
        return std::nullopt;
    auto event = HookEvent::fromPayload(*payload);
    if (!event) {
        countNotUnderstood(agent, HookLedger::incomplete);
        return std::nullopt;
    }
    auto request = event->approvalRequest(agent, Platform::newUUID());
    if (request) request->input = HookEvent::toolInputText(*payload, ApprovalWire::maxLine);
    return Report{std::move(*event), payload->isManualCompaction(), std::move(request)};
}

/// Whether Claude Code ignores this reply: a bare "allow" of a plan or a question, for which it goes on
/// asking by itself.
bool isIgnored(const ApprovalRequest& request, const HookEvent& event, const ApprovalResponse& response) {
    const bool allows =
        response.decision == ApprovalDecision::allow || response.decision == ApprovalDecision::allowAlways;
    const bool isBare = !request.isQuestion() || response.decision == ApprovalDecision::allowAlways;
    return request.source == Source::claude && allows && isBare &&
           (event.isQuestionTool() || event.toolName == "ExitPlanMode");
}

/// False when the event means nothing, or the store cannot be written in time.
bool record(const AgentSession& session, const Report& report) {
    try {
        return session.fold(report.event, report.isManualCompaction, report.request);
    } catch (const FileError&) {
        return false; // which is no reason to leave a question unasked
    }
}

} // namespace

void handle(std::string_view payload, Source agent, std::int32_t startedBy,
            const std::function<bool(const std::string&)>& print) {
    const Process process = ProcessInspector::agentProcess(startedBy);
    const auto report = reportOf(payload, agent, process);
    if (!report) return;
    const AgentSession session(agent, report->event, process);
    const auto& request = report->request;
    if (!request) {
        record(session, *report);
        if (!EventReducer::knows(report->event.name)) countNotUnderstood(agent, report->event.name);
        return;
    }

    const PostponedTermination termination; // a request that was noted is struck off before we go
    const bool isRecorded = record(session, *report);
    const auto isWithdrawn = [&] { return PostponedTermination::isRequested() || !session.agentIsRunning(); };
    const auto response =
        ApprovalClient::ask(*request, patience, QuorvikPaths::approvalSocket().string(), [&] {
            return !isWithdrawn() && (!isRecorded || session.isStillWaitingFor(request->id));
        });
    const auto reply = response ? ApprovalWire::hookOutput(*request, *response) : std::nullopt;
    const bool isAnswered = reply && print(*reply) && !isIgnored(*request, report->event, *response);
    if (!isRecorded) return;
    using End = AgentSession::End;
    session.endWait(request->id,
                    isAnswered ? End::answered : (isWithdrawn() ? End::withdrawn : End::leftToAgent));
}

} // namespace quorvik::AgentEvent
