#include "quorvik_island/CommandLine/ManualPage.h"

#include "quorvik_island/CommandLine/TableText.h"

#include "QuorvikCore/Platform/BuildInfo.h"

#include <algorithm>

namespace quorvik {

namespace {

/// The text as it is to be read. A line of it may begin with anything.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '\\': result += "\\e"; break;
        case '-':
            result += "\\-";
            break; // a minus, which can be copied into a shell; the plain one is a hyphen
        case '\'': result += "\\(aq"; break;
        case '`': result += "\\(ga"; break;
        case '^': result += "\\(ha"; break;
        case '~': result += "\\(ti"; break;
        default: result += character;
        }
    }
    const bool isControl = result.starts_with('.'); // an apostrophe is escaped already
    return isControl ? "\\&" + result : result;
}

/// What is between `backquotes` in bold, and, unless the text is somebody's code, <values> in italics. `text`
/// is one line.
std::string marked(std::string_view text, bool hasValues = true) {
    std::string result, plain;
    bool isCode = false;
    const auto flush = [&] {
        result += isCode ? "\\fB" + escaped(plain) + "\\fR" : escaped(plain);
        plain.clear();
    };
    while (!text.empty()) {
        const char next = text.front();
        const std::size_t end = next == '<' && hasValues ? text.find('>') : text.npos;
        if (next == '`') {
            flush();
            isCode = !isCode;
            text.remove_prefix(1);
        } else if (!isCode && end != text.npos) {
            flush();
            result += "\\fI" + escaped(text.substr(1, end - 1)) + "\\fR";
            text.remove_prefix(end + 1);
        } else {
            plain += next;
            text.remove_prefix(1);
        }
    }
    flush();
    return result;
}

class Page {
  public:
    void line(const std::string& text) { text_ += text + "\n"; }

    void section(std::string_view heading) { line(".SH " + std::string(heading)); }

    /// A term in bold, and below it what it means.
    void term(std::string_view name, std::string_view meaning) {
        line(".TP");
        line("\\fB" + marked(name) + "\\fR");
        line(marked(meaning));
    }

    void text(std::string_view text) {
        bool isFirst = true;
        for (const TableText::Block& block : TableText::blocksOf(text)) {
            if (!isFirst) line(".PP");
            isFirst = false;
            block.isKept ? kept(block) : paragraph(block);
        }
    }

    void paragraph(const TableText::Block& block) {
        std::string words; // as one line, since marks may span the ends of lines
        for (const std::string_view each : block.lines)
            words.append(words.empty() ? "" : " ").append(each);
        line(marked(words));
    }

    void kept(const TableText::Block& block) {
        line(".nf");
        for (const std::string_view each : block.lines)
            line(marked(each, false));
        line(".fi");
    }

    void synopsis(const ProgramRow& program, const CommandRow& command) {
        bool isFirst = true;
        for (const std::string& form : TableText::forms(command)) {
            if (!isFirst) line(".br");
            isFirst = false;
            line("\\fB" + escaped(TableText::fullName(program, command)) + "\\fR " + marked(form));
        }
    }

    void options(const CommandRow& command) {
        for (const ArgumentRow& argument : command.arguments) {
            if (!argument.summary.empty()) term("<" + std::string(argument.name) + ">", argument.summary);
            for (const WordRow& word : argument.words)
                if (!word.isHidden && !word.summary.empty()) term(word.word, word.summary);
        }
        for (const OptionRow& option : command.options)
            if (!option.isHidden) term(TableText::written(option), option.summary);
    }

    void command(const ProgramRow& program, const CommandRow& command) {
        line(".SS \"" + escaped(TableText::fullName(program, command)) + "\"");
        synopsis(program, command);
        line(".PP");
        text(command.description.empty() ? command.summary : command.description);
        options(command);
        if (!command.examples.empty()) {
            line(".PP");
            line(command.examples.find('\n', 1) + 1 == command.examples.size() ? "Example:" : "Examples:");
            line(".PP");
            text(command.examples);
        }
        if (command.statuses.empty()) return;
        line(".PP");
        line("Exit status:");
        statuses(command.statuses);
    }

    void statuses(std::span<const StatusRow> rows) {
        for (const StatusRow& row : rows)
            term(row.status, row.meaning);
    }

    const std::string& text() const { return text_; }

  private:
    std::string text_;
};

} // namespace

std::string manualPage(const ProgramRow& program) {
    Page page;
    std::string title(program.name);
    std::ranges::transform(title, title.begin(), [](char each) {
        return 'a' <= each && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
    });
    page.line(".TH " + title + " 1 \"" + std::string(BuildInfo::date()) + "\" \"Quorvik " +
              std::string(BuildInfo::version()) + "\" \"Quorvik\"");
    page.section("NAME");
    page.line(escaped(program.name) + " \\- " + marked(program.summary));
    page.section("SYNOPSIS");
    page.synopsis(program, program.self);
    page.section("DESCRIPTION");
    page.text(program.self.description);
    const bool isIsland = &program == &CommandTable::island();
    if (!program.self.options.empty() || !program.self.arguments.empty()) {
        page.section("OPTIONS");
        page.options(program.self);
        if (program.isParsed)
            page.term(TableText::written(CommandTable::helpOption()), "help, of every command too");
    }
    if (!program.groups.empty()) {
        page.section("COMMANDS");
        for (const GroupRow& group : program.groups)
            for (const CommandRow& command : group.commands)
                if (!command.isHidden) page.command(program, command);
    }
    page.section("ENVIRONMENT");
    for (const TopicRow& row : CommandTable::environment().rows) {
        const auto names = TableText::wordsOf(program.self.environment);
        if (isIsland || std::ranges::find(names, row.name) != names.end()) page.term(row.name, row.meaning);
    }
    page.section("FILES");
    page.text(CommandTable::files().summary);
    for (const TopicRow& row : CommandTable::files().rows)
        page.term(row.name, row.meaning);
    page.section("EXIT STATUS");
    page.statuses(CommandTable::statuses(program, program.self));
    if (!program.self.examples.empty()) {
        page.section("EXAMPLES");
        page.text(program.self.examples);
    }
    page.section("SEE ALSO");
    std::string others;
    for (const std::string_view name : TableText::wordsOf(program.seeAlso)) {
        const std::size_t end = name.find('(');
        others += (others.empty() ? "\\fB" : " \\fB") + escaped(name.substr(0, end)) + "\\fR" +
                  std::string(name.substr(end));
    }
    page.line(others);
    return page.text();
}

} // namespace quorvik
