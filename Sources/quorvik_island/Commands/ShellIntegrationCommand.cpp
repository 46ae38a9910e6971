#include "quorvik_island/Commands/ShellIntegrationCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Text/Number.h"

#include <array>

namespace quorvik::ShellIntegrationCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island shell status|install|uninstall [--min-seconds <n>] [--cli <path>] [--json]

Lets zsh tell Quorvik of commands that take long, and of git commands that fail. A marked block in your
.zshrc loads a script from Quorvik's folder; shells that you open from then on report.

Prints how things stand (after the change): "installed" or "notInstalled", then a line for everything that
is not as an install with the same options would leave it, and where the old .zshrc was copied to.

  --min-seconds <n>  how long a command must take to be shown, 1 to 86400; 10 by default
  --cli <path>       the program quorvik; by default the installed one, else the one beside this program
  --json             one JSON object instead of lines

Examples:
  quorvik-island shell install
  quorvik-island shell install --min-seconds 30
  quorvik-island shell uninstall
)";

constexpr std::string_view minimumOption = "--min-seconds";
constexpr int defaultMinimum = 10, longestMinimum = 86400; // seconds

int minimum(const Arguments& arguments) {
    const auto chosen = arguments.values.find(minimumOption);
    if (chosen == arguments.values.end()) return defaultMinimum;
    const auto seconds = Number::integer<int>(chosen->second);
    if (!seconds || *seconds < 1 || *seconds > longestMinimum)
        throw UsageError(std::string(minimumOption) + " must be 1 to 86400");
    return *seconds;
}

EditOutcome apply(const std::string& action, const Arguments& arguments, int minSeconds, Console& console) {
    const auto rc = ShellIntegration::zshrcURL(), script = ShellIntegration::scriptURL();
    if (action == "install") {
        const std::string cli = commandLineTool.runnableOf(arguments, console);
        return ShellIntegration::install(cli, minSeconds, rc, script);
    }
    // "remove" is the older name of this action.
    if (action == "uninstall" || action == "remove") return ShellIntegration::remove(rc, script);
    if (action != "status") throw UsageError("shell: unknown action " + action);
    return {};
}

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    constexpr std::array<std::string_view, 2> valueOptions = {minimumOption, commandLineTool.option};
    const Arguments arguments = Arguments::parse(commandLine, flags, valueOptions);
    Console console(arguments.has("--json"));
    if (arguments.has("--help")) return printHelp(help);
    if (arguments.words.empty()) throw UsageError("shell: say status, install or uninstall");
    arguments.expectAtMost(1, "shell");
    const std::string& action = arguments.words.front();
    const int minSeconds = minimum(arguments);

    nlohmann::json result = nlohmann::json::object();
    EditOutcome change;
    try {
        change = apply(action, arguments, minSeconds, console);
        const auto status =
            ShellIntegration::status(commandLineTool.of(arguments), minSeconds, ShellIntegration::zshrcURL(),
                                     ShellIntegration::scriptURL());
        result["status"] = status.installed ? "installed" : "notInstalled";
        result["differences"] = status.differences;
        console.line(status.installed ? "installed" : "notInstalled");
        for (const std::string& difference : status.differences)
            console.line(difference);
    } catch (const UsageError&) {
        throw;
    } catch (const std::exception& error) {
        console.fail("shell: " + std::string(error.what()));
        result["error"] = error.what();
    }
    // Told also when the state after the change could not be read.
    if (action != "status") result["changed"] = change.changed;
    if (change.backup) {
        result["backup"] = change.backup->string();
        console.line("backup in " + change.backup->string());
    }
    console.value(result);
    return console.exitStatus();
}

} // namespace quorvik::ShellIntegrationCommand
