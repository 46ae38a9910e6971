#pragma once

#include "quorvik_island/Arguments.h"

#include <string>

/// `quorvik-island overlay`: starts the island at the top of the screen, and ends it.
namespace quorvik::OverlayCommand {

/// Takes what came after "overlay" and returns the exit status. Throws UsageError, and std::runtime_error
/// when the overlay cannot be run.
int run(const Arguments& arguments);

/// The absolute path of the overlay's program. Throws std::runtime_error when it is not there: "there is no
/// overlay program at <path>" when the option names it, else "the overlay is not installed; it is the
/// Debian package quorvik-overlay, or part of a build that finds Qt 6".
std::string program(const Arguments& arguments);

} // namespace quorvik::OverlayCommand
