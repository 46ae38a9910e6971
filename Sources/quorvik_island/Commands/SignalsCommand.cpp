#include "quorvik_island/Commands/SignalsCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/SignalStatus.h"

#include "QuorvikCore/Text/Unicode.h"

#include <cmath>

namespace quorvik::SignalsCommand {

namespace {

/// "containers  on   10 s ago, again in 50 s; 0.21 s for 6 looks in the last hour".
std::string lineOf(const SignalStatus& signal, Date now) {
    constexpr std::size_t nameColumns = 12;
    std::string line = signal.name;
    line.resize(std::max(nameColumns, line.size() + 1), ' ');
    line += signal.isOn ? "on   " : "off  ";
    if (signal.lastLook) line += "looked " + age(*signal.lastLook, now) + " ago";
    if (signal.isOn && signal.nextLook)
        line += (signal.lastLook ? ", again in " : "looks in ") + age(now, std::max(*signal.nextLook, now));
    else if (signal.isOn)
        line += signal.lastLook ? ", again when something changes" : "looks when something changes";
    if (signal.looks > 0) {
        char cost[64];
        std::snprintf(cost, sizeof cost, "; %.2f s for %lld look%s in the last hour", signal.seconds,
                      static_cast<long long>(signal.looks), signal.looks == 1 ? "" : "s");
        line += cost;
    }
    if (!signal.why.empty()) line += (line.ends_with(' ') ? "" : "; ") + signal.why;
    return Unicode::terminalLine(line) + "\n";
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const auto result = ControlClient::connect("command", ControlClient::Start::never).call("signals");
    std::vector<SignalStatus> signals;
    RecordReader(result).required("signals", signals);
    const Date now = std::chrono::system_clock::now();
    std::string lines;
    nlohmann::json values = nlohmann::json::array();
    for (const SignalStatus& signal : signals) {
        lines += lineOf(signal, now);
        values.push_back(signal.toJSON());
    }
    console.text(lines);
    console.value(values);
    return console.exitStatus();
}

} // namespace quorvik::SignalsCommand
