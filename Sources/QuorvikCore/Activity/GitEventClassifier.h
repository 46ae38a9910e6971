#pragma once

#include <optional>
#include <string>

namespace quorvik {

/// A repository's state, as far as it tells what was done to it. All fields are what git itself says; the
/// empty text is a value like any other.
struct GitSnapshot {
    std::optional<std::string> branch;          ///< current branch; absent when HEAD is detached or unknown
    std::optional<std::string> head;            ///< id of the commit that HEAD points at
    std::optional<std::string> subject;         ///< first line of that commit's message
    std::optional<std::string> headMessage;     ///< newest reflog entry of HEAD: "commit (amend): …"
    std::optional<std::string> upstream;        ///< id of the commit that the branch's upstream points at
    std::optional<std::string> upstreamName;    ///< the upstream's short name: "origin/main"
    std::optional<std::string> upstreamMessage; ///< newest reflog entry of the upstream: "update by push"
    std::optional<std::string> stash;           ///< id of the newest stash entry; absent without one

    bool operator==(const GitSnapshot&) const = default;
};

/// What was done in a repository, for people.
struct GitEvent {
    std::string op;     ///< "Committed", "Switched branch"…
    std::string detail; ///< under it: a branch, a commit's subject, or "from → to"; may be empty

    bool operator==(const GitEvent&) const = default;
};

namespace GitEventClassifier {

/// What happened between two snapshots of one repository; absent when nothing did that is worth a word. Where
/// it was more than one thing the most telling is named: another branch, then another commit (its reflog
/// entry says how it came about), then the upstream (pushed, fetched), then the stash.
std::optional<GitEvent> classify(const GitSnapshot& before, const GitSnapshot& after);

} // namespace GitEventClassifier

} // namespace quorvik
