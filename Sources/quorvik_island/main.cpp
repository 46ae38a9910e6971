#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/AcknowledgeCommand.h"
#include "quorvik_island/Commands/AlertsCommand.h"
#include "quorvik_island/Commands/AnswerCommand.h"
#include "quorvik_island/Commands/AutostartCommand.h"
#include "quorvik_island/Commands/ClearCommand.h"
#include "quorvik_island/Commands/ClipboardCommand.h"
#include "quorvik_island/Commands/DoctorCommand.h"
#include "quorvik_island/Commands/HooksCommand.h"
#include "quorvik_island/Commands/LiveCommand.h"
#include "quorvik_island/Commands/OpenCommand.h"
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
#include "quorvik_island/Commands/UsageCommand.h"
#include "quorvik_island/Commands/WatchCommand.h"
#include "quorvik_island/Commands/WhyCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <algorithm>
#include <csignal>
#include <span>
#include <string>
#include <vector>

namespace quorvik {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island [--plain] | <command> …

Your side of Quorvik, in a terminal. Without a command it is the island itself, live (--plain: in lines, for
screen readers).

  show, watch              what the island shows, now or a line for every change (for status bars)
  requests, answer         what agents wait for; allow it, deny it, or answer the questions
  alerts                   the alerts that are shown
  acknowledge, pick        you have seen it; keep it in front
  open, why                go to an item's terminal, log or page; why it is shown, or is not
  clear                    forget what is over
  usage                    how much of your agents' limits is used
  settings                 your choices
  clipboard                what can be done with what you have copied
  signals                  what the app looks at by itself, and what that costs
  doctor                   prove that everything works, or tell what to do
  hooks                    connect coding agents with Quorvik, or disconnect them
  shell                    let zsh report long commands
  statusline               let Quorvik draw Claude Code's status line
  serve, status, stop, restart, sync, autostart
                           the app, to which everything reports

`quorvik-island help <command>` says more. Results go to standard output, failures to standard error.
Exit status: 0 done, 1 something failed, 3 the command line does not make sense.

Examples:
  quorvik-island hooks install     connect every agent that is found
)";

struct Command {
    std::string_view name;
    int (*run)(std::span<const std::string> commandLine);
};

constexpr Command commands[] = {
    {"acknowledge", AcknowledgeCommand::run},
    {"alerts", AlertsCommand::run},
    {"answer", AnswerCommand::run},
    {"autostart", AutostartCommand::run},
    {"clear", ClearCommand::run},
    {"clipboard", ClipboardCommand::run},
    {"doctor", DoctorCommand::run},
    {"hooks", HooksCommand::run},
    {"open", OpenCommand::run},
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
    {"usage", UsageCommand::run},
    {"watch", WatchCommand::run},
    {"why", WhyCommand::run},
};

const Command& commandNamed(const std::string& name) {
    const Command* command = std::ranges::find(commands, name, &Command::name);
    if (command == std::end(commands)) throw UsageError("unknown command " + name);
    return *command;
}

int dispatch(std::span<const std::string> words) {
    std::string helpCommand = "quorvik-island --help"; // for who got the command line wrong
    try {
        if (words.empty()) return LiveCommand::run(words);
        const std::string& first = words.front();
        if (first == "--help" || first == "-h" || (first == "help" && words.size() == 1))
            return printHelp(help);
        if (first.starts_with('-')) return LiveCommand::run(words);
        const std::vector<std::string> askForHelp = {"--help"};
        if (first == "help") return commandNamed(words[1]).run(askForHelp);
        const Command& command = commandNamed(first);
        helpCommand = "quorvik-island " + first + " --help";
        return command.run(words.subspan(1));
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
