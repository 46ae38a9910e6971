#include "quorvik_island/Commands/OverlayCommand.h"

#include "quorvik_island/Commands/StopCommand.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikApp/Control/BackgroundProgram.h"
#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Session/ProcessInspector.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace quorvik::OverlayCommand {

namespace {

/// What a program on the desktop needs besides what every program in the background does. It may start the
/// app, which QUORVIK_NO_START forbids.
constexpr std::string_view desktopVariables[] = {
    "XDG_", "QT_", "KDE_", "GNOME_", "LC_", "GTK_", "LANGUAGE", "XMODIFIERS", "XCURSOR_", "QUORVIK_NO_START"};

void start(const std::string& program, Console& console) {
    constexpr std::chrono::seconds limit(20); // it may have to start the app, too
    constexpr std::string_view isRunning = "running";
    std::string answer;
    try {
        answer = BackgroundProgram::start({.path = program,
                                           .words = {},
                                           .environment = BackgroundProgram::environment(desktopVariables),
                                           .log = QuorvikPaths::overlayLog()},
                                          limit);
    } catch (const BackgroundProgram::StartError& error) {
        throw std::runtime_error("could not start the overlay: " + std::string(error.what()));
    }
    if (answer == "ready") return;
    if (answer == isRunning) return console.note("an overlay runs already");
    if (answer.starts_with(std::string(isRunning) + " "))
        return console.note(answer.substr(isRunning.size() + 1));
    throw std::runtime_error("could not start the overlay: " + answer);
}

/// Runs the program in the place of this one. Returns only when that fails, which it throws.
[[noreturn]] void become(std::vector<std::string> words) {
    // Signals that are ignored would stay so.
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    ::execv(words.front().c_str(), Platform::argumentPointers(words).data());
    throw std::runtime_error("could not run " + words.front() + ": " +
                             std::generic_category().message(errno));
}

void stop(Console& console) {
    std::int32_t pid = 0;
    try {
        ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
        const nlohmann::json status = client.call("status");
        for (const auto& frontEnd : status.value("frontEnds", nlohmann::json::array()))
            if (frontEnd.value("role", "") == "overlay") pid = frontEnd.value("pid", 0);
    } catch (const NotRunning&) {
        return console.note("the app does not run, which knows of the overlay; there is nothing to end");
    }
    const auto process = pid > 0 ? ProcessInspector::info(pid) : std::nullopt;
    if (!process) return console.note("no overlay runs");
    if (::kill(pid, SIGTERM) != 0 && errno != ESRCH)
        throw std::runtime_error("could not end the overlay, process " + std::to_string(pid) + ": " +
                                 std::generic_category().message(errno));
    constexpr std::chrono::seconds patience(5);
    if (!StopCommand::endsWithin(patience, *process))
        throw std::runtime_error("the overlay was told to end, but process " + std::to_string(pid) +
                                 " is still there");
}

} // namespace

std::string program(const Arguments& arguments) {
    std::string program = overlayProgram.of(arguments);
    if (Files::isExecutable(program)) return program;
    throw std::runtime_error(
        arguments.value(overlayProgram.option)
            ? "there is no overlay program at " + program
            : "the overlay is not installed; it is the Debian package quorvik-overlay, or "
              "part of a build that finds Qt 6");
}

int run(const Arguments& arguments) {
    const bool isInForeground = arguments.has("--foreground"), isDoctor = arguments.has("--doctor");
    const bool isStop = !arguments.words.empty();
    if (isStop + isInForeground + isDoctor > 1)
        throw UsageError("overlay: say one of stop, --foreground and --doctor");
    Console console(false);
    if (isStop)
        stop(console);
    else if (isInForeground)
        become({program(arguments)});
    else if (isDoctor)
        become({program(arguments), "--doctor"});
    else
        start(program(arguments), console);
    return console.exitStatus();
}

} // namespace quorvik::OverlayCommand
