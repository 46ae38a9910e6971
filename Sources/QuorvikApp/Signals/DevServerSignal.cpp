#include "QuorvikApp/Signals/DevServerSignal.h"

#include "QuorvikCore/Activity/ServiceSpec.h"
#include "QuorvikCore/Platform/ListeningSockets.h"
#include "QuorvikCore/Platform/ProcessTable.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Session/ProjectRoot.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/HomePath.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr Timer::Seconds whileActive(0.8), whileWatched(5), otherwise(30); // shown within a second
constexpr Timer::Seconds activityLasts(15); ///< an idle island is to wake the app less than once a second

/// A process may move to another folder, and hand its socket to another process.
constexpr Timer::Seconds listingStands(60);

/// Which of the listed sockets are development servers.
std::vector<ServiceState> devServers(const std::string& listing, const std::string& home) {
    std::vector<ServiceState> servers;
    for (const ListeningSocket& socket : DevServerDiscovery::parse(listing)) {
        const auto folder = Platform::workingFolder(socket.pid);
        if (!DevServerDiscovery::isDevServer(socket, folder, home)) continue;
        const std::string port = std::to_string(socket.port);
        servers.push_back({.id = "port-" + port,
                           .label = ":" + port,
                           .summary = socket.command + ", " + HomePath::abbreviated(*folder, home),
                           .cwd = ProjectRoot::find(*folder, home).value_or(*folder),
                           .isUp = true,
                           .pid = socket.pid,
                           .container = std::nullopt,
                           .composeProject = std::nullopt,
                           .port = socket.port,
                           .webURL = "http://localhost:" + port});
    }
    return servers;
}

} // namespace

void DevServerSignal::update() {
    if (settings().servers) {
        lastActivity_ = now();
        setInterval();
        return;
    }
    turnOff("switched off");
    board_ = {};
    servers_.clear();
    table_.reset();
}

/// Who has just done something may be about to start a server.
void DevServerSignal::setInterval() {
    const bool isActive = lastActivity_ <= now() && now() - lastActivity_ < activityLasts;
    turnOn(!context_.hasFrontEnds() ? otherwise : isActive ? whileActive : whileWatched);
}

void DevServerSignal::look() {
    // Looking up whose sockets they are takes a walk over all processes. It is only worth it when there are
    // others than before.
    const auto table = Platform::listenerTable();
    const bool isKnown =
        table && table == table_ && lastListing_ <= now() && now() - lastListing_ < listingStands;
    if (isKnown) return found(servers_);
    table_ = table;
    lastListing_ = now();
    list();
}

void DevServerSignal::list() {
    if (Platform::findProgram("lsof"))
        return run(
            {"lsof", "-nP", "-iTCP", "-sTCP:LISTEN", "-F", "pcn"},
            [this](std::string listing) { listed(std::move(listing)); },
            1); // also when nothing listens, or something could not be looked at
    runInBackground<std::optional<std::string>>(Platform::listeningSockets,
                                                [this](std::optional<std::string> listing) {
                                                    if (!listing) return ended("there is no lsof here");
                                                    listed(std::move(*listing));
                                                });
}

void DevServerSignal::listed(std::string listing) {
    runInBackground<std::vector<ServiceState>>(
        [listing = std::move(listing), home = QuorvikPaths::home().string()] {
            return devServers(listing, home);
        },
        [this](const std::vector<ServiceState>& servers) { found(servers); });
}

void DevServerSignal::found(const std::vector<ServiceState>& servers) {
    servers_ = servers;
    // What the user watches by name is not shown a second time.
    std::set<std::string> watched;
    for (const ServiceSpec& service : settings().services)
        watched.insert(service.id());
    const auto isWatched = [&](const std::string& id) { return watched.contains(id); };
    std::vector<ServiceState> shown = servers;
    std::erase_if(shown, [&](const ServiceState& server) { return isWatched(server.id); });
    board_.keepOnly([&](const std::string& id) { return !isWatched(id); });
    board_.look(shown, settings().scheduler.portDownLinger, now());
    show(board_.records());
    setInterval();
    ended();
}

} // namespace quorvik
