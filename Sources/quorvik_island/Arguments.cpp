#include "quorvik_island/Arguments.h"

#include <algorithm>

namespace quorvik {

namespace {

bool contains(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

} // namespace

void Arguments::expectAtMost(std::size_t count, std::string_view command) const {
    if (words.size() > count)
        throw UsageError(std::string(command) + ": unexpected argument " + words[count]);
}

Arguments Arguments::parse(std::span<const std::string> commandLine, std::span<const std::string_view> flags,
                           std::span<const std::string_view> valueOptions) {
    Arguments arguments;
    for (std::size_t index = 0; index < commandLine.size(); ++index) {
        const std::string& word = commandLine[index];
        if (word == "--") {
            const auto rest = commandLine.subspan(index + 1);
            arguments.words.insert(arguments.words.end(), rest.begin(), rest.end());
            break;
        }
        if (!word.starts_with('-') || word == "-") {
            arguments.words.push_back(word);
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word == "-h" ? "--help" : word.substr(0, equals);
        if (name == "--help" || contains(flags, name)) {
            if (equals != word.npos) throw UsageError(name + " takes no value");
            arguments.flags.insert(name);
        } else if (contains(valueOptions, name)) {
            std::string value;
            if (equals != word.npos)
                value = word.substr(equals + 1);
            else if (index + 1 < commandLine.size())
                value = commandLine[++index];
            if (value.empty()) throw UsageError(name + " needs a value");
            arguments.values[name] = value;
        } else {
            throw UsageError("unknown option " + name);
        }
    }
    return arguments;
}

} // namespace quorvik
