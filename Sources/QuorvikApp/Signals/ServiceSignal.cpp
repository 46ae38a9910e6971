#include "QuorvikApp/Signals/ServiceSignal.h"

#include "QuorvikCore/Platform/ListeningSockets.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr Timer::Seconds interval(5);

/// A server that is busy starting takes connections late.
constexpr std::chrono::milliseconds patience(500);

std::vector<ServiceState> statesOf(const std::vector<ServiceSpec>& services) {
    std::vector<ServiceState> states;
    for (const ServiceSpec& service : services) {
        const std::int64_t port = std::get<ServiceSpec::Port>(service.kind).number;
        ServiceState state;
        state.id = service.id();
        state.label = service.label;
        state.summary = "port " + std::to_string(port);
        state.isUp = Platform::acceptsConnections(port, patience);
        state.port = port;
        state.webURL = "http://localhost:" + std::to_string(port);
        states.push_back(std::move(state));
    }
    return states;
}

} // namespace

void ServiceSignal::update() {
    std::vector<ServiceSpec> watched = settings().services;
    std::erase_if(watched, [](const ServiceSpec& service) {
        return !std::holds_alternative<ServiceSpec::Port>(service.kind);
    });
    if (watched.empty()) {
        turnOff("no port is watched");
        board_ = {};
    } else {
        turnOn(interval);
        if (watched != watched_) lookSoon();
    }
    watched_ = std::move(watched);
}

void ServiceSignal::look() {
    runInBackground<std::vector<ServiceState>>(
        [watched = watched_] { return statesOf(watched); },
        [this](const std::vector<ServiceState>& states) { looked(states); });
}

void ServiceSignal::looked(const std::vector<ServiceState>& states) {
    board_.keepOnly([&](const std::string& id) {
        return std::ranges::find(states, id, &ServiceState::id) != states.end();
    });
    board_.look(states, settings().scheduler.portDownLinger, now());
    show(board_.records());
    ended();
}

} // namespace quorvik
