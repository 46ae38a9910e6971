#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/GitActivity.h"
#include "QuorvikCore/Activity/GitEventClassifier.h"
#include "QuorvikCore/Activity/GitWorkInProgress.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace quorvik {

using testing::Program;

/// A real repository, "~/app", that follows "~/remote.git"; "~/other" is a colleague's clone.
class GitEventTests : public testing::TemporaryHome {
  protected:
    struct Run {
        GitSnapshot before, after;
        std::optional<GitWorkInProgress> inProgress;
        std::vector<std::string> changedFiles; ///< of the repository's git directory; removed ones too
    };

    GitEventTests() {
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, const char*>>{
                 {"GIT_CONFIG_NOSYSTEM", "1"},
                 {"GIT_AUTHOR_NAME", "A"},
                 {"GIT_AUTHOR_EMAIL", "a@example.org"},
                 {"GIT_COMMITTER_NAME", "A"},
                 {"GIT_COMMITTER_EMAIL", "a@example.org"},
                 {"GIT_EDITOR", "true"}})
            ::setenv(name, value, 1);
        for (const char* name : {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE", "XDG_CONFIG_HOME"})
            ::unsetenv(name);
    }

    /// Takes a snapshot before and after the steps, in `app`, as it is after the preparations.
    Run run(const std::string& preparations, const std::string& steps) const {
        const auto result = Program::run({"sh", "-euc", script(preparations, steps)});
        EXPECT_EQ(result.status, 0) << preparations << "; " << steps << "\n" << result.errors;
        std::istringstream lines(result.output);
        Run run{readSnapshot(lines), readSnapshot(lines), std::nullopt, {}};
        std::string line;
        std::getline(lines, line);
        run.inProgress = detectGitWorkInProgress(line);
        while (std::getline(lines, line))
            run.changedFiles.push_back(line);
        return run;
    }

  private:
    static std::string script(const std::string& preparations, const std::string& steps) {
        return R"sh(
commit() { echo "${2:-$1}" > "$1"; git add "$1"; git commit -qm "${2:-$1}"; }
colleague() { (cd ~/other; git pull -q; "$@"; git push -q); }
field() { printf '%s\n' "$("$@" 2>/dev/null || true)"; }
snapshot() {
  field git symbolic-ref --short -q HEAD
  field git rev-parse -q --verify HEAD
  field git log -1 --format=%s
  field git log -g -1 --format=%gs HEAD
  field git rev-parse -q --verify '@{upstream}'
  field git rev-parse -q --abbrev-ref '@{upstream}'
  field git log -g -1 --format=%gs '@{upstream}'
  field git rev-parse -q --verify refs/stash
}
exec 3>&1 >/dev/null
cd ~
if ! [ -d start ]; then
  mkdir start
  git init -q --bare -b main start/remote.git
  git init -q -b main start/app
  cd start/app
  git config pull.rebase false
  git remote add origin ../remote.git
  commit one
  commit two
  git push -qu origin main
  cp -R ../app ../other
  cd ~
fi
rm -rf remote.git app other linked
cp -R start/. .
cd app
)sh" + preparations +
               R"sh(
touch -t 200001010001 ~/stamp
find ~/app/.git -type f -exec touch -t 200001010000 {} +
find ~/app/.git -type f | sort > ~/files
snapshot >&3
)sh" + steps + R"sh(
snapshot >&3
{
  git rev-parse --absolute-git-dir
  find ~/app/.git -type f -newer ~/stamp
  find ~/app/.git -type f | sort | comm -23 ~/files -
} >&3
)sh";
    }

    static GitSnapshot readSnapshot(std::istream& lines) {
        GitSnapshot snapshot;
        for (auto* field :
             {&snapshot.branch, &snapshot.head, &snapshot.subject, &snapshot.headMessage, &snapshot.upstream,
              &snapshot.upstreamName, &snapshot.upstreamMessage, &snapshot.stash}) {
            std::string line;
            std::getline(lines, line);
            if (!line.empty()) *field = line;
        }
        return snapshot;
    }
};

