#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <span>
#include <string_view>

namespace quorvik {

/// Who produces a session record: one of nine coding agents, or one of our own observers. The order is that
/// of settings pages and listings.
enum class Source {
    claude,
    codex,
    grok,
    commandcode,
    devin,
    qwen,
    copilot,
    pi,
    kimi,
    build,   ///< supervised and long shell commands
    service, ///< dev servers and containers
    git,
    update
};

template <>
inline constexpr std::array<std::string_view, 13> rawValues<Source> = {
    "claude", "codex", "grok",  "commandcode", "devin", "qwen",  "copilot",
    "pi",     "kimi",  "build", "service",     "git",   "update"};

/// All sources, and the nine that are agents, in order.
std::span<const Source> allSources();
std::span<const Source> agentSources();

/// "Claude Code", "Build & Test"…
std::string_view displayName(Source source);

/// What stands for the source where space is short: two letters for an agent, three for the others.
std::string_view mark(Source source);

bool isAgent(Source source);

/// Whether the agent's permission requests can be answered from the island.
bool supportsApprovals(Source source);

/// Whether the agent's questions (multiple choice) can be answered from the island.
bool supportsQuestions(Source source);

/// Whether the agent's questions arrive before the tool runs ("PreToolUse") instead of as a permission
/// request.
bool asksOnPreToolUse(Source source);

} // namespace quorvik
