#include "quorvik_island/Commands/AcknowledgeCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::AcknowledgeCommand {

int run(const Arguments& arguments) {
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
