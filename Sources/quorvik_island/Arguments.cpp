#include "quorvik_island/Arguments.h"

#include "quorvik_island/CommandLine/NearestName.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace quorvik {

namespace {

std::string nameOf(const std::string& word) {
    return word.substr(0, word.find('='));
}

/// The parser takes "--name=" for "--name", whose value is then the next word, and a value that a flag is
/// given for the flag.
void checkEquals(const CommandRow& command, std::span<const std::string> commandLine) {
    for (std::size_t index = 0; index < commandLine.size() && commandLine[index] != "--"; ++index) {
        const std::string& word = commandLine[index];
        const std::string name = nameOf(word);
        const OptionRow* option = CommandTable::option(command, name);
        if (!option || !word.starts_with("--")) continue;
        const bool hasEquals = name.size() < word.size();
        if (option->value.empty() && hasEquals) throw UsageError(name + " takes no value");
        if (!option->value.empty() && hasEquals && name.size() + 1 == word.size())
            throw UsageError(name + " needs a value");
        if (!option->value.empty() && !hasEquals) ++index; // whatever comes next is its value
    }
}

[[noreturn]] void throwUnknown(const CommandRow& command, const std::string& word) {
    std::vector<std::string_view> names = {CommandTable::helpOption().name};
    for (const OptionRow& option : command.options)
        if (!option.isHidden) names.push_back(option.name);
    throw UsageError("unknown option " + nameOf(word) + NearestName::question(nameOf(word), names));
}

/// "show: ", before what is wrong with its words.
std::string start(const CommandRow& command) {
    return CommandTable::program(command.name) ? "" : std::string(command.name) + ": ";
}

std::vector<std::string_view> shownWords(std::span<const WordRow> rows) {
    std::vector<std::string_view> words;
    for (const WordRow& row : rows)
        if (!row.isHidden) words.push_back(row.word);
    return words;
}

void checkWord(const CommandRow& command, std::string_view what, std::span<const WordRow> rows,
               const std::string& word) {
    if (rows.empty() || std::ranges::find(rows, word, &WordRow::word) != rows.end()) return;
    throw UsageError(start(command) + "unknown " + std::string(what) + " " + word +
                     NearestName::question(word, shownWords(rows)));
}

/// "hooks: say status, install or uninstall".
std::string sayOneOf(const CommandRow& command, std::span<const WordRow> rows) {
    const auto words = shownWords(rows);
    std::string text = start(command) + "say ";
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (index > 0) text += index + 1 < words.size() ? ", " : " or ";
        text += words[index];
    }
    return text;
}

void checkWords(const CommandRow& command, const Arguments& arguments) {
    const auto rows = command.arguments;
    const auto& words = arguments.words;
    if (words.empty() && !rows.empty() && rows[0].isRequired && rows[0].completes == Completes::words)
        throw UsageError(sayOneOf(command, rows[0].words));
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isRest = index >= rows.size() && !rows.empty() && rows.back().isRepeated;
        if (index >= rows.size() && !isRest)
            throw UsageError(start(command) + "unexpected argument " + words[index]);
        const ArgumentRow& row = isRest ? rows.back() : rows[index];
        checkWord(command, row.name, row.words, words[index]);
    }
    for (const auto& [name, value] : arguments.values) {
        const OptionRow* option = CommandTable::option(command, name);
        checkWord(command, option->name.substr(2), option->words, value);
    }
}

} // namespace

const std::string* Arguments::value(std::string_view option) const {
    const auto found = values.find(option);
    return found == values.end() ? nullptr : &found->second;
}

Arguments Arguments::parse(const CommandRow& command, std::span<const std::string> commandLine) {
    checkEquals(command, commandLine);
    Arguments arguments;
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    const auto add = [&](const OptionRow& row) {
        const std::string name(row.name);
        std::string names = name;
        if (!row.shortName.empty()) names += "," + std::string(row.shortName);
        const auto mention = [&arguments, &row, name](const std::string& value) {
            if (row.value.empty())
                arguments.flags.insert(name);
            else
                arguments.values[name] = value;
            if (row.isRepeated) arguments.mentions.emplace_back(name, value);
        };
        // Triggered at each mention, so that they are seen in their order.
        if (row.value.empty())
            parser.add_flag_callback(names, [mention] { mention(""); })->trigger_on_parse();
        else
            parser
                .add_option(names,
                            [mention, name](const std::vector<std::string>& given) {
                                if (given.back().empty()) throw UsageError(name + " needs a value");
                                mention(given.back());
                                return true;
                            })
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                ->trigger_on_parse();
    };
    add(CommandTable::helpOption());
    std::ranges::for_each(command.options, add);
    try {
        parser.parse(
            std::vector<std::string>(commandLine.rbegin(), commandLine.rend())); // it takes them from the end
    } catch (const CLI::ArgumentMismatch&) {
        throw UsageError(commandLine.back() + " needs a value");
    }
    bool optionsEnded = false;
    for (const std::string& word : parser.remaining()) {
        if (!optionsEnded && word == "--")
            optionsEnded = true;
        else if (!optionsEnded && word.size() > 1 && word.starts_with('-'))
            throwUnknown(command, word);
        else
            arguments.words.push_back(word);
    }
    if (!arguments.has("--help") && !arguments.has("--version")) checkWords(command, arguments);
    return arguments;
}

} // namespace quorvik
