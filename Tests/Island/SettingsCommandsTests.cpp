#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/JSON/RecordCoding.h"

#include <algorithm>

namespace quorvik {

using namespace testing;

/// `quorvik-island hooks` and `quorvik-island statusline`, as people and scripts run them.
class SettingsCommandsTests : public TemporaryHome {
  protected:
    static Program::Result island(std::vector<std::string> words, const std::function<void()>& prepare = {}) {
        words.insert(words.begin(), programPath("quorvik-island"));
        return Program::run(words, "", prepare);
    }
    static Program::Result failed(int status, const std::string& why) {
        return {status, "", "quorvik-island: " + why + "\n"};
    }
    static nlohmann::json json(const std::string& text) {
        return parseJSON(text).value_or("not JSON: " + text);
    }

    const std::filesystem::path hook = writeProgram("support/bin/quorvik-hook");
};

TEST_F(SettingsCommandsTests, HelpGoesToOutputAndMistakesToErrors) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--help"},
                                                  {"help"},
                                                  {"hooks", "--help"},
                                                  {"help", "shell"},
                                                  {"statusline", "install", "-h"}}) {
        const auto result = island(words);
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.output.starts_with("usage: quorvik-island ")) << result.output;
        EXPECT_LT(std::ranges::count(result.output, '\n'), 35);
    }
    for (const auto& [words, why] : std::initializer_list<std::pair<std::vector<std::string>, std::string>>{
             {{"hook"}, "unknown command hook"},
             {{"help", "hook"}, "unknown command hook"},
             {{"doctor", "git"}, "unknown agent git"},
             {{"hooks"}, "hooks: say status, install or uninstall"},
             {{"hooks", "Status"}, "hooks: unknown action Status"},
             {{"hooks", "install", "claude", "git"}, "unknown agent git"},
             {{"hooks", "status", "--all", "pi"}, "name agents or say --all, not both"},
             {{"hooks", "status", "--force=1"}, "unknown option --force"},
             {{"hooks", "status", "--all=1"}, "--all takes no value"},
             {{"hooks", "status", "--hook-path"}, "--hook-path needs a value"},
             {{"hooks", "status", "--", "--all"}, "unknown agent --all"},
             {{"shell"}, "shell: say status, install or uninstall"},
             {{"shell", "off"}, "shell: unknown action off"},
             {{"shell", "status", "now"}, "shell: unexpected argument now"},
             {{"shell", "install", "--min-seconds", "0"}, "--min-seconds must be 1 to 86400"},
             {{"shell", "install", "--min-seconds", "1.5"}, "--min-seconds must be 1 to 86400"},
             {{"show", "now"}, "show: unexpected argument now"},
             {{"statusline"}, "statusline: say status, install or uninstall"},
             {{"statusline", "on"}, "statusline: unknown action on"},
             {{"statusline", "status", "claude"}, "statusline: unexpected argument claude"}})
        EXPECT_EQ(island(words),
                  failed(3, why + " (see quorvik-island " +
                                (why.starts_with("unknown command") ? "" : words[0] + " ") + "--help)"));
    EXPECT_FALSE(std::filesystem::exists(home / ".claude"));
}

TEST_F(SettingsCommandsTests, HooksGoInAndOutOfTheAgentsThatAreFound) {
    const std::string none =
        "no coding agent has a configuration folder in " + home.string() + "; name one, or say --all";
    EXPECT_EQ(island({"hooks", "status"}), failed(0, none));
    EXPECT_EQ(island({"hooks", "install"}), failed(1, none));

    const auto claude = write(".claude/settings.json", R"({"hooks":{}})").string();
    const std::string codex = write(".codex/config.toml", "").parent_path() / "hooks.json";
    EXPECT_EQ(island({"hooks", "status"}).output, "claude\tnotInstalled\ncodex\tnotInstalled\n");
    const auto installed = island({"hooks", "install"});
    const auto backup = support / "backups" / namesIn(support / "backups").at(0);
    EXPECT_EQ(installed.status, 0);
    EXPECT_EQ(installed.output,
              "claude: installed in " + claude + "\nclaude: backup in " + backup.string() +
                  "\ncodex: installed in " + codex +
                  "\ncodex: Codex will ask you to review the new hooks at its next start, and "
                  "runs none of them before that\n");
    EXPECT_NE(contentOf(codex).find("QUORVIK_MANAGED=1 '" + hook.string() + "' --source codex"),
              std::string::npos);

    const auto again = json(island({"hooks", "install", "codex", "qwen", "--json"}).output);
    EXPECT_FALSE(again[0].contains("note")); // nothing is new to Codex
    EXPECT_EQ(again[1]["note"], "what runs already reports nothing until it is started again");

    EXPECT_EQ(island({"hooks", "status"}).output, "claude\tinstalled\ncodex\tinstalled\nqwen\tinstalled\n");
    EXPECT_EQ(island({"hooks", "status", "codex", "--hook-path", "/x/../y/quorvik-hook"}).output,
              "codex\tstale\n");
    const auto all = json(island({"hooks", "status", "--all", "--json"}).output);
    EXPECT_EQ(all.size(), 9u);
    EXPECT_EQ(all[0], json(R"({"source":"claude","status":"installed"})"));
    EXPECT_EQ(all[2], json(R"({"source":"grok","status":"notInstalled"})"));

    EXPECT_EQ(island({"hooks", "uninstall", "codex"}).status, 0);
    EXPECT_EQ(island({"hooks", "uninstall", "codex"}).output,
              "codex: nothing to remove from " + codex + "\n");
    const auto removed = json(island({"hooks", "uninstall", "claude", "--json"}).output);
    EXPECT_EQ(removed[0]["changed"], true);
    EXPECT_EQ(removed[0]["file"], claude);
    EXPECT_TRUE(removed[0]["backup"].is_string());
    EXPECT_EQ(json(contentOf(claude)), json(R"({"hooks":{}})"));
}

