#include "quorvik_island/Commands/StatusLineCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/StatusLineInstaller.h"

#include <array>

namespace quorvik::StatusLineCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island statusline status|install|uninstall [--hook-path <path>] [--json]

Makes Quorvik the status line of Claude Code, through which it learns your usage limits. Your own status
line is kept, and comes back with uninstall.

Prints how things stand (after the change): "on", "off", or "unreadable: …" when Claude Code's settings
cannot be read; they are then left alone. More lines say where the old settings were copied to, and where
your own status line is when it could not be put back.

  --hook-path <path>  the hook program; by default the installed one, else the one beside this program
  --json              one JSON object instead of lines

Examples:
  quorvik-island statusline install
  quorvik-island statusline status --json
)";

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
    if (action != "uninstall") throw UsageError("statusline: unknown action " + action);
    const auto removal = StatusLineInstaller::uninstall(target, original);
    if (!removal.unreadable.empty()) throw EditError(removal.unreadable);
    return {{Status::Kind::off, {}}, removal};
}

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    constexpr std::array<std::string_view, 1> valueOptions = {hookProgram.option};
    const Arguments arguments = Arguments::parse(commandLine, flags, valueOptions);
    Console console(arguments.has("--json"));
    if (arguments.has("--help")) return printHelp(help);
    if (arguments.words.empty()) throw UsageError("statusline: say status, install or uninstall");
    arguments.expectAtMost(1, "statusline");
    const std::string& action = arguments.words.front();

    Outcome outcome;
    try {
        outcome = apply(action, HookTarget::claude(), arguments, console);
    } catch (const UsageError&) {
        throw;
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
