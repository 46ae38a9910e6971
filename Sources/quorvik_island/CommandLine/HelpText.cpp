#include "quorvik_island/CommandLine/HelpText.h"

#include "quorvik_island/CommandLine/TableText.h"

#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <iostream>
#include <utility>
#include <vector>

namespace quorvik::HelpText {

namespace {

using TwoColumns =
    std::vector<std::pair<std::string, std::string_view>>; // what is written, and what it means

/// One help text as it grows.
class Page {
  public:
    explicit Page(std::size_t columns) : columns_(std::max<std::size_t>(columns, 40)) {}

    /// The words behind `start`, wrapped; lines that follow begin with `indent` blanks.
    void wrapped(const std::string& start, std::string_view words, std::size_t indent) {
        std::string line = start;
        bool isFirst = true;
        for (const std::string_view word : TableText::wordsOf(words)) {
            const std::size_t width = Unicode::columnCount(line) + Unicode::columnCount(word);
            if (!isFirst && width + 1 > columns_) {
                text_ += line + "\n";
                line.assign(indent, ' ');
                isFirst = true;
            }
            if (!isFirst) line += ' ';
            line += word;
            isFirst = false;
        }
        text_ += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }

    void text(std::string_view text) {
        bool isFirst = true;
        for (const TableText::Block& block : TableText::blocksOf(text)) {
            if (!std::exchange(isFirst, false)) text_ += '\n';
            std::string words;
            for (const std::string_view line : block.lines) {
                if (block.isKept)
                    text_.append(line) += '\n';
                else
                    words.append(line) += '\n';
            }
            if (!block.isKept) wrapped("", words, 0);
        }
    }

    void heading(std::string_view name) { text_ += "\n" + std::string(name) + ":\n"; }

    /// Two columns below a heading; nothing when there are no rows.
    void rows(std::string_view name, const TwoColumns& rows) {
        constexpr std::size_t widest = 24;
        if (rows.empty()) return;
        heading(name);
        std::size_t width = 0;
        for (const auto& [what, meaning] : rows)
            if (what.size() <= widest) width = std::max(width, what.size());
        for (const auto& [what, meaning] : rows) {
            const bool fits = what.size() <= width;
            if (!fits) text_ += "  " + what + "\n";
            std::string start = "  " + (fits ? what : "");
            start.resize(2 + width + 2, ' ');
            wrapped(start, meaning, start.size());
        }
    }

    void section(std::string_view name, std::string_view text) {
        if (text.empty()) return;
        heading(name);
        this->text(text);
    }

    std::string text_;

  private:
    std::size_t columns_;
};

TwoColumns argumentRows(const CommandRow& command) {
    TwoColumns rows;
    for (const ArgumentRow& argument : command.arguments) {
        if (!argument.summary.empty())
            rows.emplace_back("<" + std::string(argument.name) + ">", argument.summary);
        for (const WordRow& word : argument.words)
            if (!word.isHidden && !word.summary.empty()) rows.emplace_back(word.word, word.summary);
    }
    return rows;
}

TwoColumns optionRows(const CommandRow& command) {
    TwoColumns rows;
    for (const OptionRow& option : command.options)
        if (!option.isHidden) rows.emplace_back(TableText::written(option), option.summary);
    return rows;
}

TwoColumns statusRows(const ProgramRow& program, const CommandRow& command) {
    TwoColumns rows;
    for (const StatusRow& row : CommandTable::statuses(program, command))
        rows.emplace_back(row.status, row.meaning);
    return rows;
}

} // namespace

std::string of(const ProgramRow& program, const CommandRow& command, std::size_t columns) {
    Page page(columns);
    const bool isProgram = &command == &program.self;
    std::string start = "usage: ";
    for (const std::string& form : TableText::forms(command)) {
        page.wrapped(start + TableText::fullName(program, command) + " ", form, start.size() + 2);
        start = "       ";
    }
    page.text_ += '\n';
    page.text(command.description.empty() ? command.summary : command.description);
    if (isProgram) {
        for (const GroupRow& group : program.groups) {
            TwoColumns rows;
            for (const CommandRow& listed : group.commands)
                if (!listed.isHidden) rows.emplace_back(listed.name, listed.summary);
            page.rows(group.heading, rows);
        }
    }
    page.rows("Arguments", argumentRows(command));
    TwoColumns options = optionRows(command);
    if (isProgram && program.isParsed)
        options.emplace_back(TableText::written(CommandTable::helpOption()),
                             CommandTable::helpOption().summary);
    page.rows("Options", options);
    page.section("Examples", command.examples);
    page.rows("Exit status", statusRows(program, command));
    TwoColumns variables;
    for (const std::string_view name : TableText::wordsOf(command.environment))
        variables.emplace_back(name, TableText::variable(name).meaning);
    page.rows("Environment", variables);
    if (isProgram && !program.groups.empty()) {
        page.text_ += '\n';
        const bool isIsland = &program == &CommandTable::island();
        page.wrapped(
            "",
            isIsland
                ? "`quorvik-island help <command>` says more, and so do `help environment`, `help files` "
                  "and `help statuses`."
                : "`quorvik-island help " + std::string(program.name) + " <command>` says more.",
            0);
    }
    return page.text_;
}

std::string of(const TopicTable& topic, std::size_t columns) {
    Page page(columns);
    page.text(topic.summary);
    TwoColumns rows;
    for (const TopicRow& row : topic.rows)
        rows.emplace_back(row.name, row.meaning);
    std::string heading(topic.name);
    heading[0] = static_cast<char>(heading[0] - 'a' + 'A');
    page.rows(heading, rows);
    return page.text_;
}

std::string ofStatuses(std::size_t columns) {
    Page page(columns);
    page.text("How our programs end.");
    for (const ProgramRow& program : CommandTable::programs()) {
        page.rows(program.name, statusRows(program, program.self));
        for (const GroupRow& group : program.groups)
            for (const CommandRow& command : group.commands)
                if (!command.isHidden && !command.statuses.empty())
                    page.rows(TableText::fullName(program, command), statusRows(program, command));
    }
    return page.text_;
}

std::optional<int> printIfAsked(const ProgramRow& program, const Arguments& arguments) {
    constexpr std::size_t columns = 80;
    if (arguments.has("--version")) return BuildInfo::print(program.name);
    if (!arguments.has("--help")) return std::nullopt;
    std::cout << of(program, program.self, columns) << std::flush;
    return std::cout ? 0 : 1;
}

} // namespace quorvik::HelpText
