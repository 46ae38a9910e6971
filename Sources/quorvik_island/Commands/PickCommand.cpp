#include "quorvik_island/Commands/PickCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::PickCommand {

int run(const Arguments& arguments) {
    const bool none = arguments.has("--none");
    if (arguments.words.size() + (none ? 1 : 0) != 1) throw UsageError("pick: say one key, or --none");

    const nlohmann::json key = none ? nlohmann::json() : nlohmann::json(arguments.words.front());
    ControlClient::connect("command", ControlClient::Start::never).call("pick", {{"key", key}});
    return exitSuccess;
}

} // namespace quorvik::PickCommand
