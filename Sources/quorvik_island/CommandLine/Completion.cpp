#include "quorvik_island/CommandLine/Completion.h"

#include <algorithm>
#include <utility>

namespace quorvik {

namespace {

using Value = Completion::Value;
using Words = std::span<const std::string>;

std::vector<Value> commandsOf(const ProgramRow& program) {
    std::vector<Value> values;
    for (const GroupRow& group : program.groups)
        for (const CommandRow& command : group.commands)
            if (!command.isHidden)
                values.push_back({std::string(command.name), std::string(command.summary)});
    return values;
}

std::vector<Value> programs() {
    std::vector<Value> values;
    for (const ProgramRow& program : CommandTable::programs())
        values.push_back({std::string(program.name), std::string(program.summary)});
    return values;
}

/// What `quorvik-island help` takes.
std::vector<Value> subjects() {
    std::vector<Value> values = commandsOf(CommandTable::island());
    for (const TopicTable& topic : CommandTable::topics())
        values.push_back({std::string(topic.name), std::string(topic.summary)});
    values.push_back({"statuses", "how our programs end"});
    std::ranges::move(programs(), std::back_inserter(values));
    return values;
}

/// Reads the words behind a command up to the cursor.
class Reader {
  public:
    Reader(const CommandRow& command, const Completion::Source& source, bool knowsHelp)
        : command_(command), source_(source), knowsHelp_(knowsHelp) {}

    Completion complete(Words words) {
        const std::string& current = words.back();
        for (std::size_t index = 0; index + 1 < words.size(); ++index) {
            const std::string& word = words[index];
            const OptionRow* option = optionsEnded_ ? nullptr : CommandTable::option(command_, word);
            if (option) {
                given_.push_back(option);
                if (option->value.empty()) continue;
                if (index + 2 == words.size()) return of(option->completes, option->words, "");
                ++index;
            } else if (!optionsEnded_ && word == "--") {
                optionsEnded_ = true;
            } else if (optionsEnded_ || !word.starts_with('-')) {
                plain_.push_back(word);
            }
        }
        return !optionsEnded_ && current.starts_with('-') ? optionOrItsValue(current) : argument();
    }

  private:
    Completion optionOrItsValue(const std::string& current) const {
        if (const std::size_t equals = current.find('='); equals != current.npos) {
            const OptionRow* option = CommandTable::option(command_, current.substr(0, equals));
            if (!option || option->value.empty()) return {};
            return of(option->completes, option->words, current.substr(0, equals + 1));
        }
        Completion completion;
        const auto add = [&](const OptionRow& option) {
            const bool isThere = std::ranges::find(given_, &option) != given_.end();
            if (!option.isHidden && (option.isRepeated || !isThere))
                completion.values.push_back({std::string(option.name), std::string(option.summary)});
        };
        std::ranges::for_each(command_.options, add);
        if (knowsHelp_) add(CommandTable::helpOption());
        return completion;
    }

    Completion argument() const {
        const auto rows = command_.arguments;
        const bool isRest = plain_.size() >= rows.size();
        if (rows.empty() || (isRest && !rows.back().isRepeated)) return {};
        const ArgumentRow& row = isRest ? rows.back() : rows[plain_.size()];
        Completion completion = of(row.completes, row.words, "");
        const auto isThere = [&](const Value& value) {
            return std::ranges::find(plain_, value.text) != plain_.end();
        };
        if (row.isRepeated) std::erase_if(completion.values, isThere);
        return completion;
    }

    /// The values, each with `start` before it.
    Completion of(Completes what, std::span<const WordRow> rows, const std::string& start) const {
        Completion completion;
        switch (what) {
        case Completes::nothing: break;
        case Completes::commandLine: completion.kind = Completion::Kind::commandLine; break;
        case Completes::file: completion.kind = Completion::Kind::files; break;
        case Completes::words:
            for (const WordRow& row : rows)
                if (!row.isHidden)
                    completion.values.push_back({std::string(row.word), std::string(row.summary)});
            break;
        case Completes::command: completion.values = subjects(); break;
        case Completes::program: completion.values = programs(); break;
        default: completion.values = source_(what, plain_.empty() ? "" : plain_.back());
        }
        for (Value& value : completion.values)
            value.text.insert(0, start);
        return completion;
    }

    const CommandRow& command_;
    const Completion::Source& source_;
    bool knowsHelp_;
    std::vector<std::string> plain_;      ///< words before the cursor that are no options
    std::vector<const OptionRow*> given_; ///< options before the cursor
    bool optionsEnded_ = false;
};

bool takesCommandLine(const CommandRow& command) {
    return !command.arguments.empty() && command.arguments.front().completes == Completes::commandLine;
}

} // namespace

Completion Completion::at(std::span<const std::string> words, const Source& source) {
    if (words.size() < 2) return {};
    const std::string& path = words.front();
    const ProgramRow* program = CommandTable::program(path.substr(path.rfind('/') + 1));
    if (!program) return {};
    const bool knowsHelp = program->isParsed;
    if (program->groups.empty() || words[1].starts_with('-'))
        return Reader(program->self, source, knowsHelp).complete(words.subspan(1));
    if (words.size() == 2) return {.values = commandsOf(*program)};
    const CommandRow* command = CommandTable::command(*program, words[1]);
    if (!command) return {};
    if (!takesCommandLine(*command)) {
        // `help quorvik` goes on with that program's commands.
        const bool asksForHelp =
            !command->arguments.empty() && command->arguments.front().completes == Completes::command;
        const ProgramRow* other =
            asksForHelp && words.size() == 4 ? CommandTable::program(words[2]) : nullptr;
        if (other) return {.values = commandsOf(*other)};
        return Reader(*command, source, knowsHelp).complete(words.subspan(2));
    }
    Completion completion{.kind = Kind::commandLine, .commandLineStart = 2};
    if (words.size() > 3 && words[2] == "--") ++completion.commandLineStart;
    return completion;
}

SplitLine SplitLine::of(std::string_view line) {
    SplitLine split;
    std::string word;
    std::size_t wordStart = 0;
    bool isInWord = false;
    char quote = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char each = line[at];
        if (!isInWord && quote == 0) wordStart = at;
        if (quote == 0 && (each == ' ' || each == '\t' || each == '\n')) {
            if (isInWord) split.words.push_back(std::exchange(word, ""));
            isInWord = false;
            wordStart = at + 1;
            continue;
        }
        isInWord = true;
        if (each == '\\' && quote != '\'' && at + 1 < line.size())
            word += line[++at];
        else if (quote == 0 && (each == '"' || each == '\''))
            quote = each;
        else if (each == quote)
            quote = 0;
        else
            word += each;
    }
    split.words.push_back(word);
    split.typed = isInWord ? line.substr(wordStart) : "";
    split.isQuoted = quote != 0;
    return split;
}

} // namespace quorvik
