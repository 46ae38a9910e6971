#pragma once

#include "QuorvikCore/JSON/RawJSON.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// What an agent hands to its hook, as it came: one JSON object. Only members in which some agent tells us
/// something are kept; others are skipped, since a tool's output may be a megabyte.
struct HookPayload {
    RawJSON::Members members; ///< name → JSON text

    /// Absent when the bytes are not a JSON object. Bytes that are not UTF-8 and halves of surrogate pairs do
    /// not matter here: they become U+FFFD where a text is taken out.
    static std::optional<HookPayload> read(std::string_view bytes);

    /// The member's text; absent when it is missing or not a text.
    std::optional<std::string> text(std::string_view key) const;
    /// text() of the first of the keys that has one.
    std::optional<std::string> text(std::initializer_list<std::string_view> keys) const;

    /// Whether the member is there and not null.
    bool has(std::string_view key) const;
    bool hasText(std::string_view key) const;
    bool hasObject(std::string_view key) const;

    void setText(const std::string& key, std::string_view text);

    /// Whether the payload reports a compaction of the context that the user asked for. Such a compaction
    /// happens between two turns.
    bool isManualCompaction() const;

    /// The event's name as the agent calls it.
    std::optional<std::string> eventName() const { return text({"hook_event_name", "hookEventName"}); }
};

} // namespace quorvik
