#include "QuorvikCore/Agents/AgentDetection.h"

namespace quorvik::AgentDetection {

std::optional<std::filesystem::path> configDirectory(Source source, const std::filesystem::path& home) {
    switch (source) {
    case Source::claude: return home / ".claude";
    case Source::codex: return home / ".codex";
    case Source::grok: return home / ".grok";
    case Source::commandcode: return home / ".commandcode";
    case Source::devin: return home / ".config/devin";
    case Source::qwen: return home / ".qwen";
    case Source::copilot: return home / ".copilot";
    case Source::pi: return home / ".pi";
    case Source::kimi: return home / ".kimi";
    case Source::build:
    case Source::service:
    case Source::git:
    case Source::update: return std::nullopt;
    }
    return std::nullopt;
}

std::vector<Source> detected(const std::filesystem::path& home) {
    std::vector<Source> present;
    for (const Source source : agentSources()) {
        std::error_code ignored;
        if (std::filesystem::is_directory(*configDirectory(source, home), ignored)) present.push_back(source);
    }
    return present;
}

} // namespace quorvik::AgentDetection
