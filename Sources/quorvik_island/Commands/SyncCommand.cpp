#include "quorvik_island/Commands/SyncCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::SyncCommand {

int run(const Arguments&) {
    ControlClient::connect("command", ControlClient::Start::never).call("sync");
    return exitSuccess;
}

} // namespace quorvik::SyncCommand
