#include "quorvik_island/Commands/SyncCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::SyncCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island sync

Waits until the app has seen and published everything that was caused before: records on disk, requests,
alerts, settings. For scripts, which need not sleep then. Prints nothing.
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "sync");
    ControlClient::connect("command", ControlClient::Start::never).call("sync");
    return exitSuccess;
}

} // namespace quorvik::SyncCommand
