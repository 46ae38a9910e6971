#include "QuorvikCore/Install/HookTarget.h"

#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <initializer_list>

namespace quorvik {

namespace {

using Kind = HookTarget::Kind;

struct Row {
    Source source;
    std::filesystem::path (*file)();
    Kind kind;
    bool ownsFile;
    std::initializer_list<const char*> events;
    std::initializer_list<const char*> blockingEvents;
};

const Row rows[] = {
    {Source::claude,
     QuorvikPaths::claudeSettings,
     Kind::json,
     false,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PostToolUse", "PostToolUseFailure",
      "PermissionRequest", "Notification", "Stop", "StopFailure", "PreCompact", "PostCompact"},
     {"PermissionRequest"}},
    {Source::codex,
     QuorvikPaths::codexHooks,
     Kind::json,
     false,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PermissionRequest", "PostToolUse",
      "PreCompact", "PostCompact", "Stop", "Interrupt"},
     {"PermissionRequest"}},
    {Source::grok, // asks for approval in the hook before the tool
     QuorvikPaths::grokHooks,
     Kind::json,
     true,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PostToolUse", "PostToolUseFailure",
      "Notification", "PreCompact", "PostCompact", "Stop", "StopFailure"},
     {"PreToolUse"}},
    {Source::commandcode,
     QuorvikPaths::commandCodeSettings,
     Kind::json,
     false,
     {"SessionStart", "PreToolUse", "PostToolUse", "Stop"},
     {}},
    {Source::devin,
     QuorvikPaths::devinConfig,
     Kind::json,
     false,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PermissionRequest", "PostToolUse",
      "PostCompaction", "Stop"},
     {"PermissionRequest"}},
    {Source::qwen,
     QuorvikPaths::qwenSettings,
     Kind::json,
     false,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PostToolUse", "PostToolUseFailure",
      "PermissionRequest", "Notification", "Stop", "StopFailure", "PreCompact", "PostCompact"},
     {"PermissionRequest"}},
    {Source::copilot,
     QuorvikPaths::copilotHooks,
     Kind::copilot,
     true,
     {"sessionStart", "sessionEnd", "userPromptSubmitted", "preToolUse", "postToolUse", "permissionRequest",
      "notification", "agentStop"},
     {"permissionRequest"}},
    {Source::pi, // its extension listens to these and to a few more that only add detail
     QuorvikPaths::piExtension,
     Kind::piExtension,
     true,
     {"session_start", "agent_start", "tool_call", "agent_end", "session_shutdown"},
     {}},
    {Source::kimi,
     QuorvikPaths::kimiConfig,
     Kind::kimiTOML,
     false,
     {"SessionStart", "SessionEnd", "UserPromptSubmit", "PreToolUse", "PostToolUse", "PostToolUseFailure",
      "Notification", "Stop", "StopFailure", "PreCompact", "PostCompact"},
     {}},
};

} // namespace

int HookTarget::timeout(const std::string& event) const {
    return blockingEvents.contains(event) ? blockingTimeout : usualTimeout;
}

std::string HookTarget::backupName() const {
    return std::string(rawValue(source)) + "-" + fileURL.filename().string();
}

std::optional<HookTarget> HookTarget::target(Source source) {
    const Row* row = std::ranges::find(rows, source, &Row::source);
    if (row == std::end(rows)) return std::nullopt;
    return HookTarget{.source = source,
                      .fileURL = row->file(),
                      .events = {row->events.begin(), row->events.end()},
                      .ownsFile = row->ownsFile,
                      .kind = row->kind,
                      .container = {"hooks"},
                      .enableFlag = std::nullopt,
                      .blockingEvents = {row->blockingEvents.begin(), row->blockingEvents.end()}};
}

HookTarget HookTarget::claude() {
    return *target(Source::claude);
}
HookTarget HookTarget::codex() {
    return *target(Source::codex);
}
HookTarget HookTarget::grok() {
    return *target(Source::grok);
}
HookTarget HookTarget::commandCode() {
    return *target(Source::commandcode);
}
HookTarget HookTarget::devin() {
    return *target(Source::devin);
}
HookTarget HookTarget::qwen() {
    return *target(Source::qwen);
}
HookTarget HookTarget::copilot() {
    return *target(Source::copilot);
}
HookTarget HookTarget::kimi() {
    return *target(Source::kimi);
}
HookTarget HookTarget::pi() {
    return *target(Source::pi);
}

} // namespace quorvik
