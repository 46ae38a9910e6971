#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Other programs, run to their end. The first word is a path or is searched in the PATH; no shell has a part
/// in it. They find signals as a terminal's programs do, whatever we ignore.
namespace quorvik::Platform {

/// How a program ended.
struct ProgramEnd {
    int startError = 0; ///< the system's error number when it could not be started, else 0
    int status = 0;     ///< its exit code, or 128 + the number of the signal that killed it
};

/// Runs it on our own standard streams. The terminal's Ctrl-C is the program's meanwhile.
ProgramEnd runProgram(const std::vector<std::string>& words);

/// What it prints, at most `limit` bytes; it has no input, and its errors are dropped. Absent when it cannot
/// be started, fails or prints more.
std::optional<std::string> programOutput(const std::vector<std::string>& words, std::size_t limit);

} // namespace quorvik::Platform
