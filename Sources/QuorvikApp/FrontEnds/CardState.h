#pragma once

#include "QuorvikApp/Model/RequestCard.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// A moment as two clocks tell it.
struct Moment {
    Date wall{};       ///< the wall clock, for times that are shown; may be set
    double steady = 0; ///< seconds of a clock that is never set, for measuring waits
};

/// The state of one request's card: what the user has had in view, and has chosen so far.
class CardState {
  public:
    CardState(std::shared_ptr<const WaitingRequest> waiting, const RequestCard::SecretFinder& secrets,
              std::string_view home);

    const WaitingRequest& waiting() const { return *waiting_; }
    const std::string& id() const { return waiting_->request.id; }
    const RequestCard& card() const { return showsSecrets_ ? bare_ : masked_; }
    bool isQuestion() const { return !card().questions.empty(); }
    bool showsSecrets() const { return showsSecrets_; }
    void toggleSecrets();

    /// Names what the card shows now: the request, by its id and by when it came, since an id may come again;
    /// which of its questions, and whether secrets are shown.
    std::string page() const;

    // Reading.

    std::size_t scroll = 0; ///< rows of the body above the card's first one

    /// Takes note of what a frame showed: rows [first, first + shown) of `total`, wrapped to `width` columns.
    void drawn(std::size_t width, std::size_t first, std::size_t shown, std::size_t total);

    /// Whether all of this page has been in view, in the width it has now.
    bool isRead() const { return total_ > 0 && read_ >= total_; }

    /// Whether isRead() will hold once a frame with these values has been shown.
    bool isReadAfter(std::size_t width, std::size_t first, std::size_t shown, std::size_t total) const;

    /// Scrolls by `rows`, forward or back; forward not past the first row that has not been in view.
    void turnOver(std::size_t rows, bool forward);

    // Answering.

    struct Answer {
        std::set<std::size_t> chosen;   ///< indices of the options
        std::optional<std::string> own; ///< the user's own words; `chosen` is then empty
    };
    std::size_t question() const { return question_; }
    const Answer& answer() const { return answers_[question_]; }
    bool isAnswered() const;
    void choose(std::size_t option);          ///< toggles it; ignored when there is no such option
    void answerWith(std::string words);       ///< the user's own; empty: takes them back
    bool back();                              ///< to the question before; false at the first
    bool goOn();                              ///< to the next question; false at the last
    std::vector<std::string> answers() const; ///< one for each question

    bool isSent = false; ///< the answer is on its way, and the app has not refused it

  private:
    void turn();

    std::shared_ptr<const WaitingRequest> waiting_;
    RequestCard masked_, bare_;
    bool showsSecrets_ = false;
    std::size_t width_ = 0, read_ = 0, total_ = 0; ///< rows
    std::size_t question_ = 0;
    std::vector<Answer> answers_;
};

} // namespace quorvik
