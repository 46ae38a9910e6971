#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/Source.h"

#include <cstdint>
#include <string>

namespace quorvik {

/// A rate limit of a coding agent's account: the length of its window, and how much of it is used up.
struct UsageWindow {
    std::string id;                ///< the same at every reading, such as "claude.five_hour"
    Source agent = Source::claude; ///< whose account
    std::int64_t minutes = 0;      ///< length of the window
    double usedPercent = 0;        ///< 0 to 100, as the agent's maker reports it; the range is not checked
    Date resetsAt{};               ///< when it starts afresh

    /// What a window of that length is called. `minutes` counts for `other` only.
    struct Kind {
        enum class Name { fiveHours, day, week, month, other };
        Name name = Name::other;
        std::int64_t minutes = 0; ///< of `other`, else 0
        bool operator==(const Kind&) const = default;
    };

    /// 300 minutes, 1440, 10080, or 28 to 31 days; `other` for anything else.
    Kind kind() const;

    /// `usedPercent`; from `resetsAt` on 0, since the figure then belongs to the window before.
    double percent(Date now) const;

    /// JSON with the fields' names as keys, the date as seconds since 1970. Strict: throws RecordError.
    static UsageWindow fromJSON(const nlohmann::json& value);
    nlohmann::json toJSON() const;

    bool operator==(const UsageWindow&) const = default;
};

} // namespace quorvik
