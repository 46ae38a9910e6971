#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island complete`: what shells ask, through the scripts of `completion`, at every press of Tab.
namespace quorvik::CompleteCommand {

/// Takes the shell's name and what the script of that shell tells (completionScript()); prints the answer in
/// the form that it reads. Starts no app, is done within a second, and prints nothing when anything is not as
/// it should be. The exit status is always 0.
int run(const Arguments& arguments);

} // namespace quorvik::CompleteCommand
