// Listings of sockets and containers, and what a user types, whatever is in them. Input: one text, taken as
// each of these.

#include "Fuzz/Check.h"

#include "QuorvikCore/Activity/DevServerDiscovery.h"
#include "QuorvikCore/Activity/ServiceSpec.h"

#include <set>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::set<std::int64_t> ports;
    for (const ListeningSocket& socket : DevServerDiscovery::parse(text)) {
        CHECK(ports.insert(socket.port).second);
        CHECK(!DevServerDiscovery::isDevServer(socket, "/home/u/Library/x", "/home/u"));
    }

    const auto states = ServiceSpec::dockerStates(text);
    std::size_t inProjects = 0, total = 0, down = 0;
    for (const auto& state : states)
        inProjects += state.project.has_value();
    for (const auto& [name, project] : ServiceSpec::composeHealth(text)) {
        total += static_cast<std::size_t>(project.total);
        down += project.down.size();
    }
    CHECK(total == inProjects && down <= total);
    const auto health = ServiceSpec::dockerHealth(text);
    for (std::size_t index = states.size(); index-- > 0;) { // the last of a name counts
        const auto& state = states[index];
        CHECK(health.contains(state.name) && !(state.running && state.exitCode));
        if (index + 1 == states.size()) CHECK(health.at(state.name) == (state.running && !state.unhealthy));
    }

    if (const auto spec = ServiceSpec::parse(text)) CHECK(ServiceSpec::parse(spec->text()) == spec);
    return 0;
}
