#include "quorvik_island/StatusLineCommand.h"

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
cannot be read; they are then left alone. A second line says where the old settings were copied to.

  --hook-path <path>  the hook program; by default the installed one, else the one beside this program
  --json              one JSON object instead of lines

Examples:
  quorvik-island statusline install
  quorvik-island statusline status --json
)";

using Status = StatusLineInstaller::Status;

FileChange apply(const std::string& action, const HookTarget& target, const Arguments& arguments) {
    const auto original = StatusLineInstaller::originalFile();
    if (action == "status") return {};
    if (action == "install")
        return StatusLineInstaller::install(target, hookProgram.runnableOf(arguments), original);
    if (action != "uninstall") throw UsageError("statusline: unknown action " + action);
    const Status before = StatusLineInstaller::status(target);
    if (before.kind == Status::Kind::unreadable) throw EditError(before.why);
    return StatusLineInstaller::uninstall(target, original);
}

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    constexpr std::array<std::string_view, 1> valueOptions = {hookProgram.option};
    const Arguments arguments = Arguments::parse(commandLine, flags, valueOptions);
    Console console(arguments.has("--json"));
    if (arguments.has("--help")) return printHelp(help);
    if (arguments.words.empty()) throw UsageError("statusline: say status, install or uninstall");
    if (arguments.words.size() > 1) throw UsageError("statusline: unexpected argument " + arguments.words[1]);
    const std::string& action = arguments.words.front();

    const HookTarget target = HookTarget::claude();
    FileChange change;
    try {
        change = apply(action, target, arguments);
    } catch (const UsageError&) {
        throw;
    } catch (const std::exception& error) {
        console.fail("statusline: " + std::string(error.what()));
        console.value({{"error", error.what()}});
        return console.exitStatus();
    }

    const Status status = StatusLineInstaller::status(target);
    nlohmann::json result{{"status", rawValue(status.kind)}};
    if (!status.why.empty()) result["why"] = status.why;
    if (action != "status") result["changed"] = change.changed;
    if (change.backup) result["backup"] = change.backup->string();
    console.line(std::string(rawValue(status.kind)) + (status.why.empty() ? "" : ": " + status.why));
    if (change.backup) console.line("backup in " + change.backup->string());
    console.value(result);
    return console.exitStatus();
}

} // namespace quorvik::StatusLineCommand
