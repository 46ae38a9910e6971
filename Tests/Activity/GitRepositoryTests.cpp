#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/GitChanges.h"
#include "QuorvikCore/Activity/GitConfig.h"
#include "QuorvikCore/Activity/GitRepository.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <cstdlib>
#include <map>

namespace quorvik {

using testing::Program;

/// Repositories made by git, and what git itself says of them.
class GitRepositoryTests : public testing::TemporaryHome {
  protected:
    GitRepositoryTests() {
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, const char*>>{
                 {"GIT_CONFIG_NOSYSTEM", "1"},
                 {"GIT_AUTHOR_NAME", "A"},
                 {"GIT_AUTHOR_EMAIL", "a@example.org"},
                 {"GIT_COMMITTER_NAME", "A"},
                 {"GIT_COMMITTER_EMAIL", "a@example.org"}})
            ::setenv(name, value, 1);
        write(".gitconfig", "[protocol \"file\"]\n\tallow = always\n[init]\n\tdefaultBranch = main\n");
    }

    std::string git(const std::filesystem::path& root, const std::vector<std::string>& words,
                    int status = 0) {
        std::vector<std::string> all = {"git", "-C", root.string()};
        all.insert(all.end(), words.begin(), words.end());
        const auto result = Program::run(all);
        EXPECT_EQ(result.status, status) << result;
        return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    }

    std::filesystem::path repository(const std::string& name) {
        std::filesystem::create_directories(home / name);
        git(home / name, {"init", "-q"});
        return home / name;
    }

    void commit(const std::filesystem::path& root, const std::string& subject) {
        write(std::filesystem::relative(root, home) / "file", subject + "\n");
        git(root, {"add", "-A"});
        git(root, {"commit", "-q", "-m", subject});
    }

    static std::optional<std::string> run(const std::vector<std::string>& words) {
        return Platform::programOutput(words, 1 << 20);
    }

    /// The files tell what git tells.
    void expectLikeGit(const std::filesystem::path& root, const std::string& when) {
        const auto repository = GitRepository::at(root);
        ASSERT_TRUE(repository) << when;
        const auto state = repository->read();
        auto told = repository->askGit(run);
        ASSERT_TRUE(state && told) << when;
        EXPECT_FALSE(state->needsGit) << when;
        told->subject.reset();
        const auto show = [](const GitSnapshot& snapshot) {
            std::string text;
            for (const auto& field : {snapshot.branch, snapshot.head, snapshot.headMessage, snapshot.upstream,
                                      snapshot.upstreamName, snapshot.upstreamMessage, snapshot.stash})
                text += field.value_or("none") + "\n";
            return text;
        };
        EXPECT_EQ(show(state->snapshot), show(*told)) << when;
    }
};

