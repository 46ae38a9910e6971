#include "quorvik_island/Commands/RestartCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/StopCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::RestartCommand {

namespace {

bool isRunning() {
    try {
        ControlClient::connect("command", ControlClient::Start::never);
        return true;
    } catch (const NoApp&) {
        return false;
    }
}

} // namespace

int run(const Arguments&) {
    if (isRunning()) StopCommand::stopApp();
    ControlClient::connect("command", ControlClient::Start::ifMissing);
    return exitSuccess;
}

} // namespace quorvik::RestartCommand
