#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <sys/stat.h>
#include <unistd.h>

namespace quorvik::QuorvikPaths {

class QuorvikPathsTests : public testing::TemporaryHome {};

TEST_F(QuorvikPathsTests, FollowTheEnvironmentAtEveryCall) {
    EXPECT_EQ(sessionsDirectory(), support / "sessions");
    ::setenv("QUORVIK_HOME", "", 1);
    EXPECT_EQ(supportDirectory(), home / "Library/Application Support/Quorvik");
    EXPECT_EQ(installedHookBinary(), supportDirectory() / "bin/quorvik-hook");
    ::setenv("QUORVIK_HOME", "relative", 1);
    EXPECT_EQ(supportDirectory(), std::filesystem::current_path() / "relative");
    ::setenv("HOME", "/Users/u/", 1);
    EXPECT_EQ(claudeSettings(), "/Users/u/.claude/settings.json");
    ::unsetenv("HOME");
    EXPECT_TRUE(QuorvikPaths::home().is_absolute()); // from the password database
}

TEST_F(QuorvikPathsTests, SocketsFallBackWhenTheirPathIsLong) {
    const std::string user = std::to_string(::getuid());
    const auto withAlertPath = [](std::size_t length) {
        ::setenv("QUORVIK_HOME",
                 ("/" + std::string(length - 1 - std::string("/alert.sock").size(), 'x')).c_str(), 1);
    };
    withAlertPath(99);
    EXPECT_EQ(alertSocket(), supportDirectory() / "alert.sock");
    EXPECT_EQ(approvalSocket(), "/tmp/quorvik-" + user + ".sock"); // three bytes longer
    withAlertPath(100);
    EXPECT_EQ(alertSocket(), "/tmp/quorvik-" + user + "-alert.sock");
    withAlertPath(96);
    EXPECT_EQ(approvalSocket(), supportDirectory() / "approval.sock");
}

TEST_F(QuorvikPathsTests, KimiKeepsItsConfigurationInOneOfTwoPlaces) {
    EXPECT_EQ(kimiConfig(), home / ".kimi/config.toml");
    write(".kimi-code/config.toml", "");
    EXPECT_EQ(kimiConfig(), home / ".kimi-code/config.toml");
    write(".kimi/config.toml", "");
    EXPECT_EQ(kimiConfig(), home / ".kimi/config.toml");
}

TEST_F(QuorvikPathsTests, EnsuresPrivateFolders) {
    const auto modeOf = [](const Path& path) {
        struct stat status;
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    };
    ensureDirectory(home / "a/b/c");
    EXPECT_EQ(modeOf(home / "a"), 0700u);
    EXPECT_EQ(modeOf(home / "a/b/c"), 0700u);
    ::chmod((home / "a").c_str(), 0755);
    ensureDirectory(home / "a");
    EXPECT_EQ(modeOf(home / "a"), 0755u);
    write("file", "");
    EXPECT_THROW(ensureDirectory(home / "file"), FileError);
    EXPECT_THROW(ensureDirectory(home / "file/x"), FileError);
}

} // namespace quorvik::QuorvikPaths
