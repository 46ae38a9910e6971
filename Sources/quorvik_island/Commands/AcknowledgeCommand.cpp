#include "quorvik_island/Commands/AcknowledgeCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include <array>

namespace quorvik::AcknowledgeCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island acknowledge <key>|--all

You have seen it: the item leaves the island, and comes back when its state changes. Keys are the "id" of
`quorvik-island show --json`. What waits for an answer stays until it has one.

  --all   everything that can be waved away

Prints how many items were acknowledged.
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--all"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    const bool all = arguments.has("--all");
    if (arguments.words.size() + (all ? 1 : 0) != 1) throw UsageError("acknowledge: say one key, or --all");

    Console console(false);
    const nlohmann::json parameters =
        all ? nlohmann::json{{"all", true}} : nlohmann::json{{"key", arguments.words.front()}};
    const auto result =
        ControlClient::connect("command", ControlClient::Start::never).call("acknowledge", parameters);
    console.line("acknowledged " + std::to_string(result.value("acknowledged", 0)));
    return console.exitStatus();
}

} // namespace quorvik::AcknowledgeCommand
