#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Platform/FileError.h"

#include <sys/stat.h>

namespace quorvik {

using namespace testing;

class ShellIntegrationTests : public TemporaryHome {
  protected:
    ShellIntegrationTests() { ::unsetenv("ZDOTDIR"); }

    EditOutcome install(int minSeconds = 10) const {
        return ShellIntegration::install(tool.native(), minSeconds, rc, script);
    }
    std::vector<std::string> backups() const { return namesIn(support / "backups"); }

    const std::filesystem::path rc = home / ".zshrc", script = support / "shell/quorvik.zsh",
                                tool = writeProgram("tools/quorvik");
    const std::string begin = "# >>> quorvik shell integration >>>\n",
                      end = "# <<< quorvik shell integration <<<\n", file = script.string(),
                      block = begin + "[ -f '" + file + "' ] && source '" + file + "'\n" + end;
};

TEST_F(ShellIntegrationTests, InstallsOnceAndRemoves) {
    struct Case {
        std::string before, installed, removed;
    };
    const std::string binary("\xFF\0\n", 3);
    // Not as we write it, but still clear.
    const std::string edited =
        "a\n # >>> quorvik shell integration >>>\r\nx\n" + end.substr(0, end.size() - 1);
    for (const auto& [before, installed, removed] : std::initializer_list<Case>{
             {"", block, ""},
             {"a\n", "a\n" + block, "a\n"},
             {"a\n\nb", "a\n\nb\n" + block, "a\n\nb\n"},
             {"a\r\n", "a\r\n" + block, "a\r\n"},
             {binary, binary + block, binary},
             {"a\n" + block + "b", "a\n" + block + "b", "a\nb"},
             {edited, edited, "a"},
             {block + "a\n" + block, block + "a\n" + block, "a\n"},
             {end + "a\n", end + "a\n" + block, end + "a\n"},
         }) {
        std::filesystem::remove_all(support / "backups"); // or each edit would wait for a second of its own
        write(".zshrc", before);
        EXPECT_EQ(install(3).changed, before != installed);
        EXPECT_EQ(contentOf(rc), installed);
        EXPECT_TRUE(ShellIntegration::isInstalled(rc));
        EXPECT_FALSE(install(4).changed);
        EXPECT_EQ(contentOf(rc), installed);
        EXPECT_EQ(contentOf(script), ShellIntegration::script(tool.native(), 4)); // the newest
        std::filesystem::remove_all(support / "backups");
        EXPECT_TRUE(ShellIntegration::remove(rc, script).changed);
        EXPECT_EQ(contentOf(rc), removed);
        EXPECT_FALSE(ShellIntegration::isInstalled(rc));
        EXPECT_FALSE(std::filesystem::exists(script));
        EXPECT_FALSE(ShellIntegration::remove(rc, script).changed);
        EXPECT_EQ(contentOf(rc), removed);
    }
}

TEST_F(ShellIntegrationTests, WhatIsNotClearlyOursStays) {
    const std::string missing = rc.string() + ": a line \"# <<< quorvik shell integration <<<\" is missing; "
                                              "delete the lines of Quorvik by hand";
    for (const auto& [text, why] : std::initializer_list<std::pair<std::string, std::string>>{
             {"a\n" + begin + "b\nc\n", missing},
             {"a\n" + begin + "b\n" + block + "c\n", missing},
             {block + begin + "mine\n# <<< quorvik\n", missing},
             {"echo " + begin + end, rc.string() +
                                         ": \"# >>> quorvik shell integration >>>\" does not stand on a "
                                         "line of its own; delete the lines of Quorvik by hand"},
         }) {
        write(".zshrc", text);
        EXPECT_FALSE(install().changed);
        try {
            ShellIntegration::remove(rc, script);
            ADD_FAILURE() << text;
        } catch (const EditError& error) {
            EXPECT_EQ(error.what(), why);
        }
        EXPECT_EQ(contentOf(rc), text);
        EXPECT_TRUE(std::filesystem::exists(script));
        EXPECT_EQ(backups(), std::vector<std::string>{});
    }
}

TEST_F(ShellIntegrationTests, KeepsALinkAndACopy) {
    const auto target = write("dotfiles/zshrc", "mine\n");
    std::filesystem::create_symlink("dotfiles/zshrc", rc);
    const auto backup = install().backup.value();
    EXPECT_TRUE(std::filesystem::is_symlink(rc));
    EXPECT_EQ(contentOf(target), "mine\n" + block);
    EXPECT_EQ(contentOf(backup), "mine\n");
    EXPECT_TRUE(backup.filename().string().starts_with(".zshrc.20")) << backup;
    EXPECT_EQ(modeOf(script.parent_path()), 0700u);
    EXPECT_EQ(modeOf(script), 0600u);
    EXPECT_EQ(namesIn(script.parent_path()), std::vector<std::string>{"quorvik.zsh"});
}

TEST_F(ShellIntegrationTests, Failures) {
    write("support/backups", "a file in the way");
    write(".zshrc", "mine\n");
    EXPECT_EQ(install().backup, std::nullopt); // without a copy, but done
    EXPECT_EQ(contentOf(rc), "mine\n" + block);

    std::filesystem::remove(rc);
    std::filesystem::create_directory(rc);
    EXPECT_THROW(install(), FileError);
    EXPECT_THROW(ShellIntegration::remove(rc, script), FileError);
    EXPECT_TRUE(std::filesystem::exists(script));
    EXPECT_FALSE(ShellIntegration::isInstalled(rc));
    EXPECT_THROW(ShellIntegration::status(tool.native(), 10, rc, script), FileError);

    std::filesystem::remove(rc);
    std::filesystem::remove_all(support);
    write("support/shell", "a file in the way");
    EXPECT_THROW(install(), FileError);
    EXPECT_FALSE(std::filesystem::exists(rc));
}

TEST_F(ShellIntegrationTests, FindsTheFile) {
    EXPECT_EQ(script, ShellIntegration::scriptURL());
    for (const auto& [folder, found] : {std::pair("", rc), {"/x/y", std::filesystem::path("/x/y/.zshrc")}}) {
        ::setenv("ZDOTDIR", folder, 1);
        EXPECT_EQ(ShellIntegration::zshrcURL(), found);
    }
    ::unsetenv("ZDOTDIR");
}

TEST_F(ShellIntegrationTests, StatusTellsWhatAnInstallWouldChange) {
    const auto differences = [&](const std::filesystem::path& cli, int minSeconds) {
        return ShellIntegration::status(cli.native(), minSeconds, rc, script).differences;
    };
    using Lines = std::vector<std::string>;
    const auto other = writeProgram("tools/it's");
    EXPECT_FALSE(ShellIntegration::status(tool.native(), 10, rc, script).installed);
    install();
    EXPECT_TRUE(ShellIntegration::status(tool.native(), 10, rc, script).installed);
    EXPECT_EQ(differences(tool, 10), Lines{});
    EXPECT_EQ(differences(other, 5),
              (Lines{file + " runs '" + tool.string() + "', not '" + home.string() + "/tools/it'\\''s'",
                     file + " has a minimum of 10 seconds, not 5"}));
    ShellIntegration::install(other.native(), 10, rc, script);
    EXPECT_EQ(differences(other, 10), Lines{});

    for (const std::string& text : {std::string(), std::string("# mine\n"), contentOf(script) + "\n"}) {
        write("support/shell/quorvik.zsh", text);
        EXPECT_EQ(differences(tool, 10), Lines{file + " was edited, or is of another version"});
    }
    std::filesystem::remove(script);
    ::chmod(tool.c_str(), 0644);
    EXPECT_EQ(differences(tool, 10), (Lines{file + " is missing", tool.string() + " cannot be run"}));
    ::chmod(tool.c_str(), 0755);

    write(".zshrc", begin + "source /old/place\n");
    install();
    EXPECT_EQ(differences(tool, 10), Lines{rc.string() + " does not load " + file});
}

/// `quorvik-island shell`.
TEST_F(ShellIntegrationTests, AsAProgram) {
    const auto shell = [](std::vector<std::string> words) {
        words.insert(words.begin(), {programPath("quorvik-island"), "shell"});
        return Program::run(words);
    };
    write(".zshrc", "mine\n");
    EXPECT_EQ(shell({"status"}).output, "notInstalled\n");
    const auto installed = shell({"install"});
    const std::string backup = (support / "backups").string() + "/" + backups().at(0);
    const std::string built = std::filesystem::path(programPath("")).parent_path().parent_path();
    EXPECT_EQ(installed,
              (Program::Result{0, "installed\nbackup in " + backup + "\n",
                               "quorvik-island: your settings will point into a build folder, at " +
                                   programPath("quorvik") + "; to install, run cmake --install '" + built +
                                   "' and then this again\n"}));
    EXPECT_EQ(contentOf(script), ShellIntegration::script(programPath("quorvik"), 10)); // beside it
    EXPECT_EQ(shell({"status", "--min-seconds", "20"}).output,
              "installed\n" + file + " has a minimum of 10 seconds, not 20\n");

    const auto own = writeProgram("support/bin/quorvik");
    EXPECT_EQ(shell({"install", "--min-seconds=20"}), (Program::Result{0, "installed\n", ""}));
    EXPECT_EQ(contentOf(script), ShellIntegration::script(own.native(), 20));
    EXPECT_EQ(shell({"uninstall", "--json"}).status, 0);
    EXPECT_EQ(contentOf(rc), "mine\n");
    EXPECT_EQ(shell({"status", "--json"}).output, "{\"differences\":[],\"status\":\"notInstalled\"}\n");

    write(".zshrc", begin);
    const auto failed = shell({"remove"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.errors.starts_with("quorvik-island: shell: " + rc.string() + ": a line "))
        << failed.errors;
    EXPECT_EQ(shell({"install", "--cli", "/no/such"}).errors,
              "quorvik-island: shell: there is no command-line tool at /no/such; name one with --cli\n");
}

} // namespace quorvik
