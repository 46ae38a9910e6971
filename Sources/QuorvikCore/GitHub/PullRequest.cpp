#include "QuorvikCore/GitHub/PullRequest.h"

namespace quorvik {

PullRequestInfo PullRequestInfo::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    PullRequestInfo info;
    reader.required("state", info.state);
    reader.optional("reviewDecision", info.reviewDecision);
    return info;
}

namespace PullRequestClassifier {

namespace {

using Kind = PullRequestEventKind;

bool isPullRequest(const GitHubNotification& notification) {
    return notification.subject.type == "PullRequest";
}

/// The kind that follows from the reason alone; absent for reasons whose kind depends on the pull request.
std::optional<Kind> kindOfReason(std::string_view reason) {
    if (reason == "review_requested") return Kind::reviewRequested;
    if (reason == "mention" || reason == "team_mention") return Kind::mentioned;
    if (reason == "assign") return Kind::assigned;
    return std::nullopt;
}

std::optional<Kind> kindOfState(std::string_view reason, const PullRequestInfo& info) {
    if (info.state == "MERGED") return Kind::merged;
    if (info.state == "CLOSED") return Kind::closed;
    if (reason == "author") {
        if (info.reviewDecision == "CHANGES_REQUESTED") return Kind::changesRequested;
        if (info.reviewDecision == "APPROVED") return Kind::approved;
        return Kind::activity;
    }
    if (reason == "comment") return Kind::activity;
    return std::nullopt;
}

} // namespace

bool needsInfo(const GitHubNotification& notification) {
    return isPullRequest(notification) && !kindOfReason(notification.reason);
}

std::optional<PullRequestEvent> classify(const GitHubNotification& notification,
                                         const std::optional<PullRequestInfo>& info,
                                         std::string_view webBase) {
    std::optional<Kind> kind = kindOfReason(notification.reason);
    if (kind) {
        const bool maybeIssue = kind != Kind::reviewRequested && notification.subject.type == "Issue";
        if (!isPullRequest(notification) && !maybeIssue) return std::nullopt;
    } else if (isPullRequest(notification) && info) {
        kind = kindOfState(notification.reason, *info);
    }
    if (!kind) return std::nullopt;
    return PullRequestEvent{*kind, notification.subject.title, notification.repository.fullName,
                            notification.number(), notification.htmlURL(webBase)};
}

} // namespace PullRequestClassifier

} // namespace quorvik
