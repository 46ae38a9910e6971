#pragma once

#include "QuorvikCore/JSON/RawJSON.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// What an agent hands to its hook: one JSON object. Only members in which some agent tells us something are
/// kept. Their values stay parts of the bytes that were read and are never copied: a tool's input or output
/// may be megabytes.
class HookPayload {
  public:
    /// Absent when the bytes are not a JSON object. They must outlive the payload, and the events made from
    /// it. Bytes that are not UTF-8 and halves of surrogate pairs do not matter here: they become U+FFFD
    /// where a text is taken out.
    static std::optional<HookPayload> read(std::string_view bytes);

    /// The JSON text of the member's value; absent when it is missing. Valid until the payload is changed.
    std::optional<std::string_view> json(std::string_view key) const;

    /// The members of a tool input that is an object; null when the member is anything else.
    const RawJSON::MemberViews* input(std::string_view key) const;

    /// The member's text; absent when it is missing or not a text.
    std::optional<std::string> text(std::string_view key) const;
    /// text() of the first of the keys that has one.
    std::optional<std::string> text(std::initializer_list<std::string_view> keys) const;

    /// Whether the member is there and not null.
    bool has(std::string_view key) const;
    bool hasText(std::string_view key) const;
    bool hasObject(std::string_view key) const;

    void setText(const std::string& key, std::string_view text);
    void remove(std::string_view key);

    /// The members that may hold a tool's input, in the order in which they count.
    static constexpr std::string_view inputKeys[] = {"tool_input", "toolInput", "toolArgs", "tool_args"};

    /// Whether the payload reports a compaction of the context that the user asked for. Such a compaction
    /// happens between two turns.
    bool isManualCompaction() const;

    /// The event's name as the agent calls it.
    std::optional<std::string> eventName() const { return text({"hook_event_name", "hookEventName"}); }

  private:
    RawJSON::Outline received_;
    RawJSON::Members changed_; ///< instead of received ones of the same name
};

} // namespace quorvik
