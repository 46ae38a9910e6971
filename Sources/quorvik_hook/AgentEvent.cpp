#include "quorvik_hook/AgentEvent.h"

#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"
#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/RandomID.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <algorithm>
#include <array>
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

/// The record of one session, changed under the store's lock.
class Session {
  public:
    Session(Source agent, const HookEvent& event)
        : agent_(agent), id_(event.sessionID), folder_(QuorvikPaths::sessionsDirectory()) {}

    /// Returns the record as it was written; absent when the event does not count.
    std::optional<SessionRecord> fold(const HookEvent& event, std::int32_t startedBy) const {
        const auto process = ProcessInspector::agentProcess(startedBy);
        const auto environment = Platform::environment();
        std::optional<SessionRecord> written;
        change([&](std::optional<SessionRecord>& record) {
            if (!record) record.emplace(agent_, id_, event.cwd, now());
            if (!EventReducer::apply(event, *record, now())) {
                record.reset();
                return;
            }
            if (process) {
                record->pid = process->pid;
                record->pidStartTime = process->startTime;
            }
            record->host = HostInfo::fromEnvironment(environment, process ? process->tty : record->host.tty);
            written = record;
        });
        return written;
    }

    /// The user answered here: the agent goes on. Unless it waits for something else by now.
    void resume(const SessionRecord& asked) const {
        change([&](std::optional<SessionRecord>& record) {
            if (!record) return;
            if (record->state != SessionState::awaiting || !isAbout(*record, asked)) {
                record.reset();
                return;
            }
            record->state = SessionState::working;
            record->stateSince = record->updatedAt = now();
        });
    }

    /// Whether the agent may still be waiting for the answer to what `asked` was written for. The user can
    /// answer in the agent's own interface, and nobody tells the hook; what the agent does next shows it.
    /// Work that goes on beside the request (subagents, parallel tool calls) shows nothing.
    bool isStillWaiting(const SessionRecord& asked) const {
        const auto loaded = SessionStore::load(SessionStore::fileURL(agent_, id_, folder_));
        const SessionRecord* record = loaded.record();
        if (!record || record->updatedAt == asked.updatedAt) return true;
        const auto isOneOf = [](const auto& value, const auto& values) {
            return std::ranges::find(values, value) != values.end();
        };

        constexpr std::array turnIsOver = {SessionState::idle, SessionState::failed, SessionState::done,
                                           SessionState::ended};
        if (isOneOf(record->state, turnIsOver)) return false;
        if (record->lastEvent == "UserPromptSubmit") return false;
        if (asked.turnStartedAt && record->turnStartedAt != asked.turnStartedAt) return false;
        constexpr std::array<std::string_view, 3> toolIsOver = {"PostToolUse", "PostToolUseFailure",
                                                                "PostToolBatch"};
        return !(isOneOf(record->lastEvent.value_or(""), toolIsOver) && isAbout(*record, asked));
    }

  private:
    static bool isAbout(const SessionRecord& record, const SessionRecord& asked) {
        return record.tool == asked.tool && record.summary == asked.summary;
    }

    /// Writes, and tells the app, unless `mutate` leaves no record.
    void change(const std::function<void(std::optional<SessionRecord>&)>& mutate) const {
        bool written = false;
        SessionStore::update(agent_, id_, folder_, [&](std::optional<SessionRecord>& record) {
            mutate(record);
            written = record.has_value();
        });
        if (written) SessionStore::postChangeNotification();
    }

    Source agent_;
    std::string id_;
    std::filesystem::path folder_;
};

} // namespace

void handle(std::string_view payload, Source agent, std::int32_t startedBy,
            const std::function<bool(const std::string&)>& print) {
    const auto event = eventOf(payload, agent);
    if (!event) return;
    const Session session(agent, *event);
    std::optional<SessionRecord> asked;
    try {
        asked = session.fold(*event, startedBy);
    } catch (const FileError&) {
        // A store that cannot be written is no reason to leave a question unasked.
    }
    const auto request = event->approvalRequest(agent, Platform::newUUID());
    if (!request) return;
    const auto response = ApprovalClient::ask(*request, patience, QuorvikPaths::approvalSocket().string(),
                                              [&] { return !asked || session.isStillWaiting(*asked); });
    const auto reply = response ? ApprovalWire::hookOutput(*request, *response) : std::nullopt;
    if (reply && print(*reply) && asked) session.resume(*asked);
}

} // namespace quorvik::AgentEvent