TEST_F(GitRepositoryTests, FilesTellWhatGitTells) {
    const auto server = repository("server");
    commit(server, "first");
    git(home, {"clone", "-q", "server", "clone"});
    const auto clone = home / "clone";
    const std::pair<const char*, std::vector<std::vector<std::string>>> steps[] = {
        {"cloned", {}},
        {"an odd name", {{"checkout", "-q", "-b", "feature/ä\"x\".lock2#;"}}},
        {"upstream of another name", {{"branch", "-u", "origin/main"}}},
        {"local upstream", {{"checkout", "-q", "-b", "local"}, {"branch", "-u", "main"}}},
        {"upstream gone", {{"config", "branch.local.merge", "refs/heads/nowhere"}}},
        {"renamed", {{"checkout", "-q", "main"}, {"branch", "-m", "Main2"}}},
        {"packed", {{"pack-refs", "--all"}}},
        {"moved after packing", {{"commit", "-q", "--allow-empty", "-m", "tab\there"}}},
        {"detached", {{"checkout", "-q", "--detach", "HEAD~1"}}},
        {"unborn", {{"checkout", "-q", "--orphan", "new"}}},
        {"back", {{"checkout", "-q", "-f", "Main2"}}},
        {"other refspec",
         {{"config", "remote.origin.fetch", "+refs/heads/*:refs/remotes/upstream/x-*"}, {"fetch", "-q"}}},
        {"sections written by hand",
         {{"config", "--unset-all", "remote.origin.fetch"},
          {"config", "--add", "remote.origin.fetch", "^refs/heads/none"},
          {"config", "--add", "remote.origin.fetch", "refs/heads/main:refs/remotes/origin/main"}}},
        {"no reflog", {{"reflog", "expire", "--expire=now", "--all"}}},
    };
    for (const auto& [when, commands] : steps) {
        for (const auto& words : commands)
            git(clone, words);
        expectLikeGit(clone, when);
    }
    write("clone/file", "changed");
    git(clone, {"stash", "-q"});
    expectLikeGit(clone, "stashed");

    git(clone, {"worktree", "add", "-q", "../tree", "-b", "in-tree"});
    commit(home / "tree", "in the tree");
    expectLikeGit(home / "tree", "worktree");
    commit(server, "second");
    git(clone, {"submodule", "--quiet", "add", (home / "server").string(), "sub"});
    expectLikeGit(clone / "sub", "submodule");

    // A rebase that stops half-way: HEAD is detached, the work goes on in files of the worktree.
    git(server, {"checkout", "-q", "-b", "side", "HEAD~1"});
    commit(server, "other");
    git(server, {"rebase", "-q", "main"}, 1);
    expectLikeGit(server, "rebasing");

    EXPECT_FALSE(GitRepository::at(home));
    write("odd/.git", "gitdir: ../none\n");
    EXPECT_FALSE(GitRepository::at(home / "odd"));
    git(clone, {"config", "include.path", "other"});
    EXPECT_TRUE(GitRepository::at(clone)->read()->needsGit);
}

TEST_F(GitRepositoryTests, ReadsSettingsAsGitDoes) {
    // Each text is also given to git; its answer for "s.sub.key", "s.key" and "old.sub.key" counts.
    const char* const texts[] = {
        "[s]\n\tkey = value\n[s \"sub\"]\nkey=other # comment\n",
        "[S]KEY = \"quoted # ; \" and \\\"more\\\" \\t\n",
        "[s \"sub\"]\n key = one \\\n   two\nkey = last\n",
        "[s \"su\\\"b\"]\nkey = 1\n[s \"Sub\"]\nkey = 2\n",
        "[OLD.Sub]\nkey = in lower case\n[s]\nkey\n",
        "\xEF\xBB\xBF[s]\r\nkey = a\r\n[s \"sub\"]\r\n; nothing\r\nkey = \"b\"  \"c\" \r\n",
        "[s]\nkey =\n[s \"sub\"] key = on the line\n",
        "[s]\nkey = ok\n[s \"sub\"]\nkey = trailing   \t \n",
    };
    for (const std::string text : texts) {
        const auto file = write("config", text);
        const GitConfig config(text);
        for (const auto& [section, subsection, name] :
             std::initializer_list<std::tuple<const char*, std::optional<std::string_view>, std::string>>{
                 {"s", "sub", "s.sub.key"},
                 {"s", std::nullopt, "s.key"},
                 {"old", "sub", "old.sub.key"},
                 {"s", "su\"b", "s.su\"b.key"}}) {
            const auto result = Program::run({"git", "config", "-z", "-f", file.string(), name});
            // For a key without "=" git prints the empty text, and takes it for true.
            std::optional<std::string> wanted;
            if (result.status == 0) wanted = result.output.substr(0, result.output.find('\0'));
            auto found = config.value(section, subsection, "Key");
            if (found == "true" && wanted == "") found = "";
            EXPECT_EQ(found, wanted) << text << name;
        }
    }
}

