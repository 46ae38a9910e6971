#include "QuorvikCore/Activity/GitActivity.h"
#include "QuorvikCore/Activity/GitEventClassifier.h"

#include <gtest/gtest.h>

namespace quorvik {

TEST(GitActivity, FindsTheRootOfARepositoryThatChanged) {
    for (const std::string path :
         {"/Users/u/code/app/.git/HEAD", "/Users/u/code/app/.git/refs/heads/feature/x",
          "/Users/u/.git/packed-refs", "/Users/u/code/app/.git/refs/", "/Users/u/builds/targets/.git/HEAD",
          "/Users/u//code//app/.git/HEAD"})
        EXPECT_EQ(GitActivity::repoRoot(path, "/Users/u"), path.substr(0, path.find("/.git/"))) << path;
    for (const std::string_view path :
         {"/Users/u/code/app/.git/index", "/Users/u/code/app/.git/HEAD.lock", "/Users/u/code/app/.git/HEAD/",
          "/Users/u/code/app/.git/refs", "/Users/u/code/app/.git/worktrees/w/HEAD", "/Users/u/code/app/.git",
          "/Users/u/code/app/.git/modules/m/.git/HEAD", "/Users/u/.config/x/.git/HEAD",
          "/Users/u/code/git/HEAD", "/Users/u/code/node_modules/lib/.git/HEAD", "/Users/u/Library/.git/HEAD",
          "/Users/u2/app/.git/HEAD", "/Users/u/a/vendor/.git/refs/heads/main", "/opt/app/.git/HEAD",
          "/Users/u", ""})
        EXPECT_EQ(GitActivity::repoRoot(path, "/Users/u"), std::nullopt) << path;
    // Where home lies does not matter, not even inside of a repository.
    EXPECT_EQ(GitActivity::repoRoot("/build/.u/app/.git/HEAD", "/build/.u"), "/build/.u/app");
    EXPECT_EQ(GitActivity::repoRoot("/x/.git/refs/u/app/.git/HEAD", "/x/.git/refs"), "/x");
}

// What git itself produces is in GitEventTests.cpp; here is what it does not.
TEST(GitEventClassifier, DecidesWhatGitLeavesOpen) {
    struct Case {
        GitSnapshot before, after;
        std::optional<GitEvent> event;
    };
    const std::optional<GitEvent> none;
    for (const auto& [before, after, event] : std::initializer_list<Case>{
             {{.head = "1"}, {.head = "2", .subject = "x"}, {{"Updated", "x"}}}, // no reflog
             {{.head = "1"}, {.branch = "m", .head = "2", .headMessage = "Commit: x"}, {{"Updated", "m"}}},
             {{}, {.branch = "m", .head = "1", .headMessage = "commit (initial): x"}, none},
             {{.upstream = "1"}, {.upstream = "2", .upstreamMessage = "an update by push"}, {{"Pushed", ""}}},
             {{.upstream = "1"},
              {.branch = "m", .upstream = "2", .upstreamMessage = "fetch: x"},
              {{"Fetched", "m"}}},
             {{.upstream = "1"}, {.upstream = "2", .upstreamMessage = "remote fetch"}, none},
             {{}, {.upstream = "2", .upstreamMessage = "fetch: x", .stash = "s"}, {{"Stashed", ""}}},
             {{.upstream = "1"}, {}, none}})
        EXPECT_EQ(GitEventClassifier::classify(before, after), event) << after.headMessage.value_or("");
}

} // namespace quorvik
