#include "quorvik_island/Commands/StopCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include <thread>

namespace quorvik::StopCommand {

void stopApp() {
    ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
    const auto pid = client.hello().value("pid", std::int32_t{0});
    const auto process = ProcessInspector::info(pid);
    client.call("stop");
    // The app closes its connections before it ends; it holds its lock until then.
    constexpr std::chrono::seconds patience(15);
    if (process && !endsWithin(patience, *process))
        throw NoApp("the app is about to end, but process " + std::to_string(pid) + " is still there");
}

bool endsWithin(std::chrono::seconds patience, const ProcessInspector::Info& process) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds interval(5);
    for (const auto start = Clock::now(); ProcessInspector::isRunning(process.pid, process.startTime);) {
        if (Clock::now() - start > patience) return false;
        std::this_thread::sleep_for(interval);
    }
    return true;
}

int run(const Arguments&) {
    stopApp();
    return exitSuccess;
}

} // namespace quorvik::StopCommand
