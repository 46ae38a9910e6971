#include "quorvik_island/Commands/AutostartCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <chrono>

namespace quorvik::AutostartCommand {

namespace {

void tell(const std::vector<std::string>& command, Console& console) {
    constexpr std::size_t most = 1 << 16;       // bytes
    constexpr std::chrono::seconds longest(60); // the service manager may start the app
    if (command.empty() || Platform::programOutput(command, most, longest)) return;
    console.note("autostart: `" + command.front() +
                 "` was of no use; it takes effect with your next session");
}

} // namespace

EditOutcome install(const Arguments& arguments, Console& console) {
    const auto manager = Platform::serviceManager();
    EditOutcome change =
        Autostart::install(manager, Autostart::Start::now(appProgram.runnableOf(arguments, console)));
    tell(Autostart::noticeOfInstall(manager), console);
    return change;
}

int run(const Arguments& arguments) {
    const std::string& action = arguments.words.front();

    Console console(arguments.has("--json"));
    const auto manager = Platform::serviceManager();
    try {
        EditOutcome change;
        if (action == "install") change = install(arguments, console);
        if (action == "uninstall") change = Autostart::uninstall(manager);
        if (change.changed && action == "uninstall") tell(Autostart::noticeOfUninstall(manager), console);

        const auto state = Autostart::state(manager, Autostart::Start::now(appProgram.of(arguments)));
        const std::string file = Autostart::file(manager).string();
        nlohmann::json result{{"status", rawValue(state)}, {"file", file}};
        if (action != "status") result["changed"] = change.changed;
        if (change.backup) result["backup"] = change.backup->string();
        console.line(rawValue(state));
        if (state != Autostart::State::notInstalled) console.line(file);
        if (change.backup) console.line("backup in " + change.backup->string());
        console.value(result);
    } catch (const std::exception& error) {
        console.fail("autostart: " + std::string(error.what()));
        console.value({{"error", error.what()}});
    }
    return console.exitStatus();
}

} // namespace quorvik::AutostartCommand