TEST_F(GitRepositoryTests, CountsWhatGitCounts) {
    const auto root = repository("work");
    write("work/kept", "1\n2\n3\n");
    write("work/moved", "a\nb\nc\nd\ne\nf\n");
    write("work/gone", "x");
    write("work/binary", std::string("\0\1", 2));
    write("work/sp ace", "1\r\n2\r\n");
    git(root, {"add", "-A"});
    git(root, {"commit", "-q", "-m", "first"});
    const std::string first = git(root, {"rev-parse", "HEAD"});
    write("work/kept", "1\n2\nthree\n4");
    std::filesystem::remove(root / "gone");
    std::filesystem::rename(root / "moved", root / "m\xC3\xB6ved \"q\"\n");
    write("work/binary", std::string("\0\2", 2));
    write("work/sp ace", "1\r\n2\n");
    write("work/new", "");
    write("work/tab\there", "n\n");
    write("work/[l\xFFst]", "n\n");
    git(root, {"add", "-A"});
    git(root, {"commit", "-q", "-m", "second"});
    const std::string second = git(root, {"rev-parse", "HEAD"});
    // What users set for themselves changes nothing.
    for (const char* setting : {"diff.noprefix=true", "color.ui=always", "diff.external=false",
                                "core.quotePath=false", "diff.renames=false", "diff.mnemonicPrefix=true"})
        git(root, {"config", std::string(setting).substr(0, std::string(setting).find('=')),
                   std::string(setting).substr(std::string(setting).find('=') + 1)});

    const GitChanges::Range range{root.string(), first, second};
    const auto output = run(GitChanges::listWords(range));
    ASSERT_TRUE(output);
    const auto set = GitChanges::parseList(*output);
    ASSERT_TRUE(set);
    using Status = FileChange::Status;
    struct Row {
        std::optional<std::string> oldPath;
        Status status;
        std::int64_t added, removed;
        bool isBinary;
        std::string diff; ///< each line: "-", "+", " " or "\\" and the numbers
    };
    const std::map<std::string, Row> wanted = {
        {"kept", {std::nullopt, Status::modified, 2, 1, false, " 1,1  2,2 -3 +3 +4 \\"}},
        {"m\xC3\xB6ved \"q\"\n", {"moved", Status::renamed, 0, 0, false, ""}},
        {"gone", {std::nullopt, Status::deleted, 0, 1, false, "-1 \\"}},
        {"binary", {std::nullopt, Status::modified, 0, 0, true, ""}},
        {"sp ace", {std::nullopt, Status::modified, 1, 1, false, " 1,1 -2 +2"}},
        {"new", {std::nullopt, Status::added, 0, 0, false, ""}},
        {"tab\there", {std::nullopt, Status::added, 1, 0, false, "+1"}},
        {"[l\xEF\xBF\xBDst]", {std::nullopt, Status::added, 1, 0, false, "+1"}},
    };
    EXPECT_EQ(set->fileCount, static_cast<std::int64_t>(wanted.size()));
    EXPECT_EQ(std::pair(set->added, set->removed), std::pair(std::int64_t{5}, std::int64_t{3}));
    for (const FileChange& file : set->files) {
        ASSERT_TRUE(wanted.contains(file.path)) << file.path;
        const Row& row = wanted.at(file.path);
        EXPECT_EQ(file, (FileChange{file.path, row.oldPath, row.status, row.added, row.removed, row.isBinary,
                                    false}))
            << file.path;
        const auto text = run(GitChanges::diffWords(range, file));
        const auto diffs = text ? GitChanges::parseDiff(*text) : std::nullopt;
        ASSERT_TRUE(diffs && diffs->size() == 1) << file.path;
        const FileDiff& diff = diffs->front();
        EXPECT_EQ(diff.path, file.path);
        EXPECT_EQ(diff.isBinary, row.isBinary) << file.path;
        EXPECT_FALSE(diff.isShortened);
        std::string shown;
        for (const DiffLine& line : diff.lines) {
            using Kind = DiffLine::Kind;
            if (line.kind == Kind::hunk) continue;
            shown += shown.empty() ? "" : " ";
            shown += line.kind == Kind::context
                         ? " " + std::to_string(*line.oldNumber) + "," + std::to_string(*line.newNumber)
                     : line.kind == Kind::removed ? "-" + std::to_string(*line.oldNumber)
                     : line.kind == Kind::added   ? "+" + std::to_string(*line.newNumber)
                                                  : "\\";
        }
        EXPECT_EQ(shown, row.diff) << file.path;
    }

    // The working tree, and the time before the first commit.
    write("work/kept", "1\n");
    const auto now = GitChanges::parseList(
        run(GitChanges::listWords({root.string(), second, std::nullopt})).value_or("?"));
    ASSERT_TRUE(now);
    EXPECT_EQ(now->removed, 3);
    const auto all = GitChanges::parseList(
        run(GitChanges::listWords({root.string(), std::string(GitChanges::emptyTree(first)), first}))
            .value_or("?"));
    ASSERT_TRUE(all);
    EXPECT_EQ(all->fileCount, 5);
}

