#pragma once

#include <gtest/gtest.h>

#include <filesystem>
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

    const std::filesystem::path home;
    const std::filesystem::path support; ///< QUORVIK_HOME
    const std::filesystem::path sessions;
};

/// The whole file; fails the test when it cannot be read.
std::string contentOf(const std::filesystem::path& file);

/// The names in a folder, sorted; empty when there is no such folder.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace quorvik::testing
