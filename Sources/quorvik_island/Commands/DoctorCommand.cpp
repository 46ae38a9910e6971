#include "quorvik_island/Commands/DoctorCommand.h"

#include "quorvik_island/AgentName.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Doctor/AgentChecks.h"
#include "quorvik_island/Doctor/AppChecks.h"
#include "quorvik_island/Doctor/FolderChecks.h"
#include "quorvik_island/Doctor/ProgramChecks.h"
#include "quorvik_island/Doctor/ShellChecks.h"
#include "quorvik_island/Screen.h"

#include "QuorvikCore/Agents/AgentDetection.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::DoctorCommand {

namespace {

using Doctor::Check;

std::string linesOf(const Check& check, const Screen& screen) {
    std::string mark(Check::mark(check.state));
    if (screen.colours) {
        constexpr const char* colours[] = {"32", "2", "33", "31"}; // in the order of the states
        mark = std::string("\x1b[") + colours[static_cast<int>(check.state)] + "m" + mark + "\x1b[0m";
    }
    std::string lines = mark + " " + Unicode::terminalLine(check.words) + "\n";
    if (!check.advice.empty()) lines += "    " + Unicode::terminalLine(check.advice) + "\n";
    return lines;
}

std::vector<Source> chosenAgents(const Arguments& arguments) {
    if (arguments.words.empty()) return AgentDetection::detected(QuorvikPaths::home());
    std::vector<Source> agents;
    for (const std::string& name : arguments.words) {
        const Source agent = agentNamed(name);
        if (std::ranges::find(agents, agent) == agents.end()) agents.push_back(agent);
    }
    return agents;
}

} // namespace

int run(const Arguments& arguments) {
    const auto agents = chosenAgents(arguments);
    const bool isWhole = arguments.words.empty(), fix = arguments.has("--fix");

    Console console(arguments.has("--json"));
    const Screen screen = Screen::ofStandardOutput();
    nlohmann::json values = nlohmann::json::array();
    Doctor::Findings findings([&](const Check& check) {
        console.text(linesOf(check, screen));
        nlohmann::json value = {{"id", check.id}, {"state", rawValue(check.state)}, {"words", check.words}};
        if (!check.advice.empty()) value["advice"] = check.advice;
        values.push_back(std::move(value));
    });

    const HookLedger::Content ledger = HookLedger::read();
    if (isWhole) Doctor::ProgramChecks::run(findings);
    if (isWhole || fix) Doctor::FolderChecks::run(fix, findings);
    if (agents.empty())
        findings.note("agents",
                      "no coding agent has a configuration folder in " + QuorvikPaths::home().string());
    for (const Source agent : agents)
        Doctor::AgentChecks::run(agent, ledger, findings);
    if (isWhole) {
        Doctor::ShellChecks::run(findings);
        Doctor::AppChecks::run(findings);
        Doctor::ProgramChecks::timeOfHook(findings);
    }
    console.value(values);
    return findings.isAllWell() ? console.exitStatus() : exitFailure;
}

} // namespace quorvik::DoctorCommand
