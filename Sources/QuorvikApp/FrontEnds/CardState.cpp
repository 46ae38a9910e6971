#include "QuorvikApp/FrontEnds/CardState.h"

#include <algorithm>

namespace quorvik {

CardState::CardState(std::shared_ptr<const WaitingRequest> waiting, const RequestCard::SecretFinder& secrets,
                     std::string_view home)
    : waiting_(std::move(waiting)), masked_(RequestCard::of(*waiting_, secrets, home)),
      bare_(masked_.hidesSecrets ? RequestCard::of(*waiting_, {}, home) : masked_),
      answers_(std::max<std::size_t>(masked_.questions.size(), 1)) {}

std::string CardState::page() const {
    return id() + "#" + std::to_string(secondsSince1970(waiting_->receivedAt)) + "#" +
           std::to_string(question_) + (showsSecrets_ ? "v" : "");
}

/// The card shows another page now, of which nothing has been in view.
void CardState::turn() {
    scroll = read_ = total_ = 0;
}

void CardState::toggleSecrets() {
    if (!masked_.hidesSecrets) return;
    showsSecrets_ = !showsSecrets_;
    turn();
}

void CardState::drawn(std::size_t width, std::size_t first, std::size_t shown, std::size_t total) {
    if (width != width_ || total != total_) read_ = 0;
    width_ = width;
    total_ = total;
    if (first <= read_) read_ = std::max(read_, first + shown);
}

bool CardState::isReadAfter(std::size_t width, std::size_t first, std::size_t shown,
                            std::size_t total) const {
    const std::size_t read = width == width_ && total == total_ ? read_ : 0;
    return total > 0 && (first <= read ? std::max(read, first + shown) : read) >= total;
}

void CardState::turnOver(std::size_t rows, bool forward) {
    scroll = forward ? std::min(scroll + rows, read_) : scroll - std::min(scroll, rows);
}

bool CardState::isAnswered() const {
    return answer().own || !answer().chosen.empty();
}

void CardState::choose(std::size_t option) {
    const CardQuestion& question = card().questions[question_];
    if (option >= question.options.size()) return;
    Answer& answer = answers_[question_];
    answer.own.reset();
    const bool wasChosen = answer.chosen.contains(option);
    if (!question.multiSelect) answer.chosen.clear();
    if (wasChosen)
        answer.chosen.erase(option);
    else
        answer.chosen.insert(option);
}

void CardState::answerWith(std::string words) {
    if (words.empty())
        answers_[question_].own.reset();
    else
        answers_[question_] = {{}, std::move(words)};
}

bool CardState::back() {
    if (question_ == 0) return false;
    --question_;
    turn();
    return true;
}

bool CardState::goOn() {
    if (question_ + 1 >= card().questions.size()) return false;
    ++question_;
    turn();
    return true;
}

std::vector<std::string> CardState::answers() const {
    std::vector<std::string> texts;
    for (std::size_t index = 0; index < card().questions.size(); ++index) {
        const Answer& answer = answers_[index];
        std::vector<std::string> labels;
        for (const std::size_t option : answer.chosen)
            labels.push_back(card().questions[index].options[option].answer);
        texts.push_back(answer.own.value_or(joinedAnswers(labels)));
    }
    return texts;
}

} // namespace quorvik
