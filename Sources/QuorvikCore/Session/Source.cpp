#include "QuorvikCore/Session/Source.h"

namespace quorvik {

namespace {

struct Traits {
    Source source;
    std::string_view displayName;
    std::string_view mark;
    bool approvals = false;
    bool questions = false;
    bool asksOnPreToolUse = false;
};

constexpr std::array<Traits, 13> table = {{
    {Source::claude, "Claude Code", "CC", true, true},
    {Source::codex, "Codex", "CX", true},
    {Source::grok, "Grok Build", "GK", false, true, true},
    {Source::commandcode, "Command Code", "CM"},
    {Source::devin, "Devin", "DV", true},
    {Source::qwen, "Qwen Code", "QW", true},
    {Source::copilot, "GitHub Copilot", "CP", true},
    {Source::pi, "pi", "PI"},
    {Source::kimi, "Kimi Code", "KM"},
    {Source::build, "Build & Test", "RUN"},
    {Source::service, "Local Services", "SVC"},
    {Source::git, "Git & CI", "GIT"},
    {Source::update, "Updates", "UPD"},
}};

constexpr std::size_t agentCount = 9;

constexpr auto all = [] {
    std::array<Source, table.size()> sources{};
    for (std::size_t index = 0; index < table.size(); ++index)
        sources[index] = table[index].source;
    return sources;
}();

constexpr bool tableIsInOrder() {
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (static_cast<std::size_t>(all[index]) != index) return false;
    }
    return true;
}
static_assert(tableIsInOrder(), "the traits are looked up by the case's number");

const Traits& traits(Source source) {
    return table[static_cast<std::size_t>(source)];
}

} // namespace

std::span<const Source> allSources() {
    return all;
}
std::span<const Source> agentSources() {
    return std::span(all).first(agentCount);
}
std::string_view displayName(Source source) {
    return traits(source).displayName;
}
std::string_view mark(Source source) {
    return traits(source).mark;
}
bool isAgent(Source source) {
    return static_cast<std::size_t>(source) < agentCount;
}
bool supportsApprovals(Source source) {
    return traits(source).approvals;
}
bool supportsQuestions(Source source) {
    return traits(source).questions;
}
bool asksOnPreToolUse(Source source) {
    return traits(source).asksOnPreToolUse;
}

} // namespace quorvik
