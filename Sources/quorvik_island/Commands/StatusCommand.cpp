#include "quorvik_island/Commands/StatusCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/RequestsCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/UsageRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::StatusCommand {

namespace {

/// "12 min: version 0.1.0, process 4711, /usr/bin/quorvik-island". `of` describes the app or a front end;
/// `since` is the name of the member with the time, which differs between the two.
std::string process(const nlohmann::json& of, const char* since) {
    std::string text = age(dateFromSeconds(of.value(since, 0.0))) + ": ";
    if (of.contains("version")) text += "version " + of.value("version", "") + ", ";
    text += "process " + std::to_string(of.value("pid", std::int64_t{0}));
    const std::string program = of.value("program", "");
    if (!program.empty()) text += ", " + program;
    return text;
}

std::string linesOf(const nlohmann::json& status, const Snapshot& snapshot) {
    std::string lines;
    const auto add = [&](std::string_view line) { lines += Unicode::terminalLine(line) + "\n"; };
    const auto addTrouble = [&](const std::string& trouble) { add("does not work: " + trouble); };
    add("running for " + process(status, "startedAt"));
    add("folder " + status.value("folder", ""));
    const std::size_t count = snapshot.requests.size();
    add(std::to_string(count) + (count == 1 ? " request waits" : " requests wait"));
    for (const auto& waiting : snapshot.requests)
        add("  for " + age(waiting->receivedAt) + ": " + std::string(displayName(waiting->request.source)) +
            ", " + RequestsCommand::what(waiting->request));
    for (const auto& frontEnd : status.value("frontEnds", nlohmann::json::array()))
        add(frontEnd.value("role", "") + " attached for " + process(frontEnd, "since"));
    if (snapshot.alertsPausedUntil)
        add("alerts are paused until " +
            clockTime(*snapshot.alertsPausedUntil, std::chrono::system_clock::now()));
    std::ranges::for_each(snapshot.troubles, addTrouble);
    for (const std::string& path : snapshot.corrupt)
        addTrouble(path + " holds no readable session record");
    for (const std::string& path : snapshot.unsupported)
        addTrouble(path + " is of another version of Quorvik");
    return lines;
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    try {
        ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
        nlohmann::json status = client.call("status");
        if (!console.json()) console.text(linesOf(status, client.snapshot()));
        status["running"] = true;
        console.value(status);
    } catch (const NoApp& error) {
        console.fail(error.what());
        console.value({{"running", false}, {"error", error.what()}});
    }
    return console.exitStatus();
}

} // namespace quorvik::StatusCommand
