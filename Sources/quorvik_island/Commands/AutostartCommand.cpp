#include "quorvik_island/Commands/AutostartCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <array>
#include <chrono>

namespace quorvik::AutostartCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island autostart status|install|uninstall [--program <path>] [--json]

Lets the app start with your session, by a unit for systemd or an agent for launchd. Without it the app is
started by the first live island or `watch`.

Prints how things stand (after the change), and where the file is:
  installed      up to date
  notInstalled   nothing of ours is there
  stale          edited, of another version, or the program is gone: install again
  foreign        there is a file of that name that is not ours; it is left alone

A file of ours that was edited is copied before it is changed. The app that runs now goes on.

  --program <path>  the app; by default the installed quorvik-island, else this program
  --json            one JSON object instead of lines

Examples:
  quorvik-island autostart install
  systemctl --user start quorvik      not only with the next session, but now
)";

constexpr const char* programName = "quorvik-island";
constexpr ProgramPath app = {"--program", "program", programName,
                             [] { return QuorvikPaths::binDirectory() / programName; }};

void tell(const std::vector<std::string>& command, Console& console) {
    constexpr std::size_t most = 1 << 16;       // bytes
    constexpr std::chrono::seconds longest(60); // the service manager may start the app
    if (command.empty() || Platform::programOutput(command, most, longest)) return;
    console.note("autostart: `" + command.front() +
                 "` was of no use; it takes effect with your next session");
}

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    constexpr std::array<std::string_view, 1> valueOptions = {app.option};
    const Arguments arguments = Arguments::parse(commandLine, flags, valueOptions);
    if (arguments.has("--help")) return printHelp(help);
    if (arguments.words.empty()) throw UsageError("autostart: say status, install or uninstall");
    arguments.expectAtMost(1, "autostart");
    const std::string& action = arguments.words.front();
    if (action != "status" && action != "install" && action != "uninstall")
        throw UsageError("autostart: unknown action " + action);

    Console console(arguments.has("--json"));
    const auto manager = Platform::serviceManager();
    try {
        EditOutcome change;
        if (action == "install")
            change = Autostart::install(manager, Autostart::Start::now(app.runnableOf(arguments, console)));
        if (action == "uninstall") change = Autostart::uninstall(manager);
        if (action == "install") tell(Autostart::noticeOfInstall(manager), console);
        if (change.changed && action == "uninstall") tell(Autostart::noticeOfUninstall(manager), console);

        const auto state = Autostart::state(manager, Autostart::Start::now(app.of(arguments)));
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
