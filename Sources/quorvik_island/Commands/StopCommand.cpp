#include "quorvik_island/Commands/StopCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Session/ProcessInspector.h"

#include <thread>

namespace quorvik::StopCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island stop

Ends the app, and waits until it is gone. Agents whose requests wait then ask in their own interface; nothing
else is lost. The live island and `watch` start no other app; those that you open from then on do.

Exit status: 1 when no app runs.
)";

} // namespace

void stopApp() {
    using Clock = std::chrono::steady_clock;
    ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
    const auto pid = client.hello().value("pid", std::int32_t{0});
    const auto process = ProcessInspector::info(pid);
    client.call("stop");
    if (!process) return;
    // The app closes its connections before it ends; it holds its lock until then.
    constexpr std::chrono::seconds patience(15);
    constexpr std::chrono::milliseconds interval(5);
    for (const auto start = Clock::now(); ProcessInspector::isRunning(pid, process->startTime);) {
        if (Clock::now() - start > patience)
            throw NoApp("the app is about to end, but process " + std::to_string(pid) + " is still there");
        std::this_thread::sleep_for(interval);
    }
}

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "stop");
    stopApp();
    return exitSuccess;
}

} // namespace quorvik::StopCommand
