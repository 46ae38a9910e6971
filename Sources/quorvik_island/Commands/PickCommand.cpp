#include "quorvik_island/Commands/PickCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include <array>

namespace quorvik::PickCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island pick <key>|--none

Keeps an item in the notch, until its state changes or something more urgent comes up. Keys are the "id" of
`quorvik-island show --json`.

  --none   the most urgent item is back in the notch
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--none"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    const bool none = arguments.has("--none");
    if (arguments.words.size() + (none ? 1 : 0) != 1) throw UsageError("pick: say one key, or --none");

    const nlohmann::json key = none ? nlohmann::json() : nlohmann::json(arguments.words.front());
    ControlClient::connect("command", ControlClient::Start::never).call("pick", {{"key", key}});
    return exitSuccess;
}

} // namespace quorvik::PickCommand
