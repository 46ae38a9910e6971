#include "QuorvikCore/Activity/GitActivity.h"
#include "QuorvikCore/Activity/GitEventClassifier.h"

#include <gtest/gtest.h>

namespace quorvik {

TEST(GitActivity, FindsTheRootOfARepositoryThatChanged) {
    struct Case {
        std::string_view path;
        std::optional<std::string> root;
        std::string_view home = "/Users/u";
    };
    const std::optional<std::string> none;
    for (const auto& [path, root, home] : std::initializer_list<Case>{
             {"/Users/u/code/app/.git/HEAD", "/Users/u/code/app"},
             {"/Users/u/code/app/.git/packed-refs", "/Users/u/code/app"},
             {"/Users/u/code/app/.git/refs/heads/feature/x", "/Users/u/code/app"},
             {"/Users/u/code/app/.git/refs/", "/Users/u/code/app"},
             {"/Users/u/.git/HEAD", "/Users/u"}, // home itself
             {"/Users/u/builds/targets/.git/HEAD", "/Users/u/builds/targets"},
             {"/Users/u//code//app/.git/HEAD", "/Users/u//code//app"},
             {"/Users/u/code/app/.git/index", none},
             {"/Users/u/code/app/.git/HEAD.lock", none},
             {"/Users/u/code/app/.git/HEAD/", none},
             {"/Users/u/code/app/.git/refs", none},
             {"/Users/u/code/app/.git/logs/HEAD", none},
             {"/Users/u/code/app/.git/worktrees/w/HEAD", none},
             {"/Users/u/code/app/.git/modules/m/.git/HEAD", none}, // the first ".git" counts
             {"/Users/u/code/app/.git", none},
             {"/Users/u/code/app/git/HEAD", none},
             {"/Users/u/.config/x/.git/HEAD", none},
             {"/Users/u/code/node_modules/lib/.git/HEAD", none},
             {"/Users/u/Library/.git/HEAD", none},
             {"/Users/u/a/vendor/.git/refs/heads/main", none},
             {"/Users/u2/app/.git/HEAD", none},
             {"/opt/app/.git/HEAD", none},
             {"", none},
             {"/Users/u", none},
             {"/build/.u/app/.git/HEAD", "/build/.u/app", "/build/.u"}, // where home lies does not matter
             {"/x/.git/refs/u/app/.git/HEAD", "/x", "/x/.git/refs"},    // a home inside of a repository
         })
        EXPECT_EQ(GitActivity::repoRoot(path, home), root) << path;
}

// What git itself produces is in GitEventTests.cpp; here is what it does not.
TEST(GitEventClassifier, DecidesWhatGitLeavesOpen) {
    const GitSnapshot old{.branch = "main", .head = "1", .upstream = "7", .stash = "s"};
    const auto with = [&](auto change) {
        GitSnapshot snapshot = old;
        change(snapshot);
        return snapshot;
    };
    using S = GitSnapshot;
    struct Case {
        const char* what;
        GitSnapshot before, after;
        std::optional<GitEvent> event;
    };
    for (const auto& [what, before, after, event] : std::initializer_list<Case>{
             {"nothing known", {}, {}, std::nullopt},
             {"the same", old, old, std::nullopt},
             {"no reflog", old, with([](S& s) { s.head = "2", s.subject = "x"; }), GitEvent{"Updated", "x"}},
             {"unknown message", old, with([](S& s) { s.head = "2", s.headMessage = "Commit: x"; }),
              GitEvent{"Updated", "main"}},
             {"head appears", with([](S& s) { s.head.reset(); }), old, std::nullopt},
             {"branch appears", with([](S& s) { s.branch.reset(); }), old, std::nullopt},
             {"empty subject", old,
              with([](S& s) { s.head = "2", s.subject = "", s.headMessage = "commit: "; }),
              GitEvent{"Committed", ""}},
             {"pushed, name unknown", old,
              with([](S& s) { s.upstream = "8", s.upstreamMessage = "an update by push"; }),
              GitEvent{"Pushed", "main"}},
             {"fetched, name unknown", old,
              with([](S& s) { s.upstream = "8", s.upstreamMessage = "fetch: fast-forward"; }),
              GitEvent{"Fetched", "main"}},
             {"fetch not at the start", old,
              with([](S& s) { s.upstream = "8", s.upstreamMessage = "remote fetch"; }), std::nullopt},
             {"first fetched, and stashed", with([](S& s) { s.upstream.reset(), s.stash.reset(); }),
              with([](S& s) { s.upstreamMessage = "fetch: origin"; }), GitEvent{"Stashed", "main"}},
             {"upstream gone", old, with([](S& s) { s.upstream.reset(); }), std::nullopt},
             {"stashed, detached", {}, {.stash = "s"}, GitEvent{"Stashed", ""}},
         })
        EXPECT_EQ(GitEventClassifier::classify(before, after), event) << what;
}

} // namespace quorvik
