#pragma once

#include "quorvik_island/CommandLine/CommandTable.h"

#include <string>

namespace quorvik {

/// The manual page of a program with all its commands, of section 1: text for `man`, in its own macros.
std::string manualPage(const ProgramRow& program);

} // namespace quorvik
