#pragma once

#include <span>
#include <string_view>

namespace quorvik {

/// What a shell offers for an argument or for an option's value.
enum class Completes {
    nothing, ///< numbers, texts
    words,   ///< the row's own
    agent,   ///< "claude"…
    item,    ///< the keys of what the island shows
    request, ///< the ids of what agents wait for
    itemOrRequest,
    alert,        ///< the ids that senders gave the alerts that are shown
    setting,      ///< the names of settings
    settingValue, ///< the values of the setting that is named before
    command,      ///< the island's commands, and topics of `help`
    program,      ///< our programs
    file,
    commandLine ///< somebody else's, from here on
};

/// A fixed word that an argument or an option's value may be.
struct WordRow {
    std::string_view word;
    std::string_view summary; ///< empty where the word says it all
    bool isHidden = false;    ///< understood, and told nobody: an older name
};

/// A word of the command line that is no option.
struct ArgumentRow {
    std::string_view name;    ///< "key"; of fixed words what one of them is: "action"
    std::string_view summary; ///< one line; empty for fixed words
    Completes completes = Completes::nothing;
    bool isRequired = false;
    bool isRepeated = false;        ///< it takes all words that follow
    std::span<const WordRow> words; ///< for Completes::words
};

struct OptionRow {
    std::string_view name;    ///< "--json"
    std::string_view summary; ///< without a full stop
    std::string_view value;   ///< "path", of an option that takes one; empty for a flag
    Completes completes = Completes::nothing;
    std::span<const WordRow> words; ///< for Completes::words
    bool isRepeated = false;        ///< each mention counts, in its order; else the last does
    bool isHidden = false;          ///< for our own programs
    std::string_view shortName;     ///< "-h"; empty for most
};

struct StatusRow {
    std::string_view status; ///< "0"
    std::string_view meaning;
};

/// Texts of more than one line hold paragraphs, between which is an empty line. Lines that begin with a blank
/// are kept as they are, as examples; the others are wrapped to the width there is. What stands in
/// `backquotes` is to be typed.
struct CommandRow {
    std::string_view name;
    std::string_view summary; ///< one line: what it does, without a full stop
    std::string_view description;
    std::span<const ArgumentRow> arguments;
    std::span<const OptionRow> options;
    std::string_view usage;    ///< what follows the name, a line for each form; empty: made of the rows
    std::string_view examples; ///< whole command lines, each with a remark below or beside it
    std::span<const StatusRow> statuses; ///< empty: the program's
    std::string_view environment;        ///< the names of variables, with blanks between them
    bool isHidden = false;               ///< for our own programs and scripts
    bool takesRawWords = false;          ///< it reads its words by itself, and has no options
};

/// Commands that are listed together.
struct GroupRow {
    std::string_view heading;
    std::span<const CommandRow> commands; ///< in the order in which they are listed
};

struct ProgramRow {
    std::string_view name;
    std::string_view summary;
    CommandRow self;                  ///< without a command
    std::span<const GroupRow> groups; ///< its commands; empty for programs without
    bool isParsed = false;            ///< its words are read by Arguments::parse(), which knows "--help"
    std::string_view seeAlso;         ///< of other manual pages, "quorvik(1), zsh(1)"
};

/// A name and what it is, in two columns: variables, files.
struct TopicRow {
    std::string_view name;
    std::string_view meaning;
};

struct TopicTable {
    std::string_view name; ///< "environment"
    std::string_view summary;
    std::span<const TopicRow> rows;
};

/// The one place in which commands and options stand. Parsing, help, manual pages and completions are made of
/// it; all of it is constant, and costs nothing before it is looked at.
namespace CommandTable {

/// Our programs, also those that this build leaves out; quorvik-island is the first.
std::span<const ProgramRow> programs();

/// quorvik-island itself.
const ProgramRow& island();

/// Null when there is none of that name.
const ProgramRow* program(std::string_view name);
const CommandRow* command(const ProgramRow& program, std::string_view name);
const OptionRow* option(const CommandRow& command, std::string_view name);

/// What can be asked for besides commands: `quorvik-island help environment`.
std::span<const TopicTable> topics();
const TopicTable* topic(std::string_view name);
const TopicTable& environment();
const TopicTable& files();

/// Known to every command of a program whose words are parsed: "--help".
const OptionRow& helpOption();

/// The exit statuses of the command.
std::span<const StatusRow> statuses(const ProgramRow& program, const CommandRow& command);

} // namespace CommandTable

} // namespace quorvik
