#pragma once

#include "quorvik_island/Doctor/Check.h"

/// The user's shell and terminal: whether zsh reports long commands, and tmux is there for `open`. The ids
/// begin with "shell.".
namespace quorvik::Doctor::ShellChecks {

/// Takes seconds: it runs the user's zsh, with what is in their .zshrc.
void run(Findings& findings);

} // namespace quorvik::Doctor::ShellChecks
