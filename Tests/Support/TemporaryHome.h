#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik::testing {

/// A test with a home folder of its own: HOME and QUORVIK_HOME point into it, the time zone and locale are
/// fixed. It is removed at the end, and kept and named when the test failed.
class TemporaryHome : public ::testing::Test {
  protected:
    TemporaryHome();
    ~TemporaryHome() override;

    /// Writes a file below the home folder (parents are made) and returns its path.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view content) const;

    /// The same, as a program that can be run.
    std::filesystem::path writeProgram(const std::filesystem::path& relative,
                                       std::string_view content = "#!/bin/sh\n") const;

    /// A copy of one of our programs that any user can run, wherever the build is; opens the home folder for
    /// others.
    std::string programForAnyone(const std::string& name) const;

    const std::filesystem::path home;
    const std::filesystem::path support; ///< QUORVIK_HOME
    const std::filesystem::path sessions;
};

/// The whole file; fails the test when it cannot be read.
std::string contentOf(const std::filesystem::path& file);

/// The record in a file, if it holds one that can be read.
std::optional<SessionRecord> recordIn(const std::filesystem::path& file);

/// Its permissions; 0 when there is no such file.
mode_t modeOf(const std::filesystem::path& file);

/// No file of this process can grow beyond so many bytes, as on a full disk, until it is set to
/// RLIM_INFINITY.
void limitFileSize(rlim_t bytes);

/// The names in a folder, sorted; empty when there is no such folder.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace quorvik::testing