TEST_F(GitEventTests, NamesWhatRealGitDid) {
    struct Case {
        std::string preparations, steps, event;
    };
    const std::string topic = "git checkout -qb topic; commit three; git checkout -q main; ";
    const std::string diverged = topic + "commit four; ";
    for (const auto& [preparations, steps, event] : std::initializer_list<Case>{
             {"", "commit three", "Committed: three"},
             {"", "commit three; git commit -q --amend -m better", "Amended: better"},
             {"git checkout -q --detach", "commit three", "Committed: three"},
             {"git checkout -q --orphan new; git rm -rqf .", "commit three", ""}, // no HEAD before it
             {topic, "git merge -q topic", "Merged: main"},
             {diverged, "git merge -q topic", "Merged: main"},
             {topic + "commit three 3; git merge -q topic || git add three", "git commit -qm Merge",
              "Merged: main"},
             {"", "colleague commit three; git pull -q", "Pulled: main"},
             {"commit four", "colleague commit three; git pull -q --rebase", "Pulled: main"},
             {"commit four", "colleague commit three; git pull -q --no-edit", "Pulled: main"},
             {diverged, "git rebase -q topic", "Rebased: main"},
             {topic + "commit three 3", "git rebase -q topic || :", "Rebased: "}, // stopped, detached
             {"", "git reset -q --hard HEAD~1", "Reset: one"},
             {diverged, "git cherry-pick topic", "Cherry-picked: three"},
             {"", "git revert --no-edit HEAD", "Reverted: Revert \"two\""},
             {"", "git checkout -q HEAD~1", "Switched branch: one"},
             {"git checkout -q HEAD~1", "git checkout -q main", "Switched branch: two"},
             {"", "git checkout -q --detach", ""}, // the same commit
             {topic, "git checkout -q topic", "Switched branch: main → topic"},
             {topic, "git switch -q topic; commit five", "Switched branch: main → topic"},
             {topic, "git branch -qM new", "Switched branch: main → new"},
             {"commit three", "git push -q", "Pushed: main → origin/main"},
             {"git checkout -qb new", "git push -qu origin new", "Pushed: new → origin/new"},
             {"", "git branch -q other; git gc -q", ""},
             {"", "colleague commit three; git fetch -q", "Fetched: origin/main"},
             {"", "colleague commit three; git fetch -q --all", "Fetched: origin/main"},
             {"colleague commit three; git fetch -q; git branch -q --unset-upstream",
              "git branch -qu origin/main", ""},
             {"echo 1 > one", "git stash -q", "Stashed: main"},
             {"echo 1 > one; git stash -q", "echo 2 > two; git stash -q", "Stash updated: main"},
             {"echo 1 > one; git stash -q", "git stash pop -q", "Stash updated: main"},
             {"", "echo 1 > one; git add one", ""},
             {"git worktree add -q ../linked -b linked; cd ../linked", "commit three", "Committed: three"},
         }) {
        const auto [before, after, inProgress, changed] = run(preparations, steps);
        const auto found = GitEventClassifier::classify(before, after);
        EXPECT_EQ(found ? found->op + ": " + found->detail : "", event) << preparations << "; " << steps;
        if (!found) continue;
        const bool heard = std::ranges::any_of(changed, [&](const std::string& file) {
            return GitActivity::repoRoot(file, home.string()) == home / "app";
        });
        EXPECT_TRUE(heard) << "by a watcher, of " << steps;
    }
}

TEST_F(GitEventTests, KnowsWhatStoppedHalfWay) {
    struct Case {
        std::string preparations, steps, operation;
    };
    const std::string conflict =
        "git checkout -qb topic; commit three; git checkout -q main; commit three 3; ";
    for (const auto& [preparations, steps, operation] : std::initializer_list<Case>{
             {conflict, ""},
             {conflict, "git merge -q topic || :", "merge"},
             {conflict, "git rebase -q --merge topic || :", "rebase"},
             {conflict, "git rebase -q --apply topic || :", "rebase"},
             {conflict, "git cherry-pick topic || :", "cherry-pick"},
             {"commit two 2", "git revert HEAD~1 || :", "revert"},
             {conflict, "git rebase -q topic || cp .git/HEAD .git/MERGE_HEAD", "rebase"},
             {conflict, "git rebase -q topic || git rebase --abort", ""},
             {conflict, "git merge -q topic || { git add three; git commit -qm Merge; }", ""},
             {conflict + "git worktree add -q ../linked -b linked; cd ../linked",
              "git merge -q topic || :", "merge"},
         }) {
        const auto found = run(preparations, steps).inProgress;
        EXPECT_EQ(found ? rawValue(*found) : "", operation) << preparations << steps;
    }
    EXPECT_EQ(detectGitWorkInProgress(home / "app/.git"), std::nullopt); // it is the linked worktree's
    EXPECT_EQ(detectGitWorkInProgress(home / "nowhere"), std::nullopt);
}

} // namespace quorvik
