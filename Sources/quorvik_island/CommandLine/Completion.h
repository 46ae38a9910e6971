#pragma once

#include "quorvik_island/CommandLine/CommandTable.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// What may stand where the cursor is.
struct Completion {
    enum class Kind {
        values,
        files,      ///< the shell knows them
        commandLine ///< somebody else's; it knows them, too
    };

    struct Value {
        std::string text;        ///< the whole word
        std::string description; ///< empty where the word says it all
    };

    Kind kind = Kind::values;
    std::vector<Value> values;        ///< of Kind::values, in the order in which they are to be listed
    std::size_t commandLineStart = 0; ///< of Kind::commandLine: the number of its first word, counted from 0

    /// Tells the values that only a look at the system tells. `before` is the word before the one at the
    /// cursor that is no option: the setting whose values are asked for.
    using Source = std::function<std::vector<Value>(Completes what, const std::string& before)>;

    /// For the words of a command line up to the cursor: the program first, the word at the cursor last, as
    /// far as it is typed. Values are not yet those that begin with it, only the right ones for its place:
    /// options where it begins with "-". No values for a program that is not ours, and for a place where
    /// nothing can be known.
    static Completion at(std::span<const std::string> words, const Source& source);
};

/// A command line of bash up to the cursor, in words without their quotes.
struct SplitLine {
    std::vector<std::string> words; ///< the last one is at the cursor, and may be empty
    std::string typed;              ///< the last word as it is written, quotes and all
    bool isQuoted = false;          ///< the cursor stands within quotes

    static SplitLine of(std::string_view line);
};

} // namespace quorvik
