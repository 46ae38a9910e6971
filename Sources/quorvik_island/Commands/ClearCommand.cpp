#include "quorvik_island/Commands/ClearCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <map>

namespace quorvik::ClearCommand {

int run(const Arguments& arguments) {
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
