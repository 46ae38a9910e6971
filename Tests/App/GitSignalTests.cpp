#include "Tests/Support/RunningApp.h"

#include "QuorvikCore/Session/SessionRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace quorvik {

using testing::eventually;
using testing::Program;

/// The real app, with sessions in real repositories.
class GitSignalTests : public testing::AppTest {
  protected:
    GitSignalTests() {
        ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
        write(".gitconfig", "[user]\n\tname = A\n\temail = a@example.org\n[init]\n\tdefaultBranch = main\n"
                            "[protocol \"file\"]\n\tallow = always\n");
    }

    void git(const std::filesystem::path& root, std::vector<std::string> words) {
        words.insert(words.begin(), {"git", "-C", root.string()});
        const auto result = Program::run(words);
        EXPECT_EQ(result.status, 0) << result;
    }

    void commit(const std::filesystem::path& root, const std::string& subject, const std::string& content) {
        write(std::filesystem::relative(root / "file", home), content);
        git(root, {"add", "-A"});
        git(root, {"commit", "-q", "-m", subject});
    }

    std::filesystem::path repository(const std::string& name) {
        std::filesystem::create_directories(home / name);
        git(home / name, {"init", "-q"});
        commit(home / name, "first", "1\n2\n");
        return home / name;
    }

    void startSession(const std::string& id, const std::filesystem::path& cwd) {
        const Date now = std::chrono::system_clock::now();
        SessionRecord record(Source::claude, id, cwd.string(), now);
        record.state = SessionState::working;
        record.updatedAt = now;
        write("support/sessions/claude-" + id + ".json", printJSON(record.toJSON()));
    }

    /// Waits until the island shows that text as the summary of an item of git's.
    ::testing::AssertionResult shows(const std::string& summary) {
        std::string seen;
        const bool is = eventually([&] {
            const Snapshot snapshot = synced();
            seen.clear();
            for (const SnapshotItem* item : snapshot.items())
                if (item->record->source == Source::git) seen += item->record->summary.value_or("") + "\n";
            return seen.find(summary + "\n") != seen.npos;
        });
        return is ? ::testing::AssertionSuccess()
                  : ::testing::AssertionFailure() << summary << "; shown: " << seen;
    }
};

TEST_F(GitSignalTests, TellsWhatHappensWhereSessionsLive) {
    write("support/settings.json", R"({"doneLinger":60})");
    const auto root = repository("app");
    const auto other = repository("other");
    std::filesystem::create_directories(root / "src");
    startApp();
    startSession("a", root / "src");
    synced();
    // Until the repository is watched, what happens there is nobody's business.
    EXPECT_TRUE(eventually([&] {
        commit(root, "tick", std::to_string(std::rand()));
        const Snapshot snapshot = synced();
        return std::ranges::any_of(
            snapshot.items(), [](const SnapshotItem* item) { return item->record->source == Source::git; });
    }));
    commit(root, "Fix \x1b[31mthe login", "1\ntwo\n3\n");
    EXPECT_TRUE(shows("Committed: Fix  [31mthe login"));
    EXPECT_TRUE(shows("+3 −1 in 1 file"));
    commit(other, "elsewhere", "x\n");
    git(root, {"checkout", "-q", "-b", "side"});
    EXPECT_TRUE(shows("Switched branch: main → side"));
    write("app/file", "changed\n");
    git(root, {"stash", "-q"});
    EXPECT_TRUE(shows("Stashed: side"));
    git(home, {"clone", "-q", "--bare", "app", "server.git"});
    git(root, {"remote", "add", "origin", "../server.git"});
    git(root, {"push", "-q", "-u", "origin", "side"});
    EXPECT_TRUE(shows("Pushed: side → origin/side"));
    const auto why = island({"why", "git-changes-" + root.string()});
    EXPECT_NE(why.output.find("+3 −1 in 1 file"), std::string::npos) << why;
    EXPECT_EQ(island({"acknowledge", "git-changes-" + root.string()}).status, 0);
    EXPECT_EQ(why.output.find("elsewhere"), std::string::npos);

    write("support/settings.json", R"({"doneLinger":60,"git":"off"})");
    EXPECT_TRUE(eventually([&] {
        const Snapshot snapshot = synced();
        return std::ranges::none_of(
            snapshot.items(), [](const SnapshotItem* item) { return item->record->source == Source::git; });
    }));
}

TEST_F(GitSignalTests, AsksGitWhereFilesDoNotTell) {
    write("support/settings.json", R"({"doneLinger":60})");
    const auto root = repository("app");
    git(root, {"config", "include.path", "more"}); // settings elsewhere
    startApp();
    startSession("a", root);
    EXPECT_TRUE(eventually([&] {
        commit(root, "tick", std::to_string(std::rand()));
        const Snapshot snapshot = synced();
        return std::ranges::any_of(
            snapshot.items(), [](const SnapshotItem* item) { return item->record->source == Source::git; });
    }));
    EXPECT_TRUE(shows("Committed: tick"));
}

TEST_F(GitSignalTests, AGitThatHangsOrIsMissingCostsNobodyAnything) {
    const auto root = repository("app");
    // Stands for a git that hangs, in a network folder say.
    writeProgram("hanging/git", "#!/bin/sh\nexec sleep 100\n");
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", ((home / "hanging").string() + ":" + path).c_str(), 1);
    startApp();
    ::setenv("PATH", path.c_str(), 1);
    startSession("a", root);
    EXPECT_TRUE(eventually([&] {
        commit(root, "tick", std::to_string(std::rand()));
        return signal("git").why == "it took too long";
    }));
    ::kill(app().pid(), SIGTERM);
    expectAppEnds();
}

} // namespace quorvik
