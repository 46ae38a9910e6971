#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Runs other programs to their end. The first word is a path, or a name that is searched in the PATH; no
/// shell is involved. The program starts with no signal blocked, and with the signals that end programs at
/// their defaults, even if we ignore them.
namespace quorvik::Platform {

/// The words as execve() takes them: pointers into `words`, then a null pointer.
std::vector<char*> argumentPointers(std::vector<std::string>& words);

/// The program's path when it is found in the PATH, as the system would search it there; else absent.
std::optional<std::filesystem::path> findProgram(std::string_view name);

/// How a program ended.
struct ProgramEnd {
    int startError = 0; ///< the system's error number when it could not be started, else 0
    int status = 0;     ///< its exit code, or 128 + the number of the signal that killed it
};

/// Runs the program on our own standard streams. Meanwhile we ignore the signals of the terminal's keys
/// (SIGINT, SIGQUIT), which the program gets.
ProgramEnd runProgram(const std::vector<std::string>& words);

/// What the program prints on standard output, at most `limit` bytes. Its standard input is empty, and what
/// it prints on standard error is dropped. Absent when it cannot be started, fails, prints more or takes
/// longer than `time`, after which it is killed.
std::optional<std::string> programOutput(const std::vector<std::string>& words, std::size_t limit,
                                         std::chrono::milliseconds time = std::chrono::seconds(5));

} // namespace quorvik::Platform
