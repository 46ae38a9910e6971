#pragma once

#include "QuorvikCore/Session/Source.h"

#include <filesystem>
#include <optional>
#include <vector>

/// Which coding agents somebody uses, told by the folders the agents keep their configuration in.
namespace quorvik::AgentDetection {

/// The agent's configuration folder below `home`; absent for sources that are not agents. It need not exist.
std::optional<std::filesystem::path> configDirectory(Source source, const std::filesystem::path& home);

/// The agents whose configuration folder is present, in the order of agentSources().
std::vector<Source> detected(const std::filesystem::path& home);

} // namespace quorvik::AgentDetection
