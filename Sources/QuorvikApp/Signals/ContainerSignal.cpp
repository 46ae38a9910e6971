#include "QuorvikApp/Signals/ContainerSignal.h"

#include "QuorvikApp/Model/ContainerServices.h"

#include "QuorvikCore/Platform/RunProgram.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr Timer::Seconds whileWatched(10), otherwise(60);

/// The five fields that ServiceSpec::dockerStates() takes.
constexpr const char* fields =
    "{{.Names}}\t{{.State}}\t{{.Status}}\t{{.Label \"com.docker.compose.project\"}}\t"
    "{{.Label \"com.docker.compose.service\"}}";

} // namespace

void ContainerSignal::update() {
    const bool isNeeded = std::ranges::any_of(settings().services, ContainerServices::isContainers);
    if (settings().containers || isNeeded) {
        turnOn(context_.hasFrontEnds() ? whileWatched : otherwise);
    } else {
        turnOff("switched off");
        board_ = {};
    }
}

void ContainerSignal::look() {
    for (const char* program : {"docker", "podman"})
        if (Platform::findProgram(program))
            return run({program, "ps", "-a", "--no-trunc", "--format", fields},
                       [this](const std::string& listing) { listed(listing); });
    ended("there is neither docker nor podman here");
}

void ContainerSignal::listed(const std::string& listing) {
    const auto states = ContainerServices::of(listing, settings().services, !settings().containers);
    board_.keepOnly([&](const std::string& id) {
        return std::ranges::find(states.finished, id) == states.finished.end();
    });
    board_.look(states.services, settings().scheduler.portDownLinger, now());
    show(board_.records());
    ended();
}

} // namespace quorvik
