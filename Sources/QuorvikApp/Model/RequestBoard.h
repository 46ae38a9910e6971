#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include <deque>

namespace quorvik {

/// The permissions and questions that agents have put to the user, and what became of them.
///
/// A request waits until somebody answers (the first answer wins), its hook goes, or the app ends. It has no
/// time limit and no default answer.
class RequestBoard {
  public:
    static constexpr std::size_t mostWaiting =
        512; ///< at once; more are turned away, and agents ask by themselves
    static constexpr std::size_t mostRemembered = 1000; ///< requests that are over

    /// Why an answer is not taken; the codes are those of docs/control.md.
    struct Refusal {
        enum class Reason { withdrawn = 10, answeredAlready = 11, unknown = 12, unfit = 13 };
        Reason reason;
        std::string message; ///< one line, for people
    };

    /// Adds a request; `members` is its JSON text. False when its id waits already, or too many requests do.
    bool add(const ApprovalRequest& request, std::string_view members, Date now);

    /// The hook has gone. False when the request did not wait.
    bool withdraw(std::string_view id);

    /// Absent when the request waits and takes this answer.
    std::optional<Refusal> check(std::string_view id, const ApprovalResponse& response) const;

    /// The request was answered; `by` says by whom ("the live island, process 4711").
    void answered(std::string_view id, std::string by);

    /// Oldest first.
    const std::vector<std::shared_ptr<const WaitingRequest>>& waiting() const { return waiting_; }

    const WaitingRequest* find(std::string_view id) const;

  private:
    struct Over {
        std::string id;
        std::optional<std::string> answeredBy; ///< absent: withdrawn
    };

    bool remove(std::string_view id);
    void remember(Over over);

    std::vector<std::shared_ptr<const WaitingRequest>> waiting_;
    std::deque<Over> over_;
};

/// Why the request does not take this answer, in one line; empty when it does. Only what the agent will
/// honour is taken: "always" only where words can say what it grants, as many answers as there are questions,
/// and no answers for a permission.
std::string whyUnfit(const WaitingRequest& waiting, const ApprovalResponse& response);

} // namespace quorvik
