#include "quorvik_island/Commands/RestartCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/StopCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::RestartCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island restart

Ends the app if it runs, and starts it; what is shown elsewhere attaches itself again. Agents whose requests
wait then ask in their own interface.
)";

bool isRunning() {
    try {
        ControlClient::connect("command", ControlClient::Start::never);
        return true;
    } catch (const NoApp&) {
        return false;
    }
}

} // namespace

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "restart");
    if (isRunning()) StopCommand::stopApp();
    ControlClient::connect("command", ControlClient::Start::ifMissing);
    return exitSuccess;
}

} // namespace quorvik::RestartCommand
