#include "Tests/Support/RunningApp.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikCore/Session/SessionRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>

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

    /// Commits until the island tells of it: until the repository is watched, what happens there is nobody's
    /// business.
    void commitUntilSeen(const std::filesystem::path& root) {
        EXPECT_TRUE(eventually([&] {
            commit(root, "tick", std::to_string(std::rand()));
            const Snapshot snapshot = synced();
            return std::ranges::any_of(snapshot.items(), [](const SnapshotItem* item) {
                return item->record->source == Source::git;
            });
        }));
    }

    /// The app's error to that request; 0 without one.
    int errorOf(const std::string& method, const nlohmann::json& params, const std::string& why) {
        try {
            control().call(method, params);
        } catch (const ControlError& error) {
            EXPECT_NE(std::string(error.what()).find(why), std::string::npos) << error.what();
            return error.code();
        }
        return 0;
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
    commitUntilSeen(root);
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
    commitUntilSeen(root);
    EXPECT_TRUE(shows("Committed: tick"));
}

TEST_F(GitSignalTests, TellsTheFilesOfChangesAndWhatDiffersInThem) {
    const auto root = repository("app");
    const std::string odd = "o\x1b[31m \"d\\\t*d";
    startApp();
    startSession("a", root);
    commitUntilSeen(root);
    write("app/moved", "1\n2\n3\n4\n5\n");
    std::string lines;
    for (int line = 0; line < 19'000; ++line)
        lines += "a line of a long file, number " + std::to_string(line) + "\n";
    write("app/long", lines);
    commit(root, "before", "1\n2\n");
    EXPECT_TRUE(shows("Committed: before"));
    std::filesystem::rename(root / "moved", root / "there");
    write("app/" + odd, "x\n");
    write("app/long", "");
    write("app/binary", std::string("\0\1", 2));
    commit(root, "after", "1\ntwo\n");
    EXPECT_TRUE(shows("+2 −19001 in 5 files"));

    const nlohmann::json key = "git-changes-" + root.string();
    const auto changes = control().call("changes", {{"key", key}});
    std::map<std::string, nlohmann::json> files;
    for (const auto& file : changes["files"])
        files[file["path"]] = file;
    EXPECT_EQ(files.size(), 5);
    EXPECT_EQ(changes["shortened"], false);
    EXPECT_EQ(files["there"]["oldPath"], "moved");
    EXPECT_EQ(files["there"]["status"], "renamed");
    EXPECT_EQ(files[odd]["status"], "added");
    EXPECT_EQ(files["binary"]["binary"], true);
    const auto diff = [&](const std::string& name) {
        return control().call("diff", {{"key", key}, {"path", name}, {"to", changes["to"]}});
    };
    using JSON = nlohmann::json;
    EXPECT_EQ(diff("file")["lines"], (JSON{{{"kind", "hunk"}, {"text", "@@ -1,2 +1,2 @@"}},
                                           {{"kind", "context"}, {"old", 1}, {"new", 1}, {"text", "1"}},
                                           {{"kind", "removed"}, {"old", 2}, {"text", "2"}},
                                           {{"kind", "added"}, {"new", 2}, {"text", "two"}}}));
    EXPECT_EQ(diff(odd)["lines"].back(), (JSON{{"kind", "added"}, {"new", 1}, {"text", "x"}}));
    EXPECT_EQ(diff("there")["oldPath"], "moved");
    EXPECT_EQ(diff("binary")["binary"], true);
    const auto cut = diff("long");
    EXPECT_EQ(cut["shortened"], true);
    EXPECT_GT(cut["lines"].size(), 1000);
    EXPECT_LT(printJSON(cut).size(), std::size_t{1} << 20);

    ::setenv("TERM", "xterm-256color", 1);
    testing::Terminal terminal({testing::programPath("quorvik-island")});
    terminal.waitFor("in 5 files");
    terminal.type("/in 5 files\r\r");
    terminal.waitFor("moved → there");
    terminal.type("j\r");
    terminal.waitFor("+ two");
    terminal.type("\x1b\x1bq");
    EXPECT_EQ(terminal.finish(), 0);
    testing::Terminal plain({testing::programPath("quorvik-island"), "--plain"});
    plain.waitFor("in 5 files");
    plain.type("changes\n");
    plain.waitFor(" binary (binary)");
    plain.waitFor(" moved → there +0 −0  renamed");
    plain.type("q\n");
    EXPECT_EQ(plain.finish(), 0);

    EXPECT_EQ(errorOf("changes", {{"key", "git-changes-/nowhere"}}, "no changes are known under"), 12);
    EXPECT_EQ(errorOf("diff", {{"key", key}, {"path", "moved"}}, "no file moved was changed"), 12);
    EXPECT_EQ(errorOf("diff", {{"key", key}, {"path", "file"}, {"to", "1"}}, "newer changes"), 12);
    std::filesystem::remove_all(root / ".git");
    EXPECT_EQ(errorOf("diff", {{"key", key}, {"path", "file"}}, "git failed: it ended with status 12"), 16);
}

TEST_F(GitSignalTests, AGitThatHangsOrIsMissingCostsNobodyAnything) {
    const auto root = repository("app");
    startApp();
    startSession("a", root);
    commitUntilSeen(root);
    EXPECT_TRUE(shows(" in 1 file"));
    // Stands for a git that hangs, in a network folder say.
    writeProgram("bin/git",
                 "#!/bin/sh\n[ \"$1\" = -C ] || exec sleep 100\nPATH=${PATH#*:} exec git \"$@\"\n");
    commit(root, "tock", "tock\n");
    EXPECT_EQ(errorOf("diff", {{"key", "git-changes-" + root.string()}, {"path", "file"}},
                      "git failed: it took too long"),
              16);
    EXPECT_TRUE(eventually([&] { return signal("git").why == "it took too long"; }));
    ::kill(app().pid(), SIGTERM);
    expectAppEnds();
}

} // namespace quorvik
