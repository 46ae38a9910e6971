#pragma once

#include "QuorvikCore/Island/IslandItem.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// What the user has waved away, picked and paused, as `memory.json` in the support folder keeps it
/// (docs/files.md).
struct Memory {
    AcknowledgedKeys acknowledged;
    std::optional<ManualPick> pick;
    std::optional<Date> alertsPausedUntil; ///< until then no alert is taken

    /// Reads what text() wrote. Empty for any other text: what was waved away then shows again, and no harm
    /// is done.
    static Memory parse(std::string_view text);

    /// One JSON object on one line.
    std::string text() const;
};

} // namespace quorvik
