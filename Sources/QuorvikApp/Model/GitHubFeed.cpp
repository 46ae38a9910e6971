#include "QuorvikApp/Model/GitHubFeed.h"

#include "QuorvikCore/GitHub/GitHubRepository.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace quorvik {

namespace {

using Words = GitHubFeed::Words;

constexpr double shortestPause = 60, longestPause = 3600;   // seconds between looks, as GitHub asks for them
constexpr double longestRefusal = 6 * 3600;                 // seconds; a limit of GitHub's lasts an hour
constexpr double hour = 3600;                               // seconds
constexpr double untilListed = 300, untilTriedAgain = hour; // seconds between questions for a repository
constexpr double deploymentStands = 2 * hour;               // seconds after it was created
constexpr int mostTries = 3;                                // for the state of one pull request
constexpr std::size_t mostSeen = 1000, mostRepositories = 10, mostEnvironments = 5;
constexpr std::size_t longestDate = 64; // bytes; one of HTTP's has 29

bool isOver(Date since, double seconds, Date now) {
    return since > now || (now - since).count() >= seconds;
}

Words api(std::string path) {
    return {"gh", "api", "--hostname", "github.com", "--include", std::move(path)};
}

/// A page that a browser may be sent to.
std::optional<std::string> page(const std::optional<std::string>& url) {
    const bool isPage = url && (url->starts_with("https://") || url->starts_with("http://")) &&
                        std::ranges::all_of(*url, [](char byte) { return byte > ' ' && byte < '\x7f'; });
    return isPage ? url : std::nullopt;
}

/// "Review requested" of `reviewRequested`.
std::string inWords(PullRequestEventKind kind) {
    std::string words;
    for (const char byte : rawValue(kind)) {
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        if (isCapital) words += ' ';
        words += isCapital ? static_cast<char>(byte + ('a' - 'A')) : byte;
    }
    words.front() = static_cast<char>(words.front() - ('a' - 'A'));
    return words;
}

template <typename T>
std::optional<T> decoded(const nlohmann::json& value) {
    try {
        return T::fromJSON(value);
    } catch (const RecordError&) {
        return std::nullopt;
    }
}

} // namespace

bool GitHubFeed::Budget::take(Date now) {
    while (!calls.empty() && isOver(calls.front(), hour, now))
        calls.pop_front();
    if (left == 0 || calls.size() >= mostCallsPerHour) return false;
    --left;
    calls.push_back(now);
    return true;
}

void GitHubFeed::restart(Date now) {
    since_ = now;
    lastModified_.clear();
    seen_.clear();
    pending_.clear();
    news_.clear();
    repositories_.clear();
}

void GitHubFeed::begin(const Repositories& repositories, const SchedulerConfig& config, Date now) {
    config_ = config;
    trouble_ = blockedFor(now) > 0 ? refusal_ : "";
    hasAskedNotifications_ = false;
    details_.left = deploymentCalls_.left = mostCallsPerLook;
    question_.reset();

    std::erase_if(pending_, [](const auto& entry) { return entry.second.tries >= mostTries; });
    for (auto& [id, pending] : pending_)
        pending.isTried = false;
    const auto hasLingered = [&](const Record& record) {
        return record && record->state == SessionState::done &&
               (now - record->stateSince).count() >= config_.doneLinger;
    };
    std::erase_if(news_, [&](const auto& entry) { return hasLingered(entry.second); });

    std::erase_if(repositories_, [&](const auto& entry) { return !repositories.contains(entry.first); });
    for (const auto& [name, root] : repositories) {
        if (repositories_.size() == mostRepositories && !repositories_.contains(name)) continue;
        Repository& repository = repositories_[name];
        if (repository.root.empty()) repository.since = now;
        repository.root = root;
        std::erase_if(repository.deployments, [&](const auto& entry) {
            const auto created = entry.second.deployment.created();
            return !created || (now - *created).count() > deploymentStands;
        });
        for (auto& [environment, known] : repository.deployments) {
            known.isTried = false;
            if (hasLingered(known.record)) known.record.reset();
        }
    }
}

std::optional<Words> GitHubFeed::next(Date now) {
    question_.reset();
    if (!trouble_.empty()) return std::nullopt;
    if (!std::exchange(hasAskedNotifications_, true)) {
        question_ = Question{About::notifications, ""};
        Words words = api("notifications?per_page=50");
        if (!lastModified_.empty()) words.insert(words.end(), {"-H", "If-Modified-Since: " + lastModified_});
        return words;
    }
    for (auto& [id, pending] : pending_) {
        const auto url = page(pending.notification.htmlURL());
        if (pending.isTried || !details_.take(now)) continue;
        pending.isTried = true;
        ++pending.tries;
        question_ = Question{About::pullRequest, id};
        return Words{"gh", "pr", "view", *url, "--json", "state,reviewDecision"};
    }
    return nextOfDeployments(now);
}

