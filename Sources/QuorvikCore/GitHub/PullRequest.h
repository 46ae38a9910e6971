#pragma once

#include "QuorvikCore/GitHub/GitHubNotification.h"

namespace quorvik {

/// What a pull request has come to, as `gh pr view --json state,reviewDecision` prints it.
struct PullRequestInfo {
    std::string state;                         ///< "OPEN", "MERGED", "CLOSED"
    std::optional<std::string> reviewDecision; ///< "APPROVED", "CHANGES_REQUESTED"…

    /// Strict: throws RecordError. Only the decision may be missing.
    static PullRequestInfo fromJSON(const nlohmann::json& value);
    bool operator==(const PullRequestInfo&) const = default;
};

enum class PullRequestEventKind {
    reviewRequested,
    changesRequested,
    mentioned, ///< mentions and assignments are told of issues as well
    assigned,
    approved,
    merged,
    closed,
    activity ///< on a pull request of the user's own, or a comment
};

template <>
inline constexpr std::array<std::string_view, 8> rawValues<PullRequestEventKind> = {
    "reviewRequested", "changesRequested", "mentioned", "assigned",
    "approved",        "merged",           "closed",    "activity"};

/// What a notification says to the user.
struct PullRequestEvent {
    PullRequestEventKind kind = PullRequestEventKind::activity;
    std::string title;
    std::string repo;                   ///< "owner/name"
    std::optional<std::int64_t> number; ///< of the pull request or issue
    std::optional<std::string> url;     ///< its page

    bool operator==(const PullRequestEvent&) const = default;
};

/// Picks the notifications worth showing. Types, reasons and states are compared exactly.
namespace PullRequestClassifier {

/// Whether classify() needs the pull request's state. It is fetched only then, from the subject's URL, since
/// it costs a request of its own.
bool needsInfo(const GitHubNotification& notification);

/// The event; absent for what is not shown, and when the state is needed and `info` absent. `webBase` as for
/// GitHubNotification::htmlURL.
std::optional<PullRequestEvent> classify(const GitHubNotification& notification,
                                         const std::optional<PullRequestInfo>& info,
                                         std::string_view webBase = gitHubWebBase);

} // namespace PullRequestClassifier

} // namespace quorvik
