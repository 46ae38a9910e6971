#include "QuorvikCore/Agents/HookPayload.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik {

namespace {

constexpr std::string_view usedMembers[] = {
    // what becomes an event
    "hook_event_name", "hookEventName", "session_id", "sessionId", "cwd", "workspaceRoot", "tool_name",
    "toolName", "tool_input", "toolInput", "toolArgs", "tool_args", "notification_type", "message", "error",
    "last_assistant_message", "prompt", "submitted_prompt", "source", "permission_suggestions",
    "permissionSuggestions",
    // tell events, and agents, apart where no event name does
    "hookName", "toolResult", "initialPrompt", "stopReason", "reason", "parentAgentId", "agent_id",
    // why a context is shortened
    "trigger"};

} // namespace

std::optional<HookPayload> HookPayload::read(std::string_view bytes) {
    auto received = RawJSON::outline(bytes, usedMembers, inputKeys);
    if (!received) return std::nullopt;
    HookPayload payload;
    payload.received_ = std::move(*received);
    return payload;
}

std::optional<std::string_view> HookPayload::json(std::string_view key) const {
    if (const auto changed = changed_.find(key); changed != changed_.end()) return changed->second;
    const auto found = received_.members.find(key);
    if (found == received_.members.end()) return std::nullopt;
    return found->second;
}

const RawJSON::MemberViews* HookPayload::input(std::string_view key) const {
    const auto found = received_.inside.find(key);
    return found == received_.inside.end() || changed_.contains(key) ? nullptr : &found->second;
}

std::optional<std::string> HookPayload::text(std::string_view key) const {
    const std::string_view value = json(key).value_or("");
    if (!value.starts_with('"')) return std::nullopt;
    std::string text = RawJSON::decoded(value.substr(1, value.size() - 2));
    if (!Unicode::isValid(text)) text = Unicode::repaired(text);
    return text;
}

std::optional<std::string> HookPayload::text(std::initializer_list<std::string_view> keys) const {
    for (const std::string_view key : keys)
        if (auto found = text(key)) return found;
    return std::nullopt;
}

bool HookPayload::has(std::string_view key) const {
    return json(key).value_or("null") != "null";
}

bool HookPayload::hasText(std::string_view key) const {
    return json(key).value_or("").starts_with('"');
}

bool HookPayload::hasObject(std::string_view key) const {
    return json(key).value_or("").starts_with('{');
}

bool HookPayload::isManualCompaction() const {
    const std::string name = eventName().value_or("");
    return text("trigger") == "manual" &&
           (name == "PreCompact" || name == "PostCompact" || name == "PostCompaction");
}

void HookPayload::setText(const std::string& key, std::string_view text) {
    changed_[key] = RawJSON::encoded(text);
}

void HookPayload::remove(std::string_view key) {
    changed_.erase(std::string(key));
    received_.members.erase(std::string(key));
    received_.inside.erase(std::string(key));
}

} // namespace quorvik
