#include "quorvik_island/Commands/ClearCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <array>
#include <map>

namespace quorvik::ClearCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island clear [--json]

Removes the records of all sessions that are over: failed, done, ended, not yet begun, or of a process that
is gone. What is at work or waits for you stays, and so do the logs of commands. An agent whose last turn
failed is back on the island with its next event.

Prints how many records were removed.

  --json   one object: "removed"
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "clear");

    Console console(arguments.has("--json"));
    const auto folder = QuorvikPaths::sessionsDirectory();
    const Sessions sessions = Sessions::load(folder);
    for (const std::string& failure : sessions.failures)
        console.fail(failure);
    const auto over = sessions.over();
    std::map<Source, Date> lastEvents; // what `doctor` tells of them when their records are gone
    for (const SessionRecord* record : over) {
        if (isAgent(record->source)) {
            Date& last = lastEvents[record->source];
            last = std::max(last, record->updatedAt);
        }
        SessionStore::remove(*record, folder);
    }
    HookLedger::noteLastEvents(lastEvents);
    if (!over.empty()) SessionStore::postChangeNotification();
    console.line("removed " + std::to_string(over.size()));
    console.value({{"removed", over.size()}});
    return console.exitStatus();
}

} // namespace quorvik::ClearCommand
