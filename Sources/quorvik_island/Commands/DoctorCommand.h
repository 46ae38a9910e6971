#pragma once

#include <span>
#include <string>

/// `quorvik-island doctor`: proves that everything works, or tells what to do.
namespace quorvik::DoctorCommand {

/// Returns the exit status.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::DoctorCommand
