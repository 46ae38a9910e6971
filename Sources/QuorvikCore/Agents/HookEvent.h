#pragma once

#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <memory>
#include <vector>

namespace quorvik {

/// One lifecycle event of an agent's session, the same for all agents: every key under one name, every event
/// by its canonical name. Texts are UTF-8, repaired where the agent's were not.
struct HookEvent {
    std::string name;                    ///< canonical: "PreToolUse", "Stop"…
    std::string sessionID;               ///< never empty
    std::string cwd;                     ///< the agent's working folder; empty when it gives none
    std::optional<std::string> toolName; ///< the tool that a tool event is about
    /// The tool's arguments: name → JSON text, as it came; parts of the payload's bytes, or of `kept`.
    RawJSON::MemberViews toolInput;
    std::optional<std::string> notificationType;
    std::optional<std::string> message; ///< of a notification
    std::optional<std::string> error;   ///< of a failed tool call or turn
    std::optional<std::string> lastAssistantMessage;
    std::optional<std::string> prompt;                ///< what the user wrote
    std::optional<std::string> source;                ///< for example how the session started: "clear"
    std::optional<std::string> permissionSuggestions; ///< rules that the agent suggests: a JSON text

    /// What an event keeps for itself. It says nothing about the event, so all are equal.
    struct Kept {
        std::shared_ptr<const std::string>
            text; ///< that `toolInput` refers to, if not to the payload's bytes
        bool operator==(const Kept&) const { return true; }
    };
    Kept kept;

    /// Absent when the payload names no event or no session. A member of the wrong type counts as missing;
    /// permission suggestions are taken as text or as a list, and an empty list counts as missing. The bytes
    /// of the payload must outlive the event.
    static std::optional<HookEvent> fromPayload(const HookPayload& payload);

    /// fromPayload() for the bytes of a payload that needs no PayloadNormaliser. Absent also when the bytes
    /// are not a JSON object. The event keeps a copy of the bytes.
    static std::optional<HookEvent> fromJSON(std::string_view bytes);

    /// "Stop" for "agentStop": the canonical spelling of a camel-case name; any other name as it is.
    static std::string canonicalName(std::string_view name);

    /// The arguments of a tool call, given as an object or as the JSON text of one, under the first of the
    /// four keys in use that has them; empty when there are none.
    static RawJSON::Members toolInputFrom(const HookPayload& payload);

    /// The arguments of a tool call as one JSON text, as the agent wrote it; absent when there are none. Of a
    /// long text there is only the start, at least `limit` bytes of it.
    static std::optional<std::string> toolInputText(const HookPayload& payload,
                                                    std::size_t limit = std::string::npos);

    /// Whether the tool asks the user questions.
    bool isQuestionTool() const;

    /// The questions of a question tool; empty when there are none, or none that can be shown.
    std::vector<Question> questions() const;

    /// The most telling argument of the tool call, redacted: its command, else its file, pattern, address…
    /// Absent when it has none of these.
    std::optional<std::string> toolSummary() const;

    /// The text of the first question, redacted; absent when there is none.
    std::optional<std::string> firstQuestion() const;

    /// What the app is to ask the user because of this event; absent when there is nothing to ask. A question
    /// list that cannot be shown does not suppress the permission that the tool call needs: the permission is
    /// then asked for without the questions. The questions of an agent that takes no answers from its hook
    /// are left to that agent, since a bare permission would not answer them. `id` names the request.
    std::optional<ApprovalRequest> approvalRequest(Source agent, std::string id) const;

    bool operator==(const HookEvent&) const = default;
};

} // namespace quorvik
