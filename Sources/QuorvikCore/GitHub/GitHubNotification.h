#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// Where GitHub's pages are, with the final slash. A GitHub Enterprise server has a base of its own, to be
/// given instead of this one.
inline constexpr std::string_view gitHubWebBase = "https://github.com/";

/// One element of GitHub's list of notifications (GET /notifications), as far as it is used.
struct GitHubNotification {
    struct Subject {
        std::string title;
        std::string type;               ///< "PullRequest", "Issue", "Release"…
        std::optional<std::string> url; ///< its address in the API; not every type has one

        static Subject fromJSON(const nlohmann::json& value);
        bool operator==(const Subject&) const = default;
    };
    struct Repository {
        std::string fullName; ///< "owner/name"

        static Repository fromJSON(const nlohmann::json& value);
        bool operator==(const Repository&) const = default;
    };

    std::string id;
    std::string reason;    ///< why the user is told: "review_requested", "mention", "author"…
    std::string updatedAt; ///< as it came; with the id, it tells one notification from a later one
    Subject subject;
    Repository repository;

    /// Strict, under GitHub's own keys: throws RecordError unless all but the subject's URL are there.
    static GitHubNotification fromJSON(const nlohmann::json& value);

    /// `updatedAt` as a date; absent when it is none (ISO8601::parse).
    std::optional<Date> updated() const;

    /// The subject's page, made of its address in the API: ".../repos/o/r/pulls/42" is "o/r/pull/42" below
    /// `webBase`. Absent without an address of that form.
    std::optional<std::string> htmlURL(std::string_view webBase = gitHubWebBase) const;

    /// The number of the pull request or issue, the last part of that page's address; absent when that is
    /// none.
    std::optional<std::int64_t> number() const;

    bool operator==(const GitHubNotification&) const = default;
};

} // namespace quorvik
