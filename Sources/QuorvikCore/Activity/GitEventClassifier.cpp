#include "QuorvikCore/Activity/GitEventClassifier.h"

#include <string_view>

namespace quorvik::GitEventClassifier {

namespace {

enum class Detail { branch, subject };

struct HeadRule {
    std::string_view message; ///< what the reflog entry begins with
    const char* op;
    Detail detail;
};

/// The first that fits counts: longer beginnings stand before "commit". The last one fits everything.
constexpr HeadRule headRules[] = {
    {"commit (amend)", "Amended", Detail::subject},
    {"commit (merge)", "Merged", Detail::branch},
    {"merge", "Merged", Detail::branch},
    {"commit", "Committed", Detail::subject},
    {"pull", "Pulled", Detail::branch},
    {"rebase", "Rebased", Detail::branch},
    {"reset", "Reset", Detail::subject},
    {"cherry-pick", "Cherry-picked", Detail::subject},
    {"revert", "Reverted", Detail::subject},
    {"checkout", "Switched branch", Detail::subject}, // to or from a detached HEAD
    {"", "Updated", Detail::subject},
};

std::string fromTo(const std::string& from, const std::string& to) {
    return from + " → " + to;
}

bool bothDiffer(const std::optional<std::string>& before, const std::optional<std::string>& after) {
    return before && after && *before != *after;
}

std::optional<GitEvent> upstreamEvent(const GitSnapshot& before, const GitSnapshot& after,
                                      const std::string& branch) {
    if (!after.upstream || after.upstream == before.upstream) return std::nullopt;
    const std::string message = after.upstreamMessage.value_or("");
    if (message.find("update by push") != message.npos)
        return GitEvent{"Pushed", after.upstreamName ? fromTo(branch, *after.upstreamName) : branch};
    // An upstream that was absent before was only set now: that is no fetch.
    if (before.upstream && message.starts_with("fetch"))
        return GitEvent{"Fetched", after.upstreamName.value_or(branch)};
    return std::nullopt;
}

std::optional<GitEvent> stashEvent(const GitSnapshot& before, const GitSnapshot& after,
                                   const std::string& branch) {
    if (before.stash == after.stash) return std::nullopt;
    return GitEvent{before.stash ? "Stash updated" : "Stashed", branch};
}

} // namespace

std::optional<GitEvent> classify(const GitSnapshot& before, const GitSnapshot& after) {
    const std::string branch = after.branch.value_or("");
    if (bothDiffer(before.branch, after.branch))
        return GitEvent{"Switched branch", fromTo(*before.branch, branch)};
    if (bothDiffer(before.head, after.head)) {
        const std::string message = after.headMessage.value_or("");
        for (const HeadRule& rule : headRules) {
            if (message.starts_with(rule.message))
                return GitEvent{rule.op,
                                rule.detail == Detail::branch ? branch : after.subject.value_or(branch)};
        }
    }
    if (auto event = upstreamEvent(before, after, branch)) return event;
    return stashEvent(before, after, branch);
}

} // namespace quorvik::GitEventClassifier
