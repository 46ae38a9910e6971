#pragma once

#include "QuorvikCore/GitHub/Deployment.h"
#include "QuorvikCore/GitHub/GitHubReply.h"
#include "QuorvikCore/GitHub/PullRequest.h"
#include "QuorvikCore/Island/IslandItem.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvik {

/// What GitHub has to tell the user, and what has to be asked for it. It knows neither programs nor clocks:
/// it gives the words of runs of `gh`, which only read, and takes what they printed.
///
/// A look asks for the notifications that the user has not read, then for what is needed to show the new ones
/// among them, then for deployments. What was there before the start is remembered and not shown; so is a
/// notification that does not change. (GitHub's dates are compared with ours: a clock that is fast by
/// minutes hides the news of the first minutes.)
///
/// Notifications are done, and shown for `changesLinger`; changes that a reviewer requests count as failed,
/// which stays until it is acknowledged. Both go when they are read on GitHub. A deployment is working, done
/// or failed; a newer one of the same environment takes its place, and after two hours it goes.
class GitHubFeed {
  public:
    using Words = std::vector<std::string>;
    using Records = std::vector<std::shared_ptr<const SessionRecord>>;

    /// Root folders by the name on GitHub, "owner/name".
    using Repositories = std::map<std::string, std::string>;

    /// At most so many detail calls in one look, and so many an hour; the same again for deployments. With
    /// the notifications themselves that is at most 180 calls an hour.
    static constexpr std::size_t mostCallsPerLook = 10, mostCallsPerHour = 60;

    /// Starts anew: shows nothing, and takes what is older than `now` as known. What GitHub asked us to wait,
    /// and what was asked in the last hour, still counts.
    void restart(Date now);

    /// Begins a look. Deployments are asked for of these repositories.
    void begin(const Repositories& repositories, const SchedulerConfig& config, Date now);

    /// The next run of this look. Absent when the look is over, and when there is trouble.
    std::optional<Words> next(Date now);

    /// What the run printed that next() gave last.
    void answered(const GitHubReply& reply, Date now);

    /// Seconds until the next look: a minute, or as long as GitHub asks for.
    double pause(Date now) const;

    /// For people: why this look was of no use; empty when it was.
    const std::string& trouble() const { return trouble_; }

    Records records() const;

  private:
    using Record = std::shared_ptr<const SessionRecord>;

    enum class About { notifications, pullRequest, deployments, deployment };
    struct Question {
        About about;
        std::string name; ///< the notification's id, or the repository
        std::int64_t deployment = 0;
    };
    struct Pending {
        GitHubNotification notification;
        int tries = 0;
        bool isTried = false; ///< in this look
    };
    struct Deployment {
        GitHubDeployment deployment;
        std::string state; ///< of the newest status that is known
        bool isOver = false, isTried = false;
        Record record; ///< null: nothing to show
    };
    struct Repository {
        std::string root;
        Date since{};                                  ///< what is older is no news
        Date askedAt{};                                ///< for the list
        double rests = 0;                              ///< seconds until it is asked for again
        std::map<std::string, Deployment> deployments; ///< the newest, by environment
    };
    /// The calls of one kind.
    struct Budget {
        std::deque<Date> calls; ///< of the last hour
        std::size_t left = 0;   ///< in this look

        bool take(Date now);
    };

    double blockedFor(Date now) const;
    std::optional<Words> nextOfDeployments(Date now);
    bool isRefusal(const GitHubReply& reply, Date now);
    void notificationsArrived(const GitHubReply& reply, Date now);
    void pullRequestArrived(const std::string& id, const GitHubReply& reply, Date now);
    void listArrived(Repository& repository, const GitHubReply& reply, Date now);
    void statusArrived(const Question& question, const GitHubReply& reply, Date now);
    void tell(const GitHubNotification& notification, const std::optional<PullRequestInfo>& info, Date now);
    void finishRecord(SessionRecord& record, Date now) const;

    Date since_{}; ///< the start
    SchedulerConfig config_;
    Budget details_, deploymentCalls_;
    std::optional<Question> question_; ///< that is being asked
    bool hasAskedNotifications_ = false;
    std::string trouble_, refusal_;
    Date refusedAt_{};
    double refusedFor_ = 0, pollInterval_ = 0; ///< seconds
    std::string lastModified_;                 ///< of the list of notifications, as it came
    std::map<std::string, std::string> seen_;  ///< by id, the `updatedAt` last seen
    std::map<std::string, Pending> pending_;   ///< by id: news whose pull request is not known yet
    std::map<std::string, Record> news_;       ///< by id
    std::map<std::string, Repository> repositories_;
};

} // namespace quorvik
