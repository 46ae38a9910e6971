#pragma once

#include "QuorvikCore/Approvals/Question.h"
#include "QuorvikCore/Session/Source.h"

namespace quorvik {

/// What an agent wants of its user, as it travels to the app: a permission, or answers to questions. JSON
/// keys are the field names.
struct ApprovalRequest {
    std::string id;
    Source source = Source::claude;
    std::string sessionID;
    std::string cwd;
    std::optional<std::string> tool;                ///< the tool's name, as the agent calls it
    std::optional<std::string> summary;             ///< one redacted line: what it would do
    std::optional<std::string> suggestions;         ///< the agent's suggested permission rules: a JSON text
    std::optional<std::vector<Question>> questions; ///< present: these are to be answered
    std::optional<std::string> questionsJSON; ///< the agent's question list exactly as received: a JSON text
    std::optional<std::string>
        input; ///< the tool's arguments as the agent wrote them: a JSON text, not redacted
    std::optional<bool> inputTruncated; ///< true: only the begin of `input` is there, or nothing of it

    /// "<source>-<session id>": the session it belongs to.
    std::string key() const;

    /// Whether it asks questions instead of a permission. The list of questions may be empty.
    bool isQuestion() const { return questions.has_value(); }

    /// Whether `allowAlways` has a meaning: the agent suggests rules, and this is no question.
    bool canAlwaysAllow() const { return suggestions && !suggestions->empty() && !questions; }

    /// Strict: throws RecordError.
    static ApprovalRequest fromJSON(const nlohmann::json& value);
    nlohmann::json toJSON() const;

    bool operator==(const ApprovalRequest&) const = default;
};

enum class ApprovalDecision {
    allow,       ///< this once; of questions: they were answered
    allowAlways, ///< and keep the agent's suggested rules
    deny,
    ask ///< the user answers in the agent's own interface
};

template <>
inline constexpr std::array<std::string_view, 4> rawValues<ApprovalDecision> = {"allow", "allowAlways",
                                                                                "deny", "ask"};

/// What the user decided. JSON keys are the field names.
struct ApprovalResponse {
    ApprovalDecision decision = ApprovalDecision::ask;
    std::optional<std::string> message;              ///< the reason of a denial
    std::optional<std::vector<std::string>> answers; ///< one for each question, in their order

    /// Strict: throws RecordError.
    static ApprovalResponse fromJSON(const nlohmann::json& value);
    nlohmann::json toJSON() const;

    bool operator==(const ApprovalResponse&) const = default;
};

} // namespace quorvik
