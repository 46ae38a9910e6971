#include "quorvik_island/AgentName.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/CommandLine/NearestName.h"

#include <string_view>
#include <vector>

namespace quorvik {

Source agentNamed(const std::string& word) {
    if (const auto agent = fromRawValue<Source>(word); agent && isAgent(*agent)) return *agent;
    std::vector<std::string_view> agents;
    for (const Source source : agentSources())
        agents.push_back(rawValue(source));
    throw UsageError("unknown agent " + word + NearestName::question(word, agents));
}

} // namespace quorvik
