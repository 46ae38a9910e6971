#include "quorvik_island/CommandLine/CommandTable.h"

#include "quorvik_island/CommandLine/Rows.h"

#include <algorithm>

namespace quorvik::CommandTable {

namespace {

constexpr TopicRow variables[] = {
    {"QUORVIK_HOME",
     "the support folder; by default Library/Application Support/Quorvik in your home folder"},
    {"QUORVIK_NO_START", "1: nothing starts the app but `serve` and `autostart`"},
    {"ACCESSIBLE", "when set and not empty, the live island is lines instead of a screen"},
    {"NO_COLOR", "when set and not empty, there are no colours"},
    {"TERM", "\"dumb\", or not set: no colours, and no screen to draw on"},
    {"COLUMNS", "the width of a terminal that does not tell its own"},
    {"PAGER", "shows the logs of commands; by default less"},
    {"TMUX", "`open` selects panes of this tmux"},
    {"PATH", "where tools are found, such as git, docker and gh; `autostart install` keeps it for the app"},
    {"DISPLAY", "the X server on whose screen the overlay appears"},
    {"WAYLAND_DISPLAY", "the same, of Wayland"},
    {"ZDOTDIR", "the folder of .zshrc; by default your home folder"},
    {"XDG_CONFIG_HOME", "the folder of systemd's user units and of desktops' autostart/; by default .config "
                        "in your home folder"},
    {"CLAUDE_CONFIG_DIR", "the folder of Claude Code; `doctor` says when our hooks are elsewhere"},
    {"QWEN_HOME", "the same, of Qwen Code"},
    {"COPILOT_HOME", "the same, of GitHub Copilot"},
    {"CODEX_HOME", "the folder of Codex; by default .codex in your home folder"},
    {"DEVIN_PROJECT_DIR", "the folder of Devin's session: Devin sets it for its hooks"},
    {"COPILOT_ALLOW_ALL", "GitHub Copilot sets it when it asks for no permissions"},
    {"NOTIFY_SOCKET", "where systemd is told that the app is ready"},
};

constexpr TopicRow supportFiles[] = {
    {"sessions/", "session records, a JSON object each"},
    {"logs/", "the output of supervised commands, for a week"},
    {"backups/", "copies of your files, made before they were changed"},
    {"usage/", "the last figures of agents' limits"},
    {"bin/, shell/", "installed programs, the script for zsh"},
    {"settings.json", "your choices (`quorvik-island settings`)"},
    {"hooks.json", "when agents were connected, and which of their events were not understood"},
    {"memory.json", "what you have waved away and picked, and a pause of alerts"},
    {"alert.sock, approval.sock", "where `quorvik alert` and the hook find the app"},
    {"island.sock", "for front ends"},
    {"app.lock, app.log", "the app's lock, and what it says when it was started in the background"},
    {"overlay.log", "what the overlay says when it was started in the background"},
};

constexpr TopicTable tables[] = {
    {"environment", "The variables that our programs look at.", variables},
    {"files",
     "Below the support folder: $QUORVIK_HOME, else Library/Application Support/Quorvik in your home folder.",
     supportFiles},
};

constexpr OptionRow help = {.name = "--help", .summary = "this text", .shortName = "-h"};

constexpr OptionRow liveOptions[] = {
    {.name = "--plain",
     .summary =
         "lines instead of a screen, with numbered choices, for screen readers; also when ACCESSIBLE is set"},
    {.name = "--json-ui",
     .summary = "for programs: a JSON object per line in (keys, resize), one out with what is to be seen"},
    {.name = "--version", .summary = "the program's version, commit and system"},
};

ProgramRow islandRow() {
    static const GroupRow groups[] = {Rows::looking(), Rows::answering(), Rows::settingUp(), Rows::theApp(),
                                      Rows::helping()};
    return {.name = "quorvik-island",
            .summary = "see what coding agents and commands do, and answer them",
            .self = {.name = "quorvik-island",
                     .description = R"(
Your side of Quorvik, in a terminal. Without a command it is the island itself, live: what is going on, and what waits
for your answer. It starts the app when that does not run. ? shows the keys, q quits. Should a terminal ever be left
without echo: `stty sane`.

Results go to standard output, failures to standard error.
)",
                     .options = liveOptions,
                     .usage = "[--plain | --json-ui]\n<command> …\n--version",
                     .examples = R"(
  quorvik-island hooks install     connect every agent that is found
  quorvik-island show              what goes on, once
)",
                     .environment = "QUORVIK_HOME QUORVIK_NO_START ACCESSIBLE NO_COLOR TERM"},
            .groups = groups,
            .isParsed = true,
            .seeAlso = "quorvik(1), quorvik-hook(1), quorvik-account(1), quorvik-overlay(1)"};
}

} // namespace

std::span<const ProgramRow> programs() {
    static const ProgramRow all[] = {islandRow(), Rows::quorvik(), Rows::hook(), Rows::account(),
                                     Rows::overlay()};
    return all;
}

const ProgramRow& island() {
    return programs().front();
}

const ProgramRow* program(std::string_view name) {
    const auto found = std::ranges::find(programs(), name, &ProgramRow::name);
    return found == programs().end() ? nullptr : &*found;
}

const CommandRow* command(const ProgramRow& program, std::string_view name) {
    for (const GroupRow& group : program.groups) {
        const auto found = std::ranges::find(group.commands, name, &CommandRow::name);
        if (found != group.commands.end()) return &*found;
    }
    return nullptr;
}

const OptionRow* option(const CommandRow& command, std::string_view name) {
    const auto isMeant = [&](const OptionRow& row) { return row.name == name || row.shortName == name; };
    const auto found = std::ranges::find_if(command.options, isMeant);
    if (found != command.options.end()) return &*found;
    return isMeant(help) && !name.empty() ? &help : nullptr;
}

std::span<const TopicTable> topics() {
    return tables;
}

const TopicTable* topic(std::string_view name) {
    const auto found = std::ranges::find(tables, name, &TopicTable::name);
    return found == std::end(tables) ? nullptr : &*found;
}

const TopicTable& environment() {
    return tables[0];
}

const TopicTable& files() {
    return tables[1];
}

const OptionRow& helpOption() {
    return help;
}

std::span<const StatusRow> statuses(const ProgramRow& program, const CommandRow& command) {
    if (!command.statuses.empty()) return command.statuses;
    return program.self.statuses.empty() ? std::span<const StatusRow>(Rows::usualStatuses)
                                         : program.self.statuses;
}

} // namespace quorvik::CommandTable
