#include "QuorvikApp/Signals/GitSignal.h"

#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Activity/GitActivity.h"
#include "QuorvikCore/Activity/GitRepository.h"

#include <algorithm>
#include <set>

namespace quorvik {

namespace {

using Path = std::filesystem::path;
using Words = std::vector<std::string>;

constexpr Timer::Seconds afterSessions(0.1); ///< sessions change often, their folders hardly ever
constexpr Timer::Seconds afterChange(0.3);   ///< git writes several files for one thing that it does
constexpr Timer::Seconds longestBurst(2);
constexpr std::size_t mostRepositories = 100, mostFolders = 40; ///< the latter of one repository
constexpr ChildProcess::Limits limits{Timer::Seconds(5), 16 << 20};
constexpr ChildProcess::Limits diffLimits{Timer::Seconds(5), 4 << 20}; ///< more than anybody reads
constexpr std::size_t mostDiffs = 4;                                   ///< at once
constexpr Timer::Seconds changesStand(3600);

/// The folders whose entries change when something happens that GitSnapshot tells of.
std::vector<Path> foldersOf(const GitRepository& repository) {
    std::vector<Path> folders = {repository.gitFolder()};
    if (repository.commonFolder() != repository.gitFolder()) folders.push_back(repository.commonFolder());
    std::error_code error;
    folders.push_back(repository.commonFolder() / "refs");
    constexpr auto options = std::filesystem::directory_options::skip_permission_denied;
    for (std::filesystem::recursive_directory_iterator entry(folders.back(), options, error), end;
         !error && entry != end && folders.size() < mostFolders; entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().filename() == "tags")
            entry.disable_recursion_pending();
        else if (entry->is_directory(ignored) && !entry->is_symlink(ignored))
            folders.push_back(entry->path());
    }
    return folders;
}

} // namespace

/// One repository: its last known state, and the look at it that is under way.
class GitSignal::Watched {
  public:
    Watched(GitSignal& signal, GitRepository repository)
        : signal_(signal), repository_(std::move(repository)),
          settle_(signal.context_.loop, [this] { begin(); }) {
        begin();
    }

  private:
    /// Most changes in a git folder are of the index, and tell of nothing.
    void hinted(const std::string& folder, const FolderHints& hints) {
        const bool holdsRefs =
            folder != repository_.gitFolder().string() && folder != repository_.commonFolder().string();
        const auto counts = [](const std::string& name) {
            return GitActivity::repoRoot("/home/repository/.git/" + name, "/home").has_value();
        };
        if (holdsRefs || !hints.isAll || std::ranges::any_of(hints.names, counts)) settle();
    }

    void settle() {
        const Date now = signal_.now();
        if (!settle_.isRunning()) firstHint_ = now;
        // However long git is busy, what it did so far is told now and then.
        if (now - firstHint_ < longestBurst) settle_.start(afterChange);
    }

    void begin() {
        if (run_) { // one look at a time; there is something new when it ends
            isLate_ = true;
            return;
        }
        began_ = std::chrono::system_clock::now();
        watchFolders();
        const auto state = repository_.read();
        if (!state) return again();
        if (state->needsGit) {
            answers_.clear();
            askOn();
            return;
        }
        next_ = state->snapshot;
        if (last_ && last_->head == next_.head) next_.subject = last_->subject;
        if (!last_ || !next_.head || last_->head == next_.head) return finish();
        run(repository_.subjectWords(*next_.head), [this](const std::optional<std::string>& subject) {
            if (subject) next_.subject = subject->substr(0, subject->find('\n'));
            finish();
        });
    }

    /// Asks git for one thing after the other: askGit() is run again with each answer, until it needs no
    /// further one.
    void askOn() {
        std::optional<Words> missing;
        const auto snapshot = repository_.askGit([&](const Words& words) -> std::optional<std::string> {
            const auto known = answers_.find(words);
            if (known != answers_.end()) return known->second;
            if (!missing) missing = words;
            return std::nullopt;
        });
        if (missing) {
            run(*missing, [this, words = *missing](const std::optional<std::string>& answer) {
                answers_[words] = answer;
                askOn();
            });
        } else if (snapshot) {
            next_ = *snapshot;
            finish();
        }
    }

    /// The new state is known.
    void finish() {
        const auto before = std::exchange(last_, next_);
        const auto event = before ? GitEventClassifier::classify(*before, next_) : std::nullopt;
        if (!event) return again();
        const Date now = signal_.now();
        const std::string root = repository_.root().string();
        signal_.tell(GitRecords::event(root, *event, now));
        if (!GitRecords::bringsChanges(*event) || !before->head || !next_.head) return again();
        const GitChanges::Range range{root, *before->head, *next_.head};
        run(GitChanges::listWords(range), [this, range](const std::optional<std::string>& list) {
            auto changes = list ? GitChanges::parseList(*list) : std::nullopt;
            if (changes && changes->fileCount > 0) signal_.tell({range, std::move(*changes)});
            again();
        });
    }

    void again() {
        signal_.spent(std::max(Date(std::chrono::system_clock::now()) - began_, Seconds::zero()));
        if (std::exchange(isLate_, false)) settle();
    }

