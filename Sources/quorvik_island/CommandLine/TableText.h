#pragma once

#include "quorvik_island/CommandLine/CommandTable.h"

#include <string>
#include <string_view>
#include <vector>

/// The texts of the table in pieces, for help and manual pages.
namespace quorvik::TableText {

/// Lines that belong together: a paragraph to be wrapped, or lines to be kept as they are.
struct Block {
    bool isKept;
    std::vector<std::string_view> lines; ///< one at least
};

/// An empty line ends a block, and so does a line of the other kind.
std::vector<Block> blocksOf(std::string_view text);

/// "quorvik-island show", or the program's name alone.
std::string fullName(const ProgramRow& program, const CommandRow& command);

/// What may follow the full name, one text for each form: "[--json]", "<id> [--show-hidden]".
std::vector<std::string> forms(const CommandRow& command);

/// "--format <bar>", "-h, --help".
std::string written(const OptionRow& option);

/// The row of `help environment` for that variable. Every variable that a command names has one.
const TopicRow& variable(std::string_view name);

/// The words of a text, between blanks and line breaks. What stands in [brackets] is one, as it is not to be
/// torn apart.
std::vector<std::string_view> wordsOf(std::string_view text);

} // namespace quorvik::TableText
