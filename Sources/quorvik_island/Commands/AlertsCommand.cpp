#include "quorvik_island/Commands/AlertsCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::AlertsCommand {

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const Snapshot snapshot = ControlClient::connect("command", ControlClient::Start::never).snapshot();
    nlohmann::json list = nlohmann::json::array();
    std::string lines;
    for (const ShownAlert& shown : snapshot.alerts) {
        nlohmann::json members = shown.alert.toJSON();
        members["key"] = shown.key;
        members["receivedAt"] = secondsSince1970(shown.receivedAt);
        list.push_back(std::move(members));
        lines += Unicode::terminalLine(shown.key) + "\t" + std::string(rawValue(shown.alert.level)) + "\t" +
                 age(shown.receivedAt) + "\t" + Unicode::terminalLine(shown.alert.title) + "\t" +
                 Unicode::terminalLine(shown.alert.body) + "\n";
    }
    console.text(lines);
    console.value(list);
    return console.exitStatus();
}

} // namespace quorvik::AlertsCommand
