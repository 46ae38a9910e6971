#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <cstdint>
#include <optional>
#include <string>

namespace quorvik {

enum class AlertLevel { info, action, fail };

template <>
inline constexpr std::array<std::string_view, 3> rawValues<AlertLevel> = {"info", "action", "fail"};

/// One short message for the island, checked and cleaned (AlertValidator makes it). JSON keys are the field
/// names.
struct AlertRequest {
    std::string title; ///< 1 to 16 characters
    std::string body;  ///< 0 to 80 characters
    AlertLevel level = AlertLevel::info;
    std::optional<std::string> open; ///< absolute path of what a click opens
    std::optional<std::string> id;   ///< the caller's name for the alert, 1 to 64 characters
    std::int64_t ttl = 0;            ///< seconds it may stay, 0 to 86400; 0: the app decides

    /// Strict: throws RecordError. Only `open` and `id` may be missing.
    static AlertRequest fromJSON(const nlohmann::json& value);
    nlohmann::json toJSON() const;

    bool operator==(const AlertRequest&) const = default;
};

} // namespace quorvik
