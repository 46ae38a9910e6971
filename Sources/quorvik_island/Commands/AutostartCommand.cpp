#include "quorvik_island/Commands/AutostartCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/OverlayCommand.h"
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

/// How one of the two stands, for people and for programs.
void tellState(Autostart::What what, const Arguments& arguments, const EditOutcome& change, Console& console,
               nlohmann::json& result) {
    const auto state = AutostartCommand::state(what, arguments);
    const std::string file = Autostart::file(Platform::serviceManager(), what).string();
    const std::string start = what == Autostart::What::app ? "" : "overlay: ";
    result["status"] = rawValue(state);
    result["file"] = file;
    if (arguments.words.front() != "status") result["changed"] = change.changed;
    if (change.backup) result["backup"] = change.backup->string();
    console.line(start + std::string(rawValue(state)));
    if (state != Autostart::State::notInstalled) console.line(start + file);
    if (change.backup) console.line(start + "backup in " + change.backup->string());
}

EditOutcome uninstall(Autostart::What what, Console& console) {
    const auto manager = Platform::serviceManager();
    EditOutcome change = Autostart::uninstall(manager, what);
    if (change.changed) tell(Autostart::noticeOfUninstall(manager, what), console);
    return change;
}

} // namespace

Autostart::State state(Autostart::What what, const Arguments& arguments) {
    const std::string program =
        what == Autostart::What::app ? appProgram.of(arguments) : overlayProgram.of({});
    return Autostart::state(Platform::serviceManager(), what, Autostart::Start::now(program));
}

EditOutcome install(Autostart::What what, const Arguments& arguments, Console& console) {
    const auto manager = Platform::serviceManager();
    if (what == Autostart::What::overlay) OverlayCommand::program({}); // says why there is none
    const std::string program = what == Autostart::What::app ? appProgram.runnableOf(arguments, console)
                                                             : overlayProgram.runnableOf({}, console);
    EditOutcome change = Autostart::install(manager, what, Autostart::Start::now(program));
    tell(Autostart::noticeOfInstall(manager, what), console);
    return change;
}

int run(const Arguments& arguments) {
    using Autostart::What;
    const std::string& action = arguments.words.front();
    const bool namesOverlay = arguments.has("--overlay");

    Console console(arguments.has("--json"));
    try {
        EditOutcome app, overlay;
        if (action == "install") {
            if (namesOverlay) overlay = install(What::overlay, arguments, console); // there may be none
            app = install(What::app, arguments, console);
        } else if (action == "uninstall") {
            overlay = uninstall(What::overlay, console);
            if (!namesOverlay) app = uninstall(What::app, console);
        }
        nlohmann::json result, ofOverlay;
        tellState(What::app, arguments, app, console, result);
        if (action == "status" || namesOverlay || overlay.changed ||
            state(What::overlay, arguments) != Autostart::State::notInstalled) {
            tellState(What::overlay, arguments, overlay, console, ofOverlay);
            result["overlay"] = ofOverlay;
        }
        console.value(result);
    } catch (const std::exception& error) {
        console.fail("autostart: " + std::string(error.what()));
        console.value({{"error", error.what()}});
    }
    return console.exitStatus();
}

} // namespace quorvik::AutostartCommand
