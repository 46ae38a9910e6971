#include "quorvik_island/Commands/HelpCommand.h"

#include "quorvik_island/CommandLine/HelpText.h"
#include "quorvik_island/CommandLine/NearestName.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Screen.h"

#include <algorithm>

namespace quorvik::HelpCommand {

namespace {

std::size_t columns() {
    constexpr std::size_t usual = 80, widest = 100; // long lines are hard to read
    const Screen screen = Screen::ofStandardOutput();
    return screen.columns == Screen::unlimited ? usual : std::min(screen.columns, widest);
}

int print(const std::string& text) {
    Console console(false);
    console.text(text);
    return console.exitStatus();
}

std::string unknownOf(const ProgramRow& program, const std::string& name) {
    std::vector<std::string_view> names;
    for (const GroupRow& group : program.groups)
        for (const CommandRow& command : group.commands)
            if (!command.isHidden) names.push_back(command.name);
    return "unknown command " + name + NearestName::question(name, names);
}

} // namespace

std::string unknown(const std::string& command) {
    return unknownOf(CommandTable::island(), command);
}

int print(const ProgramRow& program, const CommandRow& command) {
    return print(HelpText::of(program, command, columns()));
}

int run(const Arguments& arguments) {
    const ProgramRow* program = &CommandTable::island();
    auto word = arguments.words.begin();
    const auto end = arguments.words.end();
    if (word != end && CommandTable::program(*word)) program = CommandTable::program(*word++);
    if (word == end) return print(*program, program->self);
    if (const CommandRow* command = CommandTable::command(*program, *word)) {
        if (++word == end) return print(*program, *command);
        throw UsageError("help: unexpected argument " + *word);
    }
    if (arguments.words.size() > 1) throw UsageError(unknownOf(*program, *word));
    if (const TopicTable* topic = CommandTable::topic(*word)) return print(HelpText::of(*topic, columns()));
    if (*word == "statuses") return print(HelpText::ofStatuses(columns()));
    throw UsageError(unknownOf(*program, *word));
}

} // namespace quorvik::HelpCommand
