#include "quorvik_island/Commands/HooksCommand.h"

#include "quorvik_island/AgentName.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Agents/AgentDetection.h"
#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <vector>

namespace quorvik::HooksCommand {

namespace {

enum class Action { status, install, uninstall };

std::vector<HookTarget> chosenTargets(const Arguments& arguments, std::span<const std::string> names) {
    std::vector<HookTarget> targets;
    const bool all = arguments.has("--all");
    if (all && !names.empty()) throw UsageError("name agents or say --all, not both");
    const auto add = [&](Source source) {
        const auto target = HookTarget::target(source);
        const bool isNew = std::ranges::find(targets, source, &HookTarget::source) == targets.end();
        if (target && isNew) targets.push_back(*target); // twice would replace the backup of a moment ago
    };
    for (const std::string& name : names)
        add(agentNamed(name));
    if (all) {
        for (const Source source : agentSources())
            add(source);
    } else if (names.empty()) {
        for (const Source source : AgentDetection::detected(QuorvikPaths::home()))
            add(source);
    }
    return targets;
}

void reportStatus(const HookTarget& target, const std::string& hookPath, Console& console,
                  nlohmann::json& result) {
    const auto status = HookInstaller::status(target, hookPath);
    std::string text(rawValue(status.kind));
    result["status"] = text;
    if (!status.why.empty()) {
        result["why"] = status.why;
        text += ": " + status.why;
    }
    console.line(std::string(rawValue(target.source)) + "\t" + text);
}

/// What the user should know about how the agent takes up new hooks, one line; empty for most agents.
std::string_view noteAfterInstall(Source source) {
    switch (source) {
    case Source::codex:
        return "Codex will ask you to review the new hooks at its next start, and runs none of them before "
               "that";
    case Source::qwen:
    case Source::copilot: return "what runs already reports nothing until it is started again";
    default: return "";
    }
}

void report(const HookTarget& target, std::string_view action, const EditOutcome& done, Console& console,
            nlohmann::json& result) {
    const std::string agent(rawValue(target.source));
    const std::string file = target.fileURL.string();
    result["file"] = file;
    result["changed"] = done.changed;
    if (!done.changed) return console.line(agent + ": nothing to remove from " + file);
    console.line(agent + ": " + std::string(action) + " " + file);
    if (!done.backup) return;
    result["backup"] = done.backup->string();
    console.line(agent + ": backup in " + done.backup->string());
}

void change(Action action, const HookTarget& target, const std::string& hookPath, Console& console,
            nlohmann::json& result) {
    try {
        if (action == Action::install) return install(target, hookPath, console, result);
        report(target, "removed from", HookInstaller::uninstall(target), console, result);
    } catch (const std::exception& error) {
        result["error"] = error.what();
        console.fail(std::string(rawValue(target.source)) + ": " + error.what());
    }
}

Action actionNamed(const std::string& name) {
    if (name == "install") return Action::install;
    return name == "uninstall" ? Action::uninstall : Action::status;
}

} // namespace

void install(const HookTarget& target, const std::string& hookPath, Console& console,
             nlohmann::json& result) {
    const EditOutcome done = HookInstaller::install(target, hookPath);
    report(target, "installed in", done, console, result);
    const std::string note(noteAfterInstall(target.source));
    if (done.isSame || note.empty()) return;
    result["note"] = note;
    console.line(std::string(rawValue(target.source)) + ": " + note);
}

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const Action action = actionNamed(arguments.words.front());
    const auto targets = chosenTargets(arguments, std::span(arguments.words).subspan(1));

    if (targets.empty()) {
        const std::string none = "no coding agent has a configuration folder in " +
                                 QuorvikPaths::home().string() + "; name one, or say --all";
        if (action == Action::install)
            console.fail(none);
        else
            console.note(none);
    }
    std::string hookPath, missing; // missing: why there is nothing to install
    try {
        const bool installs = action == Action::install && !targets.empty();
        hookPath = installs ? hookProgram.runnableOf(arguments, console) : hookProgram.of(arguments);
    } catch (const EditError& error) {
        missing = error.what();
        console.fail(missing);
    }

    nlohmann::json results = nlohmann::json::array();
    for (const HookTarget& target : targets) {
        nlohmann::json result{{"source", rawValue(target.source)}};
        if (!missing.empty())
            result["error"] = missing;
        else if (action == Action::status)
            reportStatus(target, hookPath, console, result);
        else
            change(action, target, hookPath, console, result);
        results.push_back(std::move(result));
    }
    console.value(results);
    return console.exitStatus();
}

} // namespace quorvik::HooksCommand
