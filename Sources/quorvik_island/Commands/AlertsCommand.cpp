#include "quorvik_island/Commands/AlertsCommand.h"

#include "quorvik_island/Age.h"
#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

#include <array>

namespace quorvik::AlertsCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island alerts [--json]

Prints the alerts that are shown, the oldest first: a line each, with tabs between its key, its level (info,
action or fail), its age, its title and its text. `acknowledge`, `pick`, `open` and `why` take the key.

  --json   one array: the alerts as they were sent, with "key" and "receivedAt", in seconds since 1970
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "alerts");

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