/// What is under way comes first, then the repository whose list is the oldest.
std::optional<Words> GitHubFeed::nextOfDeployments(Date now) {
    const auto path = [](const std::string& name) { return "repos/" + name + "/deployments"; };
    for (auto& [name, repository] : repositories_) {
        for (auto& [environment, known] : repository.deployments) {
            if (known.isOver || known.isTried || !deploymentCalls_.take(now)) continue;
            known.isTried = true;
            question_ = Question{About::deployment, name, known.deployment.id};
            return api(path(name) + "/" + std::to_string(known.deployment.id) + "/statuses?per_page=1");
        }
    }
    auto oldest = repositories_.end();
    for (auto entry = repositories_.begin(); entry != repositories_.end(); ++entry) {
        const bool isDue = isOver(entry->second.askedAt, entry->second.rests, now);
        if (isDue && (oldest == repositories_.end() || entry->second.askedAt < oldest->second.askedAt))
            oldest = entry;
    }
    if (oldest == repositories_.end() || !deploymentCalls_.take(now)) return std::nullopt;
    oldest->second.askedAt = now;
    oldest->second.rests = untilListed;
    question_ = Question{About::deployments, oldest->first};
    return api(path(oldest->first) + "?per_page=10");
}

void GitHubFeed::answered(const GitHubReply& reply, Date now) {
    if (!question_) return;
    const Question question = *std::exchange(question_, std::nullopt);
    if (isRefusal(reply, now)) return;
    switch (question.about) {
    case About::notifications: return notificationsArrived(reply, now);
    case About::pullRequest: return pullRequestArrived(question.name, reply, now);
    case About::deployments: return listArrived(repositories_[question.name], reply, now);
    case About::deployment: return statusArrived(question, reply, now);
    }
}

/// Whether GitHub wants no more questions for now. Something that the user may not see (403) is none of it.
bool GitHubFeed::isRefusal(const GitHubReply& reply, Date now) {
    if (reply.status != 403 && reply.status != 429 && reply.status < 500) return false;
    double wait = static_cast<double>(reply.number("retry-after").value_or(0));
    if (wait == 0 && reply.number("x-ratelimit-remaining") == 0)
        wait = static_cast<double>(reply.number("x-ratelimit-reset").value_or(0)) - secondsSince1970(now);
    if (reply.status == 403 && wait <= 0) return false;
    trouble_ = refusal_ = "GitHub answered with status " + std::to_string(reply.status);
    refusedAt_ = now;
    refusedFor_ = std::clamp(std::ceil(wait), 0.0, longestRefusal);
    return true;
}

void GitHubFeed::notificationsArrived(const GitHubReply& reply, Date now) {
    pollInterval_ = static_cast<double>(reply.number("x-poll-interval").value_or(0));
    if (reply.status == 304) return;
    const nlohmann::json* list = reply.list();
    if (!list) {
        trouble_ = reply.status == 0     ? "gh got no answer from GitHub (see `gh auth status`)"
                   : reply.status == 200 ? "GitHub's answer is no list of notifications"
                                         : "GitHub answered with status " + std::to_string(reply.status);
        return;
    }
    const auto modified = reply.headers.find("last-modified");
    lastModified_ = modified == reply.headers.end() ? "" : modified->second.substr(0, longestDate);

    std::set<std::string> listed;
    for (const nlohmann::json& element : *list) {
        const auto notification = decoded<GitHubNotification>(element);
        if (!notification || !listed.insert(notification->id).second) continue;
        std::string& seen = seen_[notification->id];
        if (seen == notification->updatedAt) continue;
        seen = notification->updatedAt;
        const auto updated = notification->updated();
        if (!updated || *updated <= since_ || !GitHubRepository::isName(notification->repository.fullName))
            continue;
        if (!PullRequestClassifier::needsInfo(*notification))
            tell(*notification, std::nullopt, now);
        else if (page(notification->htmlURL()))
            pending_[notification->id] = {*notification};
    }
    const auto isRead = [&](const auto& entry) { return !listed.contains(entry.first); };
    std::erase_if(pending_, isRead);
    std::erase_if(news_, isRead);
    if (seen_.size() > mostSeen) std::erase_if(seen_, isRead);
}

void GitHubFeed::pullRequestArrived(const std::string& id, const GitHubReply& reply, Date now) {
    const auto info = reply.body ? decoded<PullRequestInfo>(*reply.body) : std::nullopt;
    const auto pending = pending_.find(id);
    if (!info || pending == pending_.end()) return; // asked again in the next looks
    tell(pending->second.notification, info, now);
    pending_.erase(pending);
}

