#pragma once

#include "QuorvikApp/Model/RequestCard.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// A moment, by two clocks.
struct Moment {
    Date wall{};       ///< for what is shown; may jump
    double steady = 0; ///< seconds; for what must not be hurried
};

/// One request's card while the user thinks: what has been in view, and what is chosen so far.
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

    /// What stands in the card right now: the request and, of several questions, which.
    std::string page() const;

    // Reading.

    std::size_t scroll = 0; ///< rows of the body above the card's first one

    /// Takes note of what a frame showed: rows [first, first + shown) of `total`, wrapped to `width` columns.
    void drawn(std::size_t width, std::size_t first, std::size_t shown, std::size_t total);

    /// Whether all of this page has been in view, in the width it has now.
    bool isRead() const { return total_ > 0 && read_ >= total_; }

    /// Whether it will have been once such a frame is shown.
    bool isReadAfter(std::size_t width, std::size_t first, std::size_t shown, std::size_t total) const;

    /// A page on, or back: by `rows`, but not past what has not been in view yet.
    void turnOver(std::size_t rows, bool forward);

    // Answering.

    struct Answer {
        std::set<std::size_t> chosen;   ///< of the options
        std::optional<std::string> own; ///< in the user's words; then nothing is chosen
    };
    std::size_t question() const { return question_; }
    const Answer& answer() const { return answers_[question_]; }
    bool isAnswered() const;
    void choose(std::size_t option); ///< chooses it, or no longer; nothing when there is no such option
    void answerWith(std::string words);
    bool back();                              ///< false at the first question
    bool goOn();                              ///< false at the last question
    std::vector<std::string> answers() const; ///< a text each

    bool isSent = false; ///< the user has decided, and the app has not said no

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
