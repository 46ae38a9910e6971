#include "quorvik_island/Commands/OpenCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/OpenItem.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::OpenCommand {

int run(const Arguments& arguments) {
    if (arguments.words.empty()) throw UsageError("open: say one key");

    const std::string& key = arguments.words.front();
    const Snapshot snapshot = ControlClient::connect("command", ControlClient::Start::never).snapshot();
    for (const SnapshotItem* item : snapshot.items()) {
        if (item->id() != key) continue;
        openItem(*item->record, arguments.has("--desktop"));
        return exitSuccess;
    }
    throw OpenError("no item has the key " + key);
}

} // namespace quorvik::OpenCommand
