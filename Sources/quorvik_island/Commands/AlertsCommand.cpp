#include "quorvik_island/Commands/AlertsCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/UsageRecords.h"

#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::AlertsCommand {

namespace {

/// The seconds that "pause", "pause 90" or "resume" stands for. Throws UsageError.
double pauseOf(const std::vector<std::string>& words) {
    constexpr int usual = 60, longest = 1440; // minutes
    const bool hasMinutes = words.size() > 1;
    if (words[0] == "resume") {
        if (hasMinutes) throw UsageError("alerts: resume takes no minutes");
        return 0;
    }
    const auto minutes = hasMinutes ? Number::integer<int>(words[1]) : usual;
    if (!minutes || *minutes < 1 || *minutes > longest)
        throw UsageError("alerts: the minutes must be 1 to 1440");
    return 60.0 * *minutes;
}

int pause(double seconds, Console& console) {
    ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
    const nlohmann::json result = client.call("pauseAlerts", {{"seconds", seconds}});
    if (result.contains("until"))
        console.line("paused until " + clockTime(dateFromSeconds(result.value("until", 0.0)),
                                                 std::chrono::system_clock::now()));
    console.value(result);
    return console.exitStatus();
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    if (!arguments.words.empty()) return pause(pauseOf(arguments.words), console);
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
