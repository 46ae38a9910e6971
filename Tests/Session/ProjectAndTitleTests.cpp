#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Agents/AgentDetection.h"
#include "QuorvikCore/Session/ProjectRoot.h"
#include "QuorvikCore/Session/TaskTitle.h"

namespace quorvik {

class ProjectAndTitleTests : public testing::TemporaryHome {};

TEST_F(ProjectAndTitleTests, FindsTheNearestProjectBelowHome) {
    write("app/package.json", "");
    write("app/lib/go.mod", "");
    write("package.json", ""); // at home itself: does not count
    write("deep/.git", "gitdir: elsewhere");
    using Found = std::optional<std::string>;
    const std::string user = home.string();
    for (const auto& [cwd, project, repository] :
         std::initializer_list<std::tuple<std::string, Found, Found>>{
             {"app", user + "/app", std::nullopt},
             {"app/src/./x/../y/", user + "/app", std::nullopt},
             {"app/lib/internal", user + "/app/lib", std::nullopt},
             {"deep/1/2/3/4/5/6/7", user + "/deep", user + "/deep"}, // the eighth folder
             {"deep/1/2/3/4/5/6/7/8", std::nullopt, user + "/deep"},
             {"deep/1/2/3/4/5/6/7/8/9/10/11", std::nullopt, user + "/deep"}, // the twelfth
             {"deep/1/2/3/4/5/6/7/8/9/10/11/12", std::nullopt, std::nullopt},
             {"", std::nullopt, std::nullopt},
             {"../outside", std::nullopt, std::nullopt},
         }) {
        EXPECT_EQ(ProjectRoot::find(user + "/" + cwd, user), project) << cwd;
        EXPECT_EQ(ProjectRoot::gitRoot(user + "/" + cwd, user), repository) << cwd;
    }
    EXPECT_EQ(ProjectRoot::find(user + "/app", user + "/ap"), std::nullopt);
    EXPECT_EQ(ProjectRoot::gitRoot(user + "/deep", "/elsewhere"), user + "/deep"); // they may lie anywhere
    EXPECT_EQ(ProjectRoot::gitRoot("/", "/elsewhere"), std::nullopt);
}

TEST_F(ProjectAndTitleTests, DetectsAgentsByTheirFolders) {
    for (const char* folder : {".kimi", ".claude", ".config/devin"})
        std::filesystem::create_directories(home / folder);
    write(".codex", "a file, not a folder");
    EXPECT_EQ(AgentDetection::detected(home), (std::vector{Source::claude, Source::devin, Source::kimi}));
    EXPECT_FALSE(AgentDetection::configDirectory(Source::git, home));
}

TEST_F(ProjectAndTitleTests, TakesATitleFromTheFirstTellingLine) {
    for (const auto& [prompt, title] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"# Fix the login bug", "Fix the login bug"},
             {"\r\n \u3000\n  Fix \t  it now\nsecond line", "Fix it now"},
             {"first\u2028second", "first"},
             {"> - * • ## Deep marks", "Deep marks"},
             {"/review src/main", "/review src/main"},
             {"重构登录", "重构登录"},
             {"a1b", "a1b"},
             {"🚀 1a", "🚀 1a"}, // a scalar beyond U+2E80: two are enough
             {"set TOKEN=abc please", "set TOKEN=*** please"},
             {"bad \xFF bytes", "bad \uFFFD bytes"},
         })
        EXPECT_EQ(TaskTitle::make(prompt, std::nullopt, std::nullopt), title) << prompt;
    for (const std::string_view prompt : {"/clear", "/clear\tnow", "ok", " Thanks! ", "«Try Again…»",
                                          "继续吧。", "重", "hi", "+++ ½", "###", " \n "})
        EXPECT_EQ(TaskTitle::make(prompt, std::nullopt, std::nullopt), std::nullopt) << prompt;
    // Long prompts, of which no more is read than it takes.
    const std::string marks(70'000, '!'), words(70'000, 'x'), lines(70'000, '\n');
    EXPECT_EQ(TaskTitle::make("ok" + marks, std::nullopt, std::nullopt), std::nullopt);
    EXPECT_EQ(TaskTitle::make("ok" + marks + "a", std::nullopt, std::nullopt),
              "ok" + marks.substr(0, 77) + "…");
    EXPECT_EQ(TaskTitle::make(lines + "/" + words, std::nullopt, std::nullopt), std::nullopt);
    EXPECT_EQ(TaskTitle::make("/x" + words + " y", std::nullopt, std::nullopt),
              "/x" + words.substr(0, 77) + "…");
    EXPECT_EQ(TaskTitle::make(lines + "Fix A=" + words + "\n", std::nullopt, std::nullopt), "Fix A=***");
    const std::optional<std::string> none;
    EXPECT_EQ(TaskTitle::make(std::nullopt, std::nullopt, std::nullopt), none);
    EXPECT_EQ(TaskTitle::make("Fix it", "slash_command_expansion", std::nullopt), none);
    EXPECT_EQ(TaskTitle::make("Fix /p/a.c", "user", "/p"), "Fix a.c");
}

} // namespace quorvik
