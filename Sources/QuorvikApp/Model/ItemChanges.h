#pragma once

#include "QuorvikCore/Activity/GitChanges.h"

#include <nlohmann/json.hpp>

#include <functional>

namespace quorvik {

/// What a "Changes" item of the island stands for: the files that differ between two commits.
struct ItemChanges {
    GitChanges::Range range; ///< `to` is never absent
    ChangeSet set;

    /// The reply to the method `changes` (docs/control.md). Files at the end are left out when the text would
    /// become longer than ItemChanges::mostBytes.
    nlohmann::json toJSON() const;

    /// Of the range it reads `to` only. Strict: throws RecordError.
    static ItemChanges fromJSON(const nlohmann::json& value);

    static constexpr std::size_t mostBytes = 1 << 19;
};

/// Gets one file's difference, or why there is none.
using DiffDone = std::function<void(std::optional<FileDiff> diff, const std::string& why)>;

/// The reply to the method `diff`, with lines at the end left out like files above.
nlohmann::json diffJSON(const FileDiff& diff);

/// Strict: throws RecordError.
FileDiff diffFromJSON(const nlohmann::json& value);

} // namespace quorvik
