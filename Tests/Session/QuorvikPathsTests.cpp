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
    const std::string shortPath = "/tmp/quorvik-" + std::to_string(::getuid());
    for (const std::size_t length : {89u, 88u, 86u, 85u}) { // of the folder; 99 bytes of the whole fit
        const Path folder = "/" + std::string(length - 1, 'x');
        ::setenv("QUORVIK_HOME", folder.c_str(), 1);
        EXPECT_EQ(alertSocket(), length < 89 ? (folder / "alert.sock").string() : shortPath + "-alert.sock");
        EXPECT_EQ(approvalSocket(), length < 86 ? (folder / "approval.sock").string() : shortPath + ".sock");
    }
}

TEST_F(QuorvikPathsTests, KimiKeepsItsConfigurationInOneOfTwoPlaces) {
    EXPECT_EQ(kimiConfig(), home / ".kimi/config.toml");
    write(".kimi-code/config.toml", "");
    EXPECT_EQ(kimiConfig(), home / ".kimi-code/config.toml");
    write(".kimi/config.toml", "");
    EXPECT_EQ(kimiConfig(), home / ".kimi/config.toml");
}

TEST_F(QuorvikPathsTests, EnsuresPrivateFolders) {
    ensureDirectory(home / "a/b/c");
    EXPECT_EQ(testing::modeOf(home / "a"), 0700u);
    EXPECT_EQ(testing::modeOf(home / "a/b/c"), 0700u);
    ::chmod((home / "a").c_str(), 0755);
    ensureDirectory(home / "a");
    EXPECT_EQ(testing::modeOf(home / "a"), 0755u);
    write("file", "");
    EXPECT_THROW(ensureDirectory(home / "file"), FileError);
    EXPECT_THROW(ensureDirectory(home / "file/x"), FileError);
}

} // namespace quorvik::QuorvikPaths
