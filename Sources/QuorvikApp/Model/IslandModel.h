#pragma once

#include "QuorvikApp/Model/AlertBoard.h"
#include "QuorvikApp/Model/Journal.h"
#include "QuorvikApp/Model/Memory.h"
#include "QuorvikApp/Model/RequestBoard.h"
#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Alerts/AlertClient.h"

#include <deque>
#include <span>

namespace quorvik {

/// What the sessions folder holds.
struct SessionFolder {
    std::vector<std::shared_ptr<const SessionRecord>> records;

    /// Keys of records that say that something is going on although their process is gone, or that somebody
    /// waits although the hooks are gone.
    std::set<std::string, std::less<>> lost;

    std::vector<std::string> corrupt, unsupported; ///< paths, sorted

    /// Whether they hold the same objects.
    bool operator==(const SessionFolder&) const = default;
};

/// Everything there is to show and to answer, and the rules for it. No I/O and no clock: each event is passed
/// in with its time. snapshot() gives what is to be shown, nextChange() when that changes by itself.
class IslandModel {
  public:
    // What happens.

    void setSessions(SessionFolder folder, Date now);
    void setSettings(const Settings& settings, Date now);

    /// Replaces what is known not to work in one `area` ("settings", "sessions"…): one line each.
    void setTroubles(std::string_view area, std::vector<std::string> troubles, Date now);

    /// Replaces the items of one signal ("git"): records that stand in no file. Their keys must differ from
    /// those of sessions.
    void setSignal(std::string_view signal, std::vector<std::shared_ptr<const SessionRecord>> records,
                   Date now);

    /// Sets what the last run of the app has kept.
    void setMemory(Memory memory) { memory_ = std::move(memory); }

    /// Adds a request; `members` is its JSON text. False when it cannot be taken: its hook must then be told
    /// to go.
    bool addRequest(const ApprovalRequest& request, std::string_view members, Date now);
    void withdrawRequest(std::string_view id, Date now);

    /// Absent when the request takes this answer. The caller then hands it over and calls requestAnswered().
    std::optional<RequestBoard::Refusal> checkAnswer(std::string_view id,
                                                     const ApprovalResponse& response) const {
        return requests_.check(id, response);
    }
    void requestAnswered(std::string_view id, ApprovalDecision decision, const std::string& by, Date now);

    /// Notes that an agent's process tried to answer; `who` describes the process.
    void answerRefused(std::string_view id, const std::string& who, Date now);

    /// Adds the alert, and returns the reply for its sender: "ok", or "disabled" while the setting `alerts`
    /// is off or alerts are paused.
    AlertReply addAlert(const AlertRequest& alert, Date now);

    /// The longest pause of alerts, in seconds. Nor does one last longer when the clock is set back
    /// meanwhile.
    static constexpr double longestPause = 86'400;

    /// Takes no alerts for so many seconds, from 0 (which ends a pause) to longestPause. What is shown stays.
    void pauseAlerts(double seconds, Date now);

    /// The user has seen the item, which then is no longer shown. False when no item that can be acknowledged
    /// has that key.
    bool acknowledge(std::string_view key, Date now);

    /// Acknowledges every item that can be; returns how many those were.
    std::size_t acknowledgeAll(Date now);

    /// The user wants the item in front. False when no item that is shown has that key.
    bool pick(std::string_view key, Date now);
    void unpick(Date now);

    // What there is.

    /// What is shown at `now`. The caller sets its revision.
    Snapshot snapshot(Date now);

    /// The next moment after `now` at which snapshot() differs although nothing happens. It may be too early,
    /// but never too late. Absent when there is none.
    std::optional<Date> nextChange(Date now) const;

    const SessionFolder& sessions() const { return sessions_; }
    const Settings& settings() const { return settings_; }
    const Memory& memory() const { return memory_; }
    const RequestBoard& requests() const { return requests_; }

    /// Explains in words, a line each: what is shown where and by which rule, what is not shown and why, and
    /// what happened. `key` is an item's key or a request's id; empty for everything.
    std::vector<std::string> why(std::string_view key, Date now);

  private:
    using Records = std::vector<std::shared_ptr<const SessionRecord>>;

    Records shownRecords() const;
    Records signalRecords() const;
    void forgetMemoryOfTheGone(Date now);
    void updatePause(Date now);

    struct RefusedAnswer {
        Date when{};
        std::string text;
    };
    /// How long a refused answer is told of.
    static constexpr Date::duration refusedLinger = std::chrono::hours(1);

    SessionFolder sessions_;
    std::map<std::string, Records, std::less<>> signals_;
    Settings settings_;
    Memory memory_;
    RequestBoard requests_;
    AlertBoard alerts_;
    Journal journal_;
    std::map<std::string, std::vector<std::string>, std::less<>> troubles_; ///< by area
    std::deque<RefusedAnswer> refused_;                                     ///< the newest first
};

} // namespace quorvik
