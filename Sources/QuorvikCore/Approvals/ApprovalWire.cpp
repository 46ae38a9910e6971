#include "QuorvikCore/Approvals/ApprovalWire.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::ApprovalWire {

namespace {

using RawJSON::encoded;
using Decision = ApprovalDecision;
/// A JSON text, or nothing to print.
using Reply = std::optional<std::string>;

constexpr const char* defaultReason = "Denied from the Quorvik notch";

/// The JSON text of an object; the values are JSON texts, which may be the agent's own.
std::string object(const RawJSON::Members& members) {
    std::string text;
    for (const auto& [key, value] : members)
        text += (text.empty() ? "{" : ",") + encoded(key) + ":" + value;
    return text.empty() ? "{}" : text + "}";
}

/// The agent's own JSON text, ready to stand in a reply; absent when it is not JSON.
Reply agentsOwn(const std::optional<std::string>& text) {
    const auto value = text ? RawJSON::value(*text) : std::nullopt;
    if (!value) return std::nullopt;
    return Unicode::repaired(RawJSON::compacted(*value));
}

std::string hookSpecificOutput(const RawJSON::Members& members) {
    return object({{"hookSpecificOutput", object(members)}});
}

/// The first characters of a text that take no more than so many bytes in a JSON string.
std::string_view beginTaking(std::size_t bytes, std::string_view text) {
    constexpr std::string_view shortEscapes = "\"\\\b\f\n\r\t";
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view after = rest;
        std::size_t cost = 0;
        for (const char c : Unicode::takeCharacter(after)) {
            if (shortEscapes.find(c) != std::string_view::npos)
                cost += 2;
            else
                cost += static_cast<unsigned char>(c) < 0x20 ? 6 : 1;
        }
        if (cost > bytes) break;
        bytes -= cost;
        rest = after;
    }
    return text.substr(0, text.size() - rest.size());
}

bool answersFit(const ApprovalRequest& request, const ApprovalResponse& response) {
    return request.questions && response.answers && response.answers->size() == request.questions->size();
}

Reply copilotReply(const ApprovalResponse& response, const std::string& reason) {
    switch (response.decision) {
    case Decision::allow:
    case Decision::allowAlways: return object({{"behavior", encoded("allow")}});
    case Decision::deny:
        return object({{"behavior", encoded("deny")}, {"interrupt", "false"}, {"message", encoded(reason)}});
    case Decision::ask: break;
    }
    return std::nullopt;
}

Reply devinReply(const ApprovalResponse& response, const std::string& reason) {
    switch (response.decision) {
    case Decision::allow:
    case Decision::allowAlways: return object({{"decision", encoded("approve")}});
    case Decision::deny: return object({{"decision", encoded("block")}, {"reason", encoded(reason)}});
    case Decision::ask: break;
    }
    return std::nullopt;
}

/// Grok's hook can only refuse the tool before it runs, so the answer travels as the reason of a refusal.
Reply grokReply(const ApprovalRequest& request, const ApprovalResponse& response) {
    if (response.decision != Decision::allow || !answersFit(request, response)) return std::nullopt;
    std::string reason = "The user has already answered in the Quorvik notch, so do not ask again. Continue "
                         "with their answer.\n";
    for (std::size_t index = 0; index < response.answers->size(); ++index) {
        if (index > 0) reason += '\n';
        reason += "Question: " + (*request.questions)[index].question +
                  "\nThe user's answer: " + (*response.answers)[index];
    }
    return hookSpecificOutput({{"hookEventName", encoded("PreToolUse")},
                               {"permissionDecision", encoded("deny")},
                               {"permissionDecisionReason", encoded(reason)}});
}

Reply answeredInput(const ApprovalRequest& request, const ApprovalResponse& response) {
    const Reply questions = agentsOwn(request.questionsJSON);
    if (!questions || !answersFit(request, response)) return std::nullopt;
    RawJSON::Members answers;
    for (std::size_t index = 0; index < response.answers->size(); ++index)
        answers[(*request.questions)[index].question] = encoded((*response.answers)[index]);
    return object({{"questions", *questions}, {"answers", object(answers)}});
}

/// The "decision" of the permission-request shape.
Reply permissionDecision(const ApprovalRequest& request, const ApprovalResponse& response,
                         const std::string& reason) {
    RawJSON::Members decision = {{"behavior", encoded("allow")}};
    switch (response.decision) {
    case Decision::allow:
        if (request.isQuestion()) {
            const Reply input = answeredInput(request, response);
            if (!input) return std::nullopt;
            decision["updatedInput"] = *input;
        }
        return object(decision);
    case Decision::allowAlways:
        if (const Reply rules = agentsOwn(request.suggestions);
            rules && rules->front() == '[' && rules != "[]")
            decision["updatedPermissions"] = *rules;
        return object(decision);
    case Decision::deny: return object({{"behavior", encoded("deny")}, {"message", encoded(reason)}});
    case Decision::ask: break;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> requestLine(const ApprovalRequest& request) {
    const auto fitting = [](const ApprovalRequest& candidate) -> std::optional<std::string> {
        if (candidate.input && candidate.input->size() >= maxLine) return std::nullopt;
        std::string line = printJSON(candidate.toJSON());
        if (line.size() >= maxLine) return std::nullopt;
        return line;
    };
    const auto whole = fitting(request);
    if (whole || !request.input) return whole;
    ApprovalRequest shorter = request;
    shorter.inputTruncated = true;
    shorter.input = "";
    if (const auto empty = fitting(shorter))
        shorter.input = beginTaking(maxLine - 1 - empty->size(), *request.input);
    else
        shorter.input.reset();
    return fitting(shorter);
}

std::optional<std::string> hookOutput(const ApprovalRequest& request, const ApprovalResponse& response) {
    const std::string reason = response.message.value_or(defaultReason);
    switch (request.source) {
    case Source::copilot: return copilotReply(response, reason);
    case Source::devin: return devinReply(response, reason);
    case Source::grok: return grokReply(request, response);
    default:
        const Reply decision = permissionDecision(request, response, reason);
        if (!decision) return std::nullopt;
        return hookSpecificOutput({{"hookEventName", encoded("PermissionRequest")}, {"decision", *decision}});
    }
}

} // namespace quorvik::ApprovalWire
