#include "QuorvikApp/Model/ContainerServices.h"

#include <algorithm>
#include <map>
#include <set>

namespace quorvik::ContainerServices {

namespace {

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

ServiceState project(const std::string& name, const ServiceSpec::ComposeStatus& status) {
    ServiceState state;
    state.id = "compose-" + name;
    state.label = name;
    state.isUp = status.down.empty();
    const auto fine = status.total - static_cast<std::int64_t>(status.down.size());
    state.summary = state.isUp ? std::to_string(fine) + " of " + std::to_string(status.total) + " up"
                               : joined(status.down);
    state.composeProject = name;
    return state;
}

ServiceState container(const ServiceSpec::DockerState& listed) {
    ServiceState state;
    state.id = "docker-" + listed.name;
    state.label = listed.name;
    state.isUp = listed.running && !listed.unhealthy;
    if (state.isUp)
        state.summary = "up";
    else if (listed.unhealthy)
        state.summary = "unhealthy";
    else if (listed.exitCode)
        state.summary = "exited with " + std::to_string(*listed.exitCode);
    state.container = listed.name;
    return state;
}

ServiceState missing(const ServiceSpec& service) {
    ServiceState state;
    state.id = service.id();
    state.label = service.label;
    state.summary = "there is none of that name";
    return state;
}

} // namespace

bool isContainers(const ServiceSpec& service) {
    return !std::holds_alternative<ServiceSpec::Port>(service.kind);
}

States of(std::string_view listing, const std::vector<ServiceSpec>& watched, bool onlyWatched) {
    States states;
    std::set<std::string> wanted, there;
    for (const ServiceSpec& service : watched)
        if (isContainers(service)) wanted.insert(service.id());
    const auto add = [&](ServiceState state, bool hasFinished) {
        const bool isWatched = wanted.contains(state.id);
        if ((onlyWatched && !isWatched) || !there.insert(state.id).second) return;
        if (hasFinished && !isWatched)
            states.finished.push_back(state.id);
        else
            states.services.push_back(std::move(state));
    };

    std::map<std::string, std::int64_t> running; // containers of each project
    for (const auto& listed : ServiceSpec::dockerStates(listing)) {
        if (listed.project && listed.running) ++running[*listed.project];
        // A container of a project is shown by its own name to whoever watches it only.
        const std::string id = "docker-" + listed.name;
        if (!listed.project || wanted.contains(id)) add(container(listed), listed.exitCode == 0);
    }
    for (const auto& [name, status] : ServiceSpec::composeHealth(listing)) {
        ServiceState state = project(name, status);
        const bool runs = running[name] > 0;
        const bool hasFinished = state.isUp && !runs;
        if (!runs) state.isUp = false;
        add(std::move(state), hasFinished);
    }
    for (const ServiceSpec& service : watched)
        if (isContainers(service) && there.insert(service.id()).second)
            states.services.push_back(missing(service));
    return states;
}

} // namespace quorvik::ContainerServices
