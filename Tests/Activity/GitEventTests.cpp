#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/GitActivity.h"
#include "QuorvikCore/Activity/GitEventClassifier.h"
#include "QuorvikCore/Activity/GitWorkInProgress.h"

#include <algorithm>
#include <sstream>

namespace quorvik {

namespace {

/// In a fresh repository, "~/app", which follows "~/remote.git" as a colleague's, "~/other", does: runs $1,
/// prints a snapshot, runs $2, and prints another snapshot, the git directory, and its files that changed.
constexpr const char* script = R"sh(
export GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_NAME=A GIT_AUTHOR_EMAIL=a@b.c GIT_COMMITTER_NAME=A GIT_COMMITTER_EMAIL=a@b.c
export GIT_EDITOR=true
commit() { echo "${2:-$1}" > "$1"; git add "$1"; git commit -qm "${2:-$1}"; }
colleague() { (cd ~/other; git pull -q; "$@"; git push -q); }
snapshot() {
  for query in 'symbolic-ref --short -q HEAD' 'rev-parse -q --verify HEAD' 'log -1 --format=%s' \
    'log -g -1 --format=%gs HEAD' 'rev-parse -q --verify @{u}' 'rev-parse -q --abbrev-ref @{u}' \
    'log -g -1 --format=%gs @{u}' 'rev-parse -q --verify refs/stash'; do
    printf '%s\n' "$(git $query 2>/dev/null || :)"
  done
}
exec 3>&1 >/dev/null
cd ~
if ! [ -d start ]; then
  mkdir start
  cd start
  git init -q --bare -b main remote.git
  git init -q -b main app
  cd app
  git remote add origin ../remote.git
  commit one; commit two
  git push -qu origin main
  cp -R ../app ../other
fi
cd ~
rm -rf app other remote.git linked
cp -R start/. .
cd app
eval "$1"
touch -t 200001010001 ~/stamp
find ~/app/.git -type f -exec touch -t 200001010000 {} +
snapshot >&3
eval "$2"
{ snapshot; git rev-parse --absolute-git-dir; find ~/app/.git -type f -newer ~/stamp; } >&3
)sh";

GitSnapshot readSnapshot(std::istream& lines) {
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

} // namespace

class GitEventTests : public testing::TemporaryHome {};

TEST_F(GitEventTests, NamesWhatRealGitDid) {
    using Case = std::array<std::string, 4>;
    const std::string topic = "git checkout -qb topic; commit three; git checkout -q main; ";
    const std::string diverged = topic + "commit four; ", conflict = topic + "commit three 3; ";
    const std::string linked = "git worktree add -q ../linked -b linked; cd ../linked; ";
    for (const auto& [preparations, steps, event, inProgress] : std::initializer_list<Case>{
             {"", "commit three", "Committed: three"},
             {"", "commit three; git commit -q --amend -m better", "Amended: better"},
             {"git checkout -q --detach", "commit three", "Committed: three"},
             {linked, "commit three", "Committed: three"},
             {topic, "git merge -q topic", "Merged: main"},
             {conflict, "git merge -q topic || :", "", "merge"},
             {conflict + linked, "git merge -q topic || :", "", "merge"},
             {conflict + "git merge -q topic || git add three", "git commit -qm M", "Merged: main"},
             {"commit four", "colleague commit three; git pull -q --no-rebase", "Pulled: main"},
             {"commit four", "colleague commit three; git pull -q --rebase", "Pulled: main"},
             {diverged, "git rebase -q topic", "Rebased: main"},
             {conflict, "git rebase -q topic || :", "Rebased: ", "rebase"},
             {conflict, "git rebase -q --apply topic || cp .git/HEAD .git/MERGE_HEAD", "Rebased: ", "rebase"},
             {conflict, "git rebase -q topic || git rebase --abort", ""},
             {"", "git reset -q --hard HEAD~1", "Reset: one"},
             {diverged, "git cherry-pick topic", "Cherry-picked: three"},
             {conflict, "git cherry-pick topic || :", "", "cherry-pick"},
             {"", "git revert --no-edit HEAD", "Reverted: Revert \"two\""},
             {"commit two 2", "git revert HEAD~1 || :", "", "revert"},
             {"", "git checkout -q HEAD~1", "Switched branch: one"},
             {topic, "git checkout -q topic; commit five", "Switched branch: main → topic"},
             {"commit three", "git push -q", "Pushed: main → origin/main"},
             {"", "colleague commit three; git fetch -q origin", "Fetched: origin/main"},
             {"colleague commit three; git fetch -q; git branch --unset-upstream",
              "git branch -u origin/main", ""},
             {"echo 1 > one", "git stash -q", "Stashed: main"},
             {"echo 1 > one; git stash -q", "echo 2 > two; git stash -q", "Stash updated: main"},
             {"echo 1 > one; git stash -q", "git stash pop -q", "Stash updated: main"}}) {
        const auto run = testing::Program::run({"sh", "-euc", script, "sh", preparations, steps});
        ASSERT_EQ(run.status, 0) << preparations << steps << run.errors;
        std::istringstream lines(run.output);
        const GitSnapshot before = readSnapshot(lines), after = readSnapshot(lines);
        const auto found = GitEventClassifier::classify(before, after);
        EXPECT_EQ(found ? found->op + ": " + found->detail : "", event) << preparations << steps;

        std::string line;
        std::getline(lines, line);
        const auto operation = detectGitWorkInProgress(line);
        EXPECT_EQ(operation ? rawValue(*operation) : "", inProgress) << preparations << steps;

        bool heard = !found || found->op == "Stash updated"; // of by a watcher; or a file was removed
        while (std::getline(lines, line))
            heard = heard || GitActivity::repoRoot(line, home.string()) == home / "app";
        EXPECT_TRUE(heard) << preparations << steps;
    }
    EXPECT_EQ(detectGitWorkInProgress(home / "nowhere"), std::nullopt);
}

} // namespace quorvik