TEST_F(SettingsCommandsTests, OneAgentsFailureDoesNotStopTheOthers) {
    write(".claude/settings.json", "{");
    write(".kimi/config.toml", "hooks = []\n");
    auto some = failed(1, "claude: Invalid JSON near byte 1\nquorvik-island: kimi: config.toml already sets "
                          "`hooks = …` inline; convert it to [[hooks]] tables first.");
    some.output = "pi: installed in " + (home / ".pi/agent/extensions/quorvik.ts").string() + "\n";
    EXPECT_EQ(island({"hooks", "install", "claude", "kimi", "pi"}), some);
    EXPECT_EQ(island({"hooks", "status", "claude"}).output, "claude\tunreadable: Invalid JSON near byte 1\n");
    const auto answer = json(island({"hooks", "install", "claude", "--json"}).output);
    EXPECT_EQ(answer, json(R"([{"source":"claude","error":"Invalid JSON near byte 1"}])"));
}

TEST_F(SettingsCommandsTests, InstallsOnlyAProgramThatCanBeRun) {
    std::filesystem::remove(hook);
    const std::string why = "there is no hook program at " +
                            (std::filesystem::current_path() / "nowhere/quorvik-hook").string() +
                            "; name one with --hook-path";
    auto missing = failed(1, why);
    EXPECT_EQ(island({"hooks", "install", "pi", "--hook-path=nowhere/quorvik-hook"}), missing);
    missing.output = R"([{"error":")" + why + R"(","source":"pi"}])" + "\n";
    EXPECT_EQ(island({"hooks", "install", "pi", "--hook-path=nowhere/quorvik-hook", "--json"}), missing);
    // The one beside the running program is the other candidate.
    const auto copy = home / "copy/quorvik-island";
    std::filesystem::create_directories(copy.parent_path());
    std::filesystem::copy_file(programPath("quorvik-island"), copy);
    const auto beside = writeProgram("copy/quorvik-hook");
    EXPECT_EQ(Program::run({copy.string(), "hooks", "install", "pi"}).errors, "");
    EXPECT_NE(contentOf(home / ".pi/agent/extensions/quorvik.ts").find(beside.string()), std::string::npos);
    for (const std::string action : {"hooks", "statusline"})
        EXPECT_NE(island({action, "install"}).errors.find("will point into a build folder"),
                  std::string::npos);
}

TEST_F(SettingsCommandsTests, TheStatusLineGoesOnAndOff) {
    const std::string mine = R"({"statusLine":{"command":"mine"}})";
    const auto file = write(".claude/settings.json", mine);
    EXPECT_EQ(island({"statusline", "status"}).output, "off\n");
    const auto installed = island({"statusline", "install"});
    EXPECT_EQ(installed.status, 0);
    EXPECT_TRUE(installed.output.starts_with("on\nbackup in " + support.string())) << installed.output;
    EXPECT_EQ(json(island({"statusline", "status", "--json"}).output), json(R"({"status":"on"})"));
    EXPECT_TRUE(island({"statusline", "uninstall"}).output.starts_with("off\nbackup in "));
    EXPECT_EQ(json(contentOf(file)), json(mine));
    EXPECT_EQ(json(island({"statusline", "uninstall", "--json"}).output),
              json(R"({"status":"off","changed":false})"));

    island({"statusline", "install"});
    write("support/statusline-original.json", "{");
    const std::string output = island({"statusline", "uninstall"}).output;
    EXPECT_NE(output.find("\nyour own status line could not be read and is not back; it is kept in " +
                          (support / "backups/statusline-original.json.20").string()),
              std::string::npos)
        << output;

    write(".claude/settings.json", "[]");
    EXPECT_EQ(island({"statusline", "status"}).output, "unreadable: not a JSON object\n");
    for (const std::string action : {"install", "uninstall"})
        EXPECT_EQ(island({"statusline", action}), failed(1, "statusline: not a JSON object"));
}

} // namespace quorvik