void GitHubFeed::listArrived(Repository& repository, const GitHubReply& reply, Date now) {
    const nlohmann::json* list = reply.list();
    if (!list) {
        if (reply.status >= 400) repository.rests = untilTriedAgain; // the user may not see it
        return;
    }
    std::map<std::string, Deployment> newest; // GitHub lists the newest first
    for (const nlohmann::json& element : *list) {
        const auto deployment = decoded<GitHubDeployment>(element);
        const auto created = deployment ? deployment->created() : std::nullopt;
        if (!created || (now - *created).count() > deploymentStands) continue;
        const std::string environment = deployment->environment.value_or("");
        if (newest.contains(environment) || newest.size() == mostEnvironments) continue;
        const auto known = repository.deployments.find(environment);
        const bool isKnown =
            known != repository.deployments.end() && known->second.deployment.id == deployment->id;
        newest[environment] = isKnown ? known->second : Deployment{.deployment = *deployment};
    }
    repository.deployments = std::move(newest);
}

void GitHubFeed::statusArrived(const Question& question, const GitHubReply& reply, Date now) {
    Repository& repository = repositories_[question.name];
    const auto found = std::ranges::find_if(repository.deployments, [&](const auto& entry) {
        return entry.second.deployment.id == question.deployment;
    });
    const nlohmann::json* list = reply.list();
    if (found == repository.deployments.end() || !list || list->empty()) return;
    const auto status = decoded<GitHubDeploymentStatus>(list->front());
    Deployment& known = found->second;
    if (!status || status->state == known.state) return;
    known.state = status->state;
    const auto event = DeploymentClassifier::classify(known.deployment, *status);
    const bool wasShown = known.record != nullptr;
    known.record.reset();
    known.isOver = event ? event->state != DeploymentState::deploying : status->state == "inactive";
    if (!event) return;
    if (known.isOver && !wasShown) { // it may have been over before we first looked
        const auto ended = ISO8601::parse(status->createdAt.value_or(known.deployment.createdAt));
        if (!ended || *ended <= repository.since) return;
    }

    SessionRecord record(Source::git, "deployment-" + question.name + "-" + found->first, repository.root,
                         now);
    record.state = !known.isOver                             ? SessionState::working
                   : event->state == DeploymentState::failed ? SessionState::failed
                                                             : SessionState::done;
    record.tool = "Deployment";
    record.title = Unicode::terminalLine(question.name);
    record.summary = Unicode::terminalLine(event->environment + " " + std::string(rawValue(event->state)) +
                                           (event->note ? ": " + *event->note : ""));
    record.openURL = record.webURL = page(event->url);
    finishRecord(record, now);
    if (const auto created = known.deployment.created(); created && *created < now)
        record.turnStartedAt = *created;
    known.record = std::make_shared<const SessionRecord>(std::move(record));
}

void GitHubFeed::tell(const GitHubNotification& notification, const std::optional<PullRequestInfo>& info,
                      Date now) {
    const auto event = PullRequestClassifier::classify(notification, info);
    if (!event) return;
    SessionRecord record(Source::git, "github-" + notification.id, "", now);
    const bool isFailure = event->kind == PullRequestEventKind::changesRequested;
    record.state = isFailure ? SessionState::failed : SessionState::done;
    record.tool = notification.subject.type == "Issue" ? "Issue" : "Pull request";
    record.title = event->repo + (event->number ? "#" + std::to_string(*event->number) : "");
    record.summary = inWords(event->kind) + ": " + Unicode::terminalLine(event->title);
    record.openURL = record.webURL = page(event->url);
    finishRecord(record, now);
    news_[notification.id] = std::make_shared<const SessionRecord>(std::move(record));
}

/// What is done is hidden after `doneLinger`, so this one is done a little later than now.
void GitHubFeed::finishRecord(SessionRecord& record, Date now) const {
    record.turnStartedAt = now;
    if (record.state != SessionState::done) return;
    record.stateSince =
        now + std::chrono::duration<double>(std::max(0.0, config_.changesLinger - config_.doneLinger));
}

double GitHubFeed::blockedFor(Date now) const {
    return isOver(refusedAt_, refusedFor_, now) ? 0 : refusedFor_ - (now - refusedAt_).count();
}

double GitHubFeed::pause(Date now) const {
    return std::max(std::clamp(pollInterval_, shortestPause, longestPause), blockedFor(now));
}

GitHubFeed::Records GitHubFeed::records() const {
    Records records;
    for (const auto& [id, record] : news_)
        records.push_back(record);
    for (const auto& [name, repository] : repositories_)
        for (const auto& [environment, known] : repository.deployments)
            if (known.record) records.push_back(known.record);
    return records;
}

} // namespace quorvik
