#include "quorvik_island/Commands/StatusLineCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/StatusLineInstaller.h"

namespace quorvik::StatusLineCommand {

namespace {

using Status = StatusLineInstaller::Status;

/// What one run found or did.
struct Outcome {
    Status status; ///< how things stand now
    StatusLineInstaller::Removal change;
};

Outcome apply(const std::string& action, const HookTarget& target, const Arguments& arguments,
              Console& console) {
    const auto original = StatusLineInstaller::originalFile();
    if (action == "status") return {StatusLineInstaller::status(target), {}};
    if (action == "install") {
        const std::string hookPath = hookProgram.runnableOf(arguments, console);
        return {{Status::Kind::on, {}}, {StatusLineInstaller::install(target, hookPath, original)}};
    }
    const auto removal = StatusLineInstaller::uninstall(target, original);
    if (!removal.unreadable.empty()) throw EditError(removal.unreadable);
    return {{Status::Kind::off, {}}, removal};
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const std::string& action = arguments.words.front();

    Outcome outcome;
    try {
        outcome = apply(action, HookTarget::claude(), arguments, console);
    } catch (const std::exception& error) {
        console.fail("statusline: " + std::string(error.what()));
        console.value({{"error", error.what()}});
        return console.exitStatus();
    }

    const auto& [status, change] = outcome;
    nlohmann::json result{{"status", rawValue(status.kind)}};
    if (!status.why.empty()) result["why"] = status.why;
    if (action != "status") result["changed"] = change.changed;
    console.line(std::string(rawValue(status.kind)) + (status.why.empty() ? "" : ": " + status.why));
    if (change.backup) {
        result["backup"] = change.backup->string();
        console.line("backup in " + change.backup->string());
    }
    if (change.setAside) {
        result["setAside"] = change.setAside->string();
        console.line("your own status line could not be read and is not back; it is kept in " +
                     change.setAside->string());
    }
    console.value(result);
    return console.exitStatus();
}

} // namespace quorvik::StatusLineCommand
