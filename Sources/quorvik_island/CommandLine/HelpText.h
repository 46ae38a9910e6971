#pragma once

#include "quorvik_island/Arguments.h"
#include "quorvik_island/CommandLine/CommandTable.h"

#include <cstddef>
#include <optional>
#include <string>

/// Help for people, made of the table: usage, what it does, its arguments and options, examples, exit
/// statuses, environment. Lines are wrapped to `columns`; what is kept as it is may be longer.
namespace quorvik::HelpText {

/// Of a command, or with the list of its commands of a program (ProgramRow::self).
std::string of(const ProgramRow& program, const CommandRow& command, std::size_t columns);

/// `help environment` and `help files`.
std::string of(const TopicTable& topic, std::size_t columns);

/// `help statuses`: those of every program, and of the commands that have their own.
std::string ofStatuses(std::size_t columns);

/// For a program without commands: prints what `--version` or `--help` asks for. Returns the exit status: 0,
/// or 1 when that cannot be written; nothing when neither is there.
std::optional<int> printIfAsked(const ProgramRow& program, const Arguments& arguments);

} // namespace quorvik::HelpText