    void run(const Words& words, std::function<void(std::optional<std::string>)> done) {
        run_ = std::make_unique<ChildProcess>(
            signal_.context_.loop, words, limits,
            [this, done = std::move(done)](ChildProcess::Result result) {
                const auto over = std::move(run_); // the next one may start now
                signal_.tellTrouble(result.exitStatus ? "" : result.failure);
                done(result.isSuccess() ? std::optional(std::move(result.output)) : std::nullopt);
            });
    }

    void watchFolders() {
        std::map<std::string, std::unique_ptr<FolderWatch>> watches;
        for (const Path& folder : foldersOf(repository_)) {
            auto& watch = watches[folder.string()];
            if (const auto known = watches_.find(folder.string()); known != watches_.end())
                watch = std::move(known->second);
            else
                watch = std::make_unique<FolderWatch>(
                    signal_.context_.loop,
                    [this, name = folder.string()](const FolderHints& hints) { hinted(name, hints); });
            watch->watch(folder.string());
        }
        watches_ = std::move(watches);
    }

    GitSignal& signal_;
    const GitRepository repository_;
    Timer settle_;
    Date firstHint_{}, began_{};
    std::map<std::string, std::unique_ptr<FolderWatch>> watches_; ///< by folder
    std::unique_ptr<ChildProcess> run_;
    std::map<Words, std::optional<std::string>> answers_;
    std::optional<GitSnapshot> last_;
    GitSnapshot next_;
    bool isLate_ = false;
};

GitSignal::GitSignal(const SignalContext& context) : Signal(context, "git") {}

GitSignal::~GitSignal() = default;

void GitSignal::update() {
    if (settings().git) {
        turnOn(std::nullopt);
        lookSoon(afterSessions);
        return;
    }
    watched_.clear();
    records_.clear();
    changes_.clear();
    trouble_.clear();
    turnOff("switched off");
}

void GitSignal::look() {
    watchRepositories();
    forgetWhatIsOver();
    ended(trouble_);
}

void GitSignal::watchRepositories() {
    const std::set<std::string> wanted = roots_.of(context_.model.sessions(), mostRepositories, now());
    std::erase_if(watched_, [&](const auto& entry) { return !wanted.contains(entry.first); });
    for (const std::string& root : wanted) {
        if (watched_.contains(root)) continue;
        if (auto repository = GitRepository::at(root))
            watched_.emplace(root, std::make_unique<Watched>(*this, std::move(*repository)));
    }
}

/// What is no longer shown need not be kept.
void GitSignal::forgetWhatIsOver() {
    const double longest = std::max(settings().scheduler.doneLinger, settings().scheduler.changesLinger);
    const auto forgotten = std::erase_if(
        records_, [&](const auto& entry) { return (now() - entry.second->stateSince).count() > longest; });
    if (forgotten > 0) tellModel();
    const double readable = std::max(longest, changesStand.count());
    std::erase_if(changes_,
                  [&](const auto& entry) { return (now() - entry.second.since).count() > readable; });
}

void GitSignal::tell(SessionRecord record) {
    std::string id = record.sessionID;
    records_[std::move(id)] = std::make_shared<const SessionRecord>(std::move(record));
    tellModel();
}

void GitSignal::tell(ItemChanges changes) {
    SessionRecord record = GitRecords::changes(changes.range.root, changes.set, now());
    changes_[record.key()] = {now(), std::move(changes)};
    if (changes_.size() > mostRepositories)
        changes_.erase(
            std::ranges::min_element(changes_, {}, [](const auto& entry) { return entry.second.since; }));
    tell(std::move(record));
}

const ItemChanges* GitSignal::changes(std::string_view key) const {
    const auto known = changes_.find(key);
    return known == changes_.end() ? nullptr : &known->second.changes;
}

void GitSignal::diff(const GitChanges::Range& range, const FileChange& file, DiffDone done) {
    if (diffs_.size() == mostDiffs) {
        context_.loop.later(
            [done = std::move(done)] { done(std::nullopt, "git is asked too much at once"); });
        return;
    }
    const std::uint64_t number = ++diffCount_;
    diffs_[number] = std::make_unique<ChildProcess>(
        context_.loop, GitChanges::diffWords(range, file), diffLimits,
        [this, number, path = file.path, done = std::move(done)](const ChildProcess::Result& result) {
            const auto over = diffs_.extract(number);
            std::string_view output = result.output;
            // Of a difference without end the beginning is shown, up to its last whole line.
            const bool isCut = !result.exitStatus && output.size() == diffLimits.outputBytes;
            if (isCut) output = output.substr(0, output.rfind('\n') + 1);
            if (!result.isSuccess() && !isCut)
                return done(std::nullopt,
                            "git failed: " + (result.exitStatus ? "it ended with status " +
                                                                      std::to_string(*result.exitStatus)
                                                                : result.failure));
            auto diff = GitRecords::diffOf(path, output);
            if (!diff) return done(std::nullopt, "git told of no difference");
            diff->isShortened = diff->isShortened || isCut;
            done(std::move(diff), "");
        });
}

void GitSignal::tellModel() {
    Records records;
    for (const auto& [id, record] : records_)
        records.push_back(record);
    show(std::move(records));
}

void GitSignal::tellTrouble(std::string trouble) {
    if (trouble == trouble_) return;
    trouble_ = std::move(trouble);
    lookSoon();
}

} // namespace quorvik
