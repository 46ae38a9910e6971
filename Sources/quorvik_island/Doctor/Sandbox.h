#pragma once

#include "QuorvikApp/Loop/ChildProcess.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Running other programs without letting them near what is the user's.
namespace quorvik::Doctor {

/// Runs the program to its end, or for at most this time; see ChildProcess.
ChildProcess::Result run(const std::vector<std::string>& words, std::chrono::duration<double> time);

/// The version that a program prints when it is asked for "--version": the first word that begins with a
/// number and a dot, or with "v" and those: "0.1.0", "2.1.329". Absent when it prints none, fails or takes
/// longer than `time`; `why`, when given, then says which.
std::optional<std::string> versionOf(const std::string& program, std::chrono::duration<double> time,
                                     std::string* why = nullptr);

/// A support folder of its own, below the system's folder for temporary files; removed in the end.
class TemporarySupport {
  public:
    /// Throws FileError.
    TemporarySupport();
    ~TemporarySupport();
    TemporarySupport(const TemporarySupport&) = delete;
    TemporarySupport& operator=(const TemporarySupport&) = delete;

    const std::filesystem::path& folder() const { return folder_; }

    /// Writes a file below the folder and returns its path. Throws FileError.
    std::filesystem::path write(std::string_view name, std::string_view content) const;

  private:
    std::filesystem::path folder_;
};

} // namespace quorvik::Doctor
