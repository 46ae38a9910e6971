#include "quorvik_island/CommandLine/TableText.h"

#include <algorithm>
#include <stdexcept>

namespace quorvik::TableText {

namespace {

/// "status|install|uninstall" for fixed words, else "<key>".
std::string placeholder(std::string_view name, std::span<const WordRow> words) {
    std::string text;
    for (const WordRow& row : words)
        if (!row.isHidden) text += (text.empty() ? "" : "|") + std::string(row.word);
    return text.empty() ? "<" + std::string(name) + ">" : text;
}

} // namespace

std::vector<Block> blocksOf(std::string_view text) {
    std::vector<Block> blocks;
    bool isNew = true;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.empty()) {
            isNew = true;
            continue;
        }
        const bool isKept = line.starts_with(' ');
        if (isNew || blocks.back().isKept != isKept) blocks.push_back({isKept, {}});
        blocks.back().lines.push_back(line);
        isNew = false;
    }
    return blocks;
}

std::string fullName(const ProgramRow& program, const CommandRow& command) {
    const std::string name(program.name);
    return command.name == program.self.name ? name : name + " " + std::string(command.name);
}

std::vector<std::string> forms(const CommandRow& command) {
    std::vector<std::string> forms;
    for (std::string_view rest = command.usage; !rest.empty();) {
        const std::string_view form = rest.substr(0, rest.find('\n'));
        forms.emplace_back(form);
        rest.remove_prefix(std::min(form.size() + 1, rest.size()));
    }
    if (!forms.empty()) return forms;
    std::string form;
    const auto add = [&](const std::string& text, bool isOptional, bool isRepeated) {
        if (!form.empty()) form += ' ';
        form += (isOptional ? "[" : "") + text + (isRepeated ? "…" : "") + (isOptional ? "]" : "");
    };
    for (const ArgumentRow& argument : command.arguments)
        add(placeholder(argument.name, argument.words), !argument.isRequired, argument.isRepeated);
    for (const OptionRow& option : command.options) {
        if (option.isHidden) continue;
        const std::string value = option.value.empty() ? "" : " <" + std::string(option.value) + ">";
        add(std::string(option.name) + value, true, option.isRepeated);
    }
    return {form};
}

std::string written(const OptionRow& option) {
    std::string text = option.shortName.empty() ? "" : std::string(option.shortName) + ", ";
    text += option.name;
    return option.value.empty() ? text : text + " <" + std::string(option.value) + ">";
}

const TopicRow& variable(std::string_view name) {
    const auto rows = CommandTable::environment().rows;
    const auto found = std::ranges::find(rows, name, &TopicRow::name);
    if (found == rows.end()) throw std::logic_error("no row for the variable " + std::string(name));
    return *found;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    int brackets = 0;
    std::size_t start = 0;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        const char each = at < text.size() ? text[at] : '\n';
        if (each == '[') ++brackets;
        if (each == ']') --brackets;
        if (each != '\n' && (each != ' ' || brackets > 0)) continue;
        if (at > start) words.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    return words;
}

} // namespace quorvik::TableText
