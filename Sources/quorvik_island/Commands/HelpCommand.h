#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island help`: what commands do, and pages about all of them.
namespace quorvik::HelpCommand {

/// Takes what came after "help" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

/// Prints the help of one command, or of a program (ProgramRow::self); returns the exit status.
int print(const ProgramRow& program, const CommandRow& command);

/// "unknown command shwo, did you mean show?".
std::string unknown(const std::string& command);

} // namespace quorvik::HelpCommand
