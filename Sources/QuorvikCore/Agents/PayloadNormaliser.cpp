#include "QuorvikCore/Agents/PayloadNormaliser.h"

#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::PayloadNormaliser {

namespace {

constexpr const char* eventNameKey = "hook_event_name";

struct Spelling {
    std::string_view received;
    std::string_view canonical;
};

constexpr Spelling grokSpellings[] = {
    {"session_start", "SessionStart"},
    {"session_end", "SessionEnd"},
    {"user_prompt_submit", "UserPromptSubmit"},
    {"pre_tool_use", "PreToolUse"},
    {"post_tool_use", "PostToolUse"},
    {"post_tool_use_failure", "PostToolUseFailure"},
    {"permission_request", "PermissionRequest"},
    {"notification", "Notification"},
    {"subagent_start", "SubagentStart"},
    {"subagent_stop", "SubagentStop"},
    {"pre_compact", "PreCompact"},
    {"post_compact", "PostCompact"},
    {"stop", "Stop"},
    {"stop_failure", "StopFailure"},
    {"interrupt", "Interrupt"},
};

const Spelling* grokSpelling(const std::optional<std::string>& name) {
    const auto* found =
        std::find_if(std::begin(grokSpellings), std::end(grokSpellings),
                     [&](const Spelling& spelling) { return name && spelling.received == *name; });
    return found == std::end(grokSpellings) ? nullptr : found;
}

/// A member, or two, by which a Copilot payload gives its event away. Earlier rows win.
struct Sign {
    std::string_view member;
    bool (HookPayload::*is)(std::string_view key) const;
    std::string_view event;
    std::string_view textBesides = {}; ///< a text that must be there too
};

constexpr Sign copilotSigns[] = {
    {"toolResult", &HookPayload::has, "postToolUse"},
    {"toolName", &HookPayload::has, "postToolUseFailure", "error"},
    {"toolName", &HookPayload::has, "preToolUse"},
    {"initialPrompt", &HookPayload::has, "sessionStart"},
    {"source", &HookPayload::has, "sessionStart"},
    {"prompt", &HookPayload::has, "userPromptSubmitted"},
    {"stopReason", &HookPayload::has, "agentStop"},
    {"reason", &HookPayload::has, "sessionEnd"},
    {"error", &HookPayload::hasObject, "errorOccurred"},
};

bool isPrompt(const HookPayload& payload) {
    const auto name = payload.eventName();
    return name && HookEvent::canonicalName(*name) == "UserPromptSubmit";
}

Verdict claude(HookPayload& payload, const Surroundings&) {
    const auto name = payload.text("hookEventName");
    const bool isGroks = !payload.hasText(eventNameKey) && grokSpelling(name) &&
                         (name->find('_') != std::string::npos || payload.has("workspaceRoot"));
    if (isGroks) return Verdict::drop;
    if (isPrompt(payload) &&
        payload.text({"submitted_prompt", "prompt"}).value_or("").starts_with("<task-notification>")) {
        payload.remove("submitted_prompt");
        payload.remove("prompt");
    }
    return Verdict::report;
}

Verdict grok(HookPayload& payload, const Surroundings&) {
    if (const Spelling* spelling = grokSpelling(payload.eventName()))
        payload.setText(eventNameKey, spelling->canonical);
    return Verdict::report;
}

Verdict devin(HookPayload& payload, const Surroundings& surroundings) {
    if (payload.text({"cwd", "workspaceRoot"}).value_or("").empty())
        payload.setText("cwd", surroundings.devinProjectDir.empty() ? surroundings.workingDirectory
                                                                    : surroundings.devinProjectDir);
    return Verdict::report;
}

Verdict codex(HookPayload& payload, const Surroundings&) {
    if (payload.text("tool_name") == "request_user_input") payload.setText("tool_name", "AskUserQuestion");
    return Verdict::report;
}

Verdict qwen(HookPayload& payload, const Surroundings&) {
    const bool isNobodys = isPrompt(payload) && payload.text("prompt") == "" &&
                           payload.text("submitted_prompt").value_or("").empty();
    const bool isEndless = payload.isManualCompaction() && payload.eventName() == "PreCompact";
    return isNobodys || isEndless ? Verdict::drop : Verdict::report;
}

template <std::size_t count>
bool isOneOf(const std::string_view (&words)[count], std::string_view word) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

/// Whether Copilot asks its user for no permission.
bool allowsAll(const Surroundings& surroundings) {
    constexpr std::string_view yes[] = {"true", "1", "yes", "on", "y"};
    constexpr std::string_view switches[] = {"--allow-all-tools", "--allow-all", "--yolo"};
    const auto arguments =
        surroundings.agentArguments ? surroundings.agentArguments() : std::vector<std::string>();
    if (std::ranges::find(arguments, "--assisted-approval") != arguments.end()) return false; // may ask
    const std::string inherited =
        Unicode::lowercased(Unicode::trimmed(surroundings.copilotAllowAll, Unicode::isWhitespaceOrNewline));
    return isOneOf(yes, inherited) ||
           std::ranges::any_of(arguments, [&](const std::string& word) { return isOneOf(switches, word); });
}

Verdict copilot(HookPayload& payload, const Surroundings& surroundings) {
    if (payload.has("parentAgentId")) return Verdict::drop;
    if (payload.eventName()) return Verdict::report;
    if (const auto name = payload.text("hookName")) {
        payload.setText(eventNameKey, *name);
        return name == "permissionRequest" && allowsAll(surroundings) ? Verdict::drop : Verdict::report;
    }
    for (const Sign& sign : copilotSigns) {
        if (!(payload.*sign.is)(sign.member)) continue;
        if (!sign.textBesides.empty() && !payload.hasText(sign.textBesides)) continue;
        payload.setText(eventNameKey, sign.event);
        break;
    }
    return Verdict::report;
}

struct Dialect {
    Source source;
    Verdict (*bringInLine)(HookPayload&, const Surroundings&);
};

constexpr Dialect dialects[] = {{Source::claude, claude}, {Source::codex, codex}, {Source::grok, grok},
                                {Source::devin, devin},   {Source::qwen, qwen},   {Source::copilot, copilot}};

} // namespace

Verdict normalise(HookPayload& payload, Source source, const Surroundings& surroundings) {
    if (isPrompt(payload) && !payload.text("agent_id").value_or("").empty()) return Verdict::drop;
    for (const Dialect& dialect : dialects)
        if (dialect.source == source) return dialect.bringInLine(payload, surroundings);
    return Verdict::report;
}

} // namespace quorvik::PayloadNormaliser
