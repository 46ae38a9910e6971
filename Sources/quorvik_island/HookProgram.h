#pragma once

#include "quorvik_island/Arguments.h"

#include <string>

/// Which hook program is written into agents' settings.
namespace quorvik::HookProgram {

inline constexpr std::string_view option = "--hook-path";

/// The absolute path of the program: what --hook-path says, else the installed one when it can be run, else
/// the one beside the running program.
std::string path(const Arguments& arguments);

/// The same, for an installation: throws EditError when there is no such program, because agents would report
/// an error at every event.
std::string runnablePath(const Arguments& arguments);

} // namespace quorvik::HookProgram
