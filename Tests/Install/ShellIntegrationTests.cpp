#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Platform/FileError.h"

#include <sys/stat.h>

namespace quorvik {

using testing::contentOf;
using testing::namesIn;
using testing::Program;

class ShellIntegrationTests : public testing::TemporaryHome {
  protected:
    ShellIntegrationTests()
        : rc(home / ".zshrc"), script(ShellIntegration::scriptURL()),
          tool(write("tools/quorvik", "#!/bin/sh\n")),
          block("# >>> quorvik shell integration >>>\n[ -f '" + script.string() + "' ] && source '" +
                script.string() + "'\n# <<< quorvik shell integration <<<\n") {
        ::unsetenv("ZDOTDIR");
        ::chmod(tool.c_str(), 0755);
    }
    FileChange install(int minSeconds = 10) const {
        return ShellIntegration::install(tool.native(), minSeconds, rc, script);
    }
    static mode_t permissions(const std::filesystem::path& path) {
        struct stat status {};
        ::stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }
    std::vector<std::string> backups() const { return namesIn(support / "backups"); }

    const std::filesystem::path rc, script, tool;
    const std::string block;
};

TEST_F(ShellIntegrationTests, InstallsOnceAndRemoves) {
    struct Case {
        std::string before, installed, removed;
    };
    const std::string loads = block.substr(block.find('[')); // without the first marker
    for (const auto& [before, installed, removed] : std::initializer_list<Case>{
             {"", block, ""},
             {"a\n", "a\n" + block, "a\n"},
             {"a\n\nb", "a\n\nb\n" + block, "a\n\nb\n"},
             {"a\r\n", "a\r\n" + block, "a\r\n"},
             {std::string("\xFF\0\n", 3), std::string("\xFF\0\n", 3) + block, std::string("\xFF\0\n", 3)},
             {block, block, ""},
             {"a\n" + block + "b", "a\n" + block + "b", "a\nb"},
             // Not as we write it, but still clear.
             {"a\n # >>> quorvik shell integration >>>\r\nx\n# <<< quorvik shell integration <<<",
              "a\n # >>> quorvik shell integration >>>\r\nx\n# <<< quorvik shell integration <<<", "a"},
             {block + "a\n" + block, block + "a\n" + block, "a\n"},
             {"# <<< quorvik shell integration <<<\na\n", "# <<< quorvik shell integration <<<\na\n" + block,
              "# <<< quorvik shell integration <<<\na\n"},
         }) {
        write(".zshrc", before);
        EXPECT_EQ(install(3).changed, before != installed);
        EXPECT_EQ(contentOf(rc), installed);
        EXPECT_TRUE(ShellIntegration::isInstalled(rc));
        EXPECT_FALSE(install(4).changed);
        EXPECT_EQ(contentOf(rc), installed);
        EXPECT_EQ(contentOf(script), ShellIntegration::script(tool.native(), 4)); // the newest
        EXPECT_TRUE(ShellIntegration::remove(rc, script).changed);
        EXPECT_EQ(contentOf(rc), removed);
        EXPECT_FALSE(ShellIntegration::isInstalled(rc));
        EXPECT_FALSE(std::filesystem::exists(script));
        EXPECT_FALSE(ShellIntegration::remove(rc, script).changed);
        EXPECT_EQ(contentOf(rc), removed);
    }
}

TEST_F(ShellIntegrationTests, WhatIsNotClearlyOursStays) {
    const std::string begin = "# >>> quorvik shell integration >>>";
    const std::string missing = rc.string() + ": a line \"# <<< quorvik shell integration <<<\" is missing; "
                                              "delete the lines of Quorvik by hand";
    struct Case {
        std::string text, why;
    };
    for (const auto& [text, why] : std::initializer_list<Case>{
             {"a\n" + begin + "\nb\nc\n", missing},
             {begin, missing},
             {"a\n" + begin + "\nb\n" + block + "c\n", missing},
             {block + begin + "\nmine\n# <<< quorvik\n", missing},
             {"echo '" + begin + "'\n# <<< quorvik shell integration <<<\n",
              rc.string() + ": \"" + begin +
                  "\" does not stand on a line of its own; delete the lines of Quorvik by hand"},
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

TEST_F(ShellIntegrationTests, KeepsLinksPermissionsAndACopy) {
    const auto target = write("dotfiles/zshrc", "mine\n");
    ::chmod(target.c_str(), 0640);
    std::filesystem::create_symlink("dotfiles/zshrc", rc);
    const auto change = install();
    EXPECT_TRUE(std::filesystem::is_symlink(rc));
    EXPECT_EQ(contentOf(target), "mine\n" + block);
    EXPECT_EQ(permissions(target), 0640u);
    EXPECT_EQ(namesIn(home / "dotfiles"), std::vector<std::string>{"zshrc"});
    ASSERT_TRUE(change.backup);
    EXPECT_EQ(contentOf(*change.backup), "mine\n");
    EXPECT_TRUE(change.backup->filename().string().starts_with(".zshrc.20")) << *change.backup;
    EXPECT_EQ(permissions(*change.backup), 0600u);
    EXPECT_EQ(permissions(script.parent_path()), 0700u);
    EXPECT_EQ(permissions(script), 0600u);
    EXPECT_EQ(namesIn(script.parent_path()), std::vector<std::string>{"quorvik.zsh"});

    ShellIntegration::remove(rc, script);
    EXPECT_TRUE(std::filesystem::is_symlink(rc));
    EXPECT_EQ(contentOf(target), "mine\n");
    EXPECT_EQ(permissions(target), 0640u);
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

    std::filesystem::remove(rc);
    std::filesystem::remove_all(support);
    write("support/shell", "a file in the way");
    EXPECT_THROW(install(), FileError);
    EXPECT_FALSE(std::filesystem::exists(rc));
}

TEST_F(ShellIntegrationTests, FindsTheFile) {
    EXPECT_EQ(script, support / "shell/quorvik.zsh");
    EXPECT_EQ(ShellIntegration::zshrcURL(), rc);
    ::setenv("ZDOTDIR", "", 1);
    EXPECT_EQ(ShellIntegration::zshrcURL(), rc);
    ::setenv("ZDOTDIR", "/x/y", 1);
    EXPECT_EQ(ShellIntegration::zshrcURL(), "/x/y/.zshrc");
    ::unsetenv("ZDOTDIR");
}

TEST_F(ShellIntegrationTests, StatusTellsWhatAnInstallWouldChange) {
    const auto differences = [&](const std::filesystem::path& cli, int minSeconds) {
        return ShellIntegration::status(cli.native(), minSeconds, rc, script).differences;
    };
    using Lines = std::vector<std::string>;
    const std::string file = script.string();
    const auto other = write("tools/it's", "#!/bin/sh\n");
    ::chmod(other.c_str(), 0755);
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

    write(".zshrc", "# >>> quorvik shell integration >>>\nsource /old/place\n");
    install();
    EXPECT_EQ(differences(tool, 10), Lines{rc.string() + " does not load " + file});
}

/// `quorvik-island shell`.
TEST_F(ShellIntegrationTests, AsAProgram) {
    const auto shell = [](std::vector<std::string> words) {
        words.insert(words.begin(), {testing::programPath("quorvik-island"), "shell"});
        return Program::run(words);
    };
    const std::string beside = testing::programPath("quorvik");
    write(".zshrc", "mine\n");
    EXPECT_EQ(shell({"status"}).output, "notInstalled\n");
    const auto installed = shell({"install"});
    EXPECT_EQ(installed.status, 0) << installed.errors;
    EXPECT_EQ(installed.output,
              "installed\nbackup in " + (support / "backups").string() + "/" + backups()[0] + "\n");
    EXPECT_EQ(contentOf(script), ShellIntegration::script(beside, 10));
    EXPECT_EQ(shell({"status"}).output, "installed\n");
    EXPECT_EQ(shell({"status", "--min-seconds", "20"}).output,
              "installed\n" + script.string() + " has a minimum of 10 seconds, not 20\n");

    write("support/bin/quorvik", "#!/bin/sh\n");
    ::chmod((support / "bin/quorvik").c_str(), 0755);
    EXPECT_EQ(shell({"install", "--min-seconds=20"}).output, "installed\n");
    EXPECT_EQ(contentOf(script), ShellIntegration::script((support / "bin/quorvik").native(), 20));
    EXPECT_EQ(shell({"remove", "--json"}).status, 0);
    EXPECT_EQ(contentOf(rc), "mine\n");
    EXPECT_EQ(shell({"status", "--json"}).output, "{\"differences\":[],\"status\":\"notInstalled\"}\n");
    EXPECT_TRUE(shell({"--help"}).output.starts_with("usage: quorvik-island shell "));

    struct Case {
        std::vector<std::string> words;
        int status;
        std::string errors;
    };
    write(".zshrc", "# >>> quorvik shell integration >>>\n");
    const std::string hint = " (see quorvik-island --help)";
    for (const auto& [words, status, errors] : std::initializer_list<Case>{
             {{}, 3, "shell: say status, install or remove" + hint},
             {{"uninstall"}, 3, "shell: unknown action uninstall" + hint},
             {{"status", "now"}, 3, "shell: unexpected argument now" + hint},
             {{"install", "--min-seconds", "0"}, 3, "--min-seconds must be 1 to 86400" + hint},
             {{"install", "--min-seconds", "1.5"}, 3, "--min-seconds must be 1 to 86400" + hint},
             {{"install", "--cli", "/no/such"},
              1,
              "shell: there is no command-line tool at /no/such; name one with --cli"},
             {{"remove"},
              1,
              "shell: " + rc.string() +
                  ": a line \"# <<< quorvik shell integration <<<\" is missing; delete the lines of Quorvik "
                  "by hand"},
         }) {
        const auto result = shell(words);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.errors, "quorvik-island: " + errors + "\n");
        EXPECT_EQ(result.output, "");
    }
}

} // namespace quorvik
