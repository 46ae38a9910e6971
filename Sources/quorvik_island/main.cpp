#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/AcknowledgeCommand.h"
#include "quorvik_island/Commands/AlertsCommand.h"
#include "quorvik_island/Commands/AnswerCommand.h"
#include "quorvik_island/Commands/AutostartCommand.h"
#include "quorvik_island/Commands/ClearCommand.h"
#include "quorvik_island/Commands/ClipboardCommand.h"
#include "quorvik_island/Commands/CompleteCommand.h"
#include "quorvik_island/Commands/CompletionCommand.h"
#include "quorvik_island/Commands/DoctorCommand.h"
#include "quorvik_island/Commands/HelpCommand.h"
#include "quorvik_island/Commands/HooksCommand.h"
#include "quorvik_island/Commands/LiveCommand.h"
#include "quorvik_island/Commands/ManCommand.h"
#include "quorvik_island/Commands/OpenCommand.h"
#include "quorvik_island/Commands/OverlayCommand.h"
#include "quorvik_island/Commands/PickCommand.h"
#include "quorvik_island/Commands/RequestsCommand.h"
#include "quorvik_island/Commands/RestartCommand.h"
#include "quorvik_island/Commands/ServeCommand.h"
#include "quorvik_island/Commands/SettingsCommand.h"
#include "quorvik_island/Commands/ShellIntegrationCommand.h"
#include "quorvik_island/Commands/ShowCommand.h"
#include "quorvik_island/Commands/SignalsCommand.h"
#include "quorvik_island/Commands/StatusCommand.h"
#include "quorvik_island/Commands/StatusLineCommand.h"
#include "quorvik_island/Commands/StopCommand.h"
#include "quorvik_island/Commands/SyncCommand.h"
#include "quorvik_island/Commands/UpdateCommand.h"
#include "quorvik_island/Commands/UsageCommand.h"
#include "quorvik_island/Commands/WatchCommand.h"
#include "quorvik_island/Commands/WhyCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <algorithm>
#include <csignal>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvik {

namespace {

/// What runs the commands of the table.
struct Handler {
    std::string_view command;
    int (*run)(const Arguments& arguments);
};

constexpr Handler handlers[] = {
    {"acknowledge", AcknowledgeCommand::run},
    {"alerts", AlertsCommand::run},
    {"answer", AnswerCommand::run},
    {"autostart", AutostartCommand::run},
    {"clear", ClearCommand::run},
    {"clipboard", ClipboardCommand::run},
    {"complete", CompleteCommand::run},
    {"completion", CompletionCommand::run},
    {"doctor", DoctorCommand::run},
    {"help", HelpCommand::run},
    {"hooks", HooksCommand::run},
    {"man", ManCommand::run},
    {"open", OpenCommand::run},
    {"overlay", OverlayCommand::run},
    {"pick", PickCommand::run},
    {"requests", RequestsCommand::run},
    {"restart", RestartCommand::run},
    {"serve", ServeCommand::run},
    {"settings", SettingsCommand::run},
    {"shell", ShellIntegrationCommand::run},
    {"show", ShowCommand::run},
    {"signals", SignalsCommand::run},
    {"status", StatusCommand::run},
    {"statusline", StatusLineCommand::run},
    {"stop", StopCommand::run},
    {"sync", SyncCommand::run},
    {"update", UpdateCommand::run},
    {"usage", UsageCommand::run},
    {"watch", WatchCommand::run},
    {"why", WhyCommand::run},
};

int live(std::span<const std::string> words) {
    const ProgramRow& program = CommandTable::island();
    const Arguments arguments = Arguments::parse(program.self, words);
    if (arguments.has("--help")) return HelpCommand::print(program, program.self);
    if (arguments.has("--version")) return BuildInfo::print(program.name);
    return LiveCommand::run(arguments);
}

int run(const CommandRow& command, std::span<const std::string> words) {
    const Handler* handler = std::ranges::find(handlers, command.name, &Handler::command);
    if (handler == std::end(handlers)) throw std::logic_error("nothing runs " + std::string(command.name));
    if (command.takesRawWords) return handler->run({.words = {words.begin(), words.end()}});
    const Arguments arguments = Arguments::parse(command, words);
    if (arguments.has("--help")) return HelpCommand::print(CommandTable::island(), command);
    return handler->run(arguments);
}

int dispatch(std::span<const std::string> words) {
    std::string helpCommand = "quorvik-island --help"; // for who got the command line wrong
    try {
        if (words.empty() || words.front().starts_with('-')) return live(words);
        const std::string& first = words.front();
        const CommandRow* command = CommandTable::command(CommandTable::island(), first);
        if (!command) throw UsageError(HelpCommand::unknown(first));
        if (first != "help") helpCommand = "quorvik-island " + first + " --help";
        return run(*command, words.subspan(1));
    } catch (const UsageError& error) {
        Console(false).fail(std::string(error.what()) + " (see " + helpCommand + ")");
        return exitUsage;
    } catch (const std::exception& error) {
        Console console(std::ranges::find(words, "--json") != words.end());
        console.fail(error.what());
        console.value({{"error", error.what()}});
        return exitFailure;
    }
}

} // namespace

} // namespace quorvik

int main(int argc, char** argv) {
    quorvik::occupyStandardDescriptors();
    // A write to a closed pipe, or to a file that may not grow, is to fail, and not to end the program.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    return quorvik::dispatch(words);
}
