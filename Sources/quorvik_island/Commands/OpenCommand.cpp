#include "quorvik_island/Commands/OpenCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/OpenItem.h"

#include "QuorvikApp/Control/ControlClient.h"

namespace quorvik::OpenCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island open <key>

Goes to where an item comes from, to the first of these that is there:

  its terminal   a pane of tmux: it is selected, and shown here unless it is shown elsewhere
  its log        in $PAGER, by default less
  its page       a web address or file, in the program that the desktop has for it

Keys are the "id" of `quorvik-island show --json`.
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    if (arguments.words.size() != 1) throw UsageError("open: say one key");

    const std::string& key = arguments.words.front();
    const Snapshot snapshot = ControlClient::connect("command", ControlClient::Start::never).snapshot();
    for (const SnapshotItem* item : snapshot.items()) {
        if (item->id() != key) continue;
        openItem(*item->record);
        return exitSuccess;
    }
    throw OpenError("no item has the key " + key);
}

} // namespace quorvik::OpenCommand
