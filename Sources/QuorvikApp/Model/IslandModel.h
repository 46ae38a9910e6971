#pragma once

#include "QuorvikApp/Model/AlertBoard.h"
#include "QuorvikApp/Model/Journal.h"
#include "QuorvikApp/Model/Memory.h"
#include "QuorvikApp/Model/RequestBoard.h"
#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Alerts/AlertClient.h"

#include <span>

namespace quorvik {

/// What the sessions folder holds.
struct SessionFolder {
    std::vector<std::shared_ptr<const SessionRecord>> records;

    /// Keys of records whose process, or whose waiting hooks, are gone: they claim that something is going on
    /// which is not.
    std::set<std::string, std::less<>> lost;

    std::vector<std::string> corrupt, unsupported; ///< paths, sorted
};

/// Everything there is to show and to answer, and the rules by which that happens. No I/O and no clock: what
/// happens is told with its time, and a snapshot comes out, with the moment at which it changes by itself.
class IslandModel {
  public:
    // What happens.

    void setSessions(SessionFolder folder, Date now);
    void setSettings(const Settings& settings, Date now);

    /// What does not work, a text each, in place of what this `area` ("settings", "sessions"…) said before.
    void setTroubles(std::string_view area, std::vector<std::string> troubles, Date now);

    /// From the last run of the app.
    void setMemory(Memory memory) { memory_ = std::move(memory); }

    /// False: the request cannot be taken, and its hook is to be sent away.
    bool addRequest(const ApprovalRequest& request, std::string_view members, Date now);
    void withdrawRequest(std::string_view id, Date now);

    /// Absent when the request takes this answer; it is then the caller's to hand over, and to report.
    std::optional<RequestBoard::Refusal> checkAnswer(std::string_view id,
                                                     const ApprovalResponse& response) const {
        return requests_.check(id, response);
    }
    void requestAnswered(std::string_view id, ApprovalDecision decision, const std::string& by, Date now);

    /// An agent tried to answer; `who` says which process.
    void answerRefused(std::string_view id, const std::string& who, Date now);

    /// The reply that the sender gets.
    AlertReply addAlert(const AlertRequest& alert, Date now);

    /// The user has seen the item. False when no item that can be waved away has that key.
    bool acknowledge(std::string_view key, Date now);

    /// The user has seen everything that can be waved away; returns how many items that were.
    std::size_t acknowledgeAll(Date now);

    /// False when no item that is shown has that key.
    bool pick(std::string_view key, Date now);
    void unpick(Date now);

    // What there is.

    /// What is shown at `now`. Its revision is the caller's to set.
    Snapshot snapshot(Date now);

    /// The next moment after `now` at which snapshot() differs although nothing happens. It may be early,
    /// never late. Absent when there is none.
    std::optional<Date> nextChange(Date now) const;

    const SessionFolder& sessions() const { return sessions_; }
    const Settings& settings() const { return settings_; }
    const Memory& memory() const { return memory_; }
    const RequestBoard& requests() const { return requests_; }

    /// Tells in words, a line each, what is shown in which place and by which rule, what is not and why, and
    /// what happened. `key` is an item's key or a request's id; empty: everything.
    std::vector<std::string> why(std::string_view key, Date now);

  private:
    std::vector<std::shared_ptr<const SessionRecord>> shownRecords() const;
    void forgetMemoryOfTheGone(Date now);

    SessionFolder sessions_;
    Settings settings_;
    Memory memory_;
    RequestBoard requests_;
    AlertBoard alerts_;
    Journal journal_;
    std::map<std::string, std::vector<std::string>, std::less<>> troubles_; ///< by area
};

} // namespace quorvik