TEST(GitChangesTests, RefusesWhatItCannotRead) {
    for (const char* text :
         {"1\t2", "x\t1\tp", "::100644 100644 100644 a b c MM", ":1 2 3 4 Q", "-1\t0\tp", "nonsense"})
        EXPECT_FALSE(GitChanges::parseList(std::string(text) + '\0')) << text;
    for (const char* text :
         {"diff --cc file\n", "@@ -1 +1 @@\n", "diff --git a/x b/x\n@@@ -1 -1 +1 @@@\n",
          "diff --git a/x b/x\n@@ -1,2 +1 @@\n a\n b\n", "diff --git a/x b/x\n@@ -1 +1 @@\n-a\n+b\n+c\n",
          "diff --git a/x b/x\n@@ -9999999999999999999 +1 @@\n"})
        EXPECT_FALSE(GitChanges::parseDiff(text)) << text;

    // What is too much is counted, and said to be more.
    std::string many = "diff --git a/x b/x\n@@ -0,0 +1,50000 @@\n", list;
    for (int line = 0; line < 50'000; ++line) {
        many += "+\xFF\n";
        list += "1\t1\tp" + std::to_string(line) + '\0';
    }
    const auto diffs = GitChanges::parseDiff(many);
    ASSERT_TRUE(diffs);
    EXPECT_EQ(diffs->front().lines.size(), GitChanges::mostLines);
    EXPECT_EQ(diffs->front().lines.back().text, "\xEF\xBF\xBD");
    EXPECT_TRUE(diffs->front().isShortened);
    const auto set = GitChanges::parseList(list);
    ASSERT_TRUE(set);
    EXPECT_EQ(set->files.size(), GitChanges::mostFiles);
    EXPECT_EQ(set->fileCount, 50'000);
    EXPECT_TRUE(GitChanges::parseDiff("diff --git a/x b/x\n@@ -1,2 +1,2 @@\n a\n")->front().isShortened);
}

TEST(GitChangesTests, ReflogsAndPackedRefsBeingWritten) {
    const std::string id(40, 'a'), line = id + " " + id + " A <a@b> 1 +0000";
    for (const auto& [text, message] :
         std::initializer_list<std::pair<std::string, std::optional<std::string>>>{
             {"", std::nullopt},
             {line + "\tcommit: x\n", "commit: x"},
             {line + "\tcommit: x\n" + line + "\tcomm", "commit: x"},
             {line + "\n", ""},
             {line + "\tone\n" + line + "\ttwo\ttabs\n", "two\ttabs"}})
        EXPECT_EQ(newestReflogMessage(text), message) << text;
    const std::string packed = "# pack-refs with: peeled fully-peeled sorted \n" + id + " refs/heads/a\n^" +
                               id + "\n" + std::string(40, 'b') + " refs/heads/ab\nxyz refs/heads/bad\n";
    EXPECT_EQ(packedRef(packed, "refs/heads/a"), id);
    EXPECT_EQ(packedRef(packed, "refs/heads/ab"), std::string(40, 'b'));
    EXPECT_FALSE(packedRef(packed, "refs/heads/bad"));
    EXPECT_FALSE(packedRef(packed, "heads/a"));

    // Sorted, the file is searched by halves, else from its start.
    std::vector<std::string> names;
    for (int number = 0; number < 300; ++number)
        names.push_back("refs/heads/" + std::to_string(number * number % 307));
    std::ranges::sort(names);
    for (const char* heading :
         {"# pack-refs with: peeled fully-peeled sorted \n", "# pack-refs with: peeled \n", ""}) {
        std::string many = heading;
        for (std::size_t index = 0; index < names.size(); ++index)
            many += id + " " + names[index] + "\n" + (index % 3 == 0 ? "^" + id + "\n" : "");
        for (const std::string& name : names) {
            EXPECT_EQ(packedRef(many, name), id) << heading << name;
            EXPECT_FALSE(packedRef(many, name + "x")) << heading;
        }
        EXPECT_FALSE(packedRef(many, "refs/heads/")) << heading;
    }
}

} // namespace quorvik
