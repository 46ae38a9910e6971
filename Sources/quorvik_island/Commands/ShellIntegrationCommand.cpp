#include "quorvik_island/Commands/ShellIntegrationCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Text/Number.h"

namespace quorvik::ShellIntegrationCommand {

namespace {

constexpr std::string_view minimumOption = "--min-seconds";
constexpr int longestMinimum = 86400; // seconds

int minimum(const Arguments& arguments) {
    const std::string* chosen = arguments.value(minimumOption);
    if (!chosen) return ShellIntegration::defaultMinimum;
    const auto seconds = Number::integer<int>(*chosen);
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
    return {};
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
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
