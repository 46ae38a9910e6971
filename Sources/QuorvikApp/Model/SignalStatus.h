#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quorvik {

/// How one of the app's signals is.
struct SignalStatus {
    std::string name; ///< the setting that switches it
    bool isOn = false;
    std::string why;              ///< for people: why it is off, or of no use; empty when all is well
    std::optional<Date> lastLook; ///< when its last look ended
    std::optional<Date> nextLook; ///< absent: when something changes
    std::int64_t looks = 0;       ///< in the last hour
    double seconds = 0;           ///< that they took together

    nlohmann::json toJSON() const;

    /// Strict: throws RecordError.
    static SignalStatus fromJSON(const nlohmann::json& value);
};

} // namespace quorvik
