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
    auto members = RawJSON::members(bytes, usedMembers);
    if (!members) return std::nullopt;
    return HookPayload{std::move(*members)};
}

std::optional<std::string> HookPayload::text(std::string_view key) const {
    const auto found = members.find(key);
    const auto text = found == members.end() ? std::nullopt : RawJSON::string(found->second);
    if (!text) return std::nullopt;
    return Unicode::repaired(*text);
}

std::optional<std::string> HookPayload::text(std::initializer_list<std::string_view> keys) const {
    for (const std::string_view key : keys)
        if (auto found = text(key)) return found;
    return std::nullopt;
}

bool HookPayload::has(std::string_view key) const {
    const auto found = members.find(key);
    return found != members.end() && found->second != "null";
}

bool HookPayload::hasText(std::string_view key) const {
    const auto found = members.find(key);
    return found != members.end() && found->second.starts_with('"');
}

bool HookPayload::hasObject(std::string_view key) const {
    const auto found = members.find(key);
    return found != members.end() && found->second.starts_with('{');
}

bool HookPayload::isManualCompaction() const {
    const std::string name = eventName().value_or("");
    return text("trigger") == "manual" &&
           (name == "PreCompact" || name == "PostCompact" || name == "PostCompaction");
}

void HookPayload::setText(const std::string& key, std::string_view text) {
    members[key] = RawJSON::encoded(text);
}

} // namespace quorvik
