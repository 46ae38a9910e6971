#include "quorvik_overlay/Model/OverlayModel.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <utility>

namespace quorvik {

namespace {

/// Seconds in which nobody can have read a card and decided.
constexpr double tooSoon = 1.0 / 3;

/// Seconds for which an overlay that has nothing to show says that it is there.
constexpr double greeting = 5;

} // namespace

// What happens.

void OverlayModel::show(std::shared_ptr<const Snapshot> snapshot, Moment now) {
    disconnected_.clear();
    if (!std::exchange(hasShown_, true)) greetUntil_ = now.steady + greeting;
    snapshot_ = std::move(snapshot);
    placeCard();
}

void OverlayModel::disconnected(std::string why) {
    disconnected_ = std::move(why);
    placeCard();
}

void OverlayModel::say(std::string message, Moment now) {
    constexpr double readable = 8; // seconds
    message_ = std::move(message);
    messageUntil_ = now.steady + readable;
}

void OverlayModel::refused(std::string_view request, std::string message, Moment now) {
    say(std::move(message), now);
    if (const auto found = cards_.find(request); found != cards_.end()) found->second.isSent = false;
}

void OverlayModel::pointer(Pointer place) {
    pointer_ = place;
    if (cardRequest_.empty()) isListOpen_ = isListPinned_ || place == Pointer::over;
    placeCard();
}

void OverlayModel::holdBack(Pointer place) {
    cardRequest_.clear();
    drawnPage_.clear();
    isHeldBack_ = true;
    pointer(place == Pointer::away ? Pointer::inTheWay : place);
}

bool OverlayModel::opensByItself(const WaitingRequest& waiting) const {
    if (dismissed_.contains(waiting.request.id)) return false;
    const std::string key = waiting.request.key();
    const auto items = snapshot_->items();
    const auto item = std::ranges::find_if(items, [&](const auto* each) { return each->id() == key; });
    return item == items.end() || !(*item)->quiet;
}

/// Decides whose card is open. An open one stays as long as its request waits, so that no click meets another
/// card than the one it was meant for.
void OverlayModel::placeCard() {
    const std::string before = std::exchange(cardRequest_, "");
    std::erase_if(cards_, [&](const auto& entry) {
        const WaitingRequest* waiting = snapshot_->request(entry.first);
        const WaitingRequest& known = entry.second.waiting();
        return !waiting || waiting->receivedAt != known.receivedAt || waiting->members != known.members;
    });
    const bool isAnother = !cards_.contains(before); // also when its id has come again
    const auto isGone = [&](const std::string& id) { return !snapshot_->request(id); };
    std::erase_if(dismissed_, isGone);
    std::erase_if(wanted_, isGone);
    isHeldBack_ = false;
    if (!disconnected_.empty()) {
        cards_.clear();
    } else if (cards_.contains(before) && (wanted_.contains(before) || pointer_ == Pointer::over ||
                                           opensByItself(*snapshot_->request(before)))) {
        cardRequest_ = before;
    } else {
        const WaitingRequest* next = nullptr;
        if (snapshot_->primary) next = snapshot_->requestOf(*snapshot_->primary);
        if (next && !opensByItself(*next)) next = nullptr;
        for (const auto& waiting : snapshot_->requests)
            if (!next && opensByItself(*waiting)) next = waiting.get();
        isHeldBack_ = next && pointer_ != Pointer::away;
        if (next && !isHeldBack_) openCard(*next);
    }
    if (cardRequest_ != before || isAnother) { // what was typed belonged to the card before
        asksWhyNot_ = false;
        typed_.clear();
        drawnPage_.clear();
        if (!before.empty()) isListOpen_ = isListPinned_ = false;
    }
}

void OverlayModel::openCard(const WaitingRequest& waiting) {
    const auto& shared =
        *std::ranges::find_if(snapshot_->requests, [&](const auto& each) { return each.get() == &waiting; });
    cardRequest_ = waiting.request.id;
    if (cards_.try_emplace(cardRequest_, shared, look_.secrets, look_.home).second) ++cardCount_;
}

/// Names what the open card shows. No other card has ever had that name, not even one of the same request's
/// id.
std::string OverlayModel::page() const {
    return card()->page() + "#" + std::to_string(cardCount_);
}

CardState* OverlayModel::card() {
    const auto found = cards_.find(cardRequest_);
    return found == cards_.end() ? nullptr : &found->second;
}
const CardState* OverlayModel::card() const {
    const auto found = cards_.find(cardRequest_);
    return found == cards_.end() ? nullptr : &found->second;
}

void OverlayModel::drawn(const std::string& page, std::size_t width, std::size_t first, std::size_t shown,
                         std::size_t total, Moment now) {
    CardState* card = this->card();
    if (!card || this->page() != page) return;
    if (std::exchange(drawnPage_, page) != page) drawnSince_ = now.steady;
    const bool wasRead = card->isRead();
    card->drawn(width, first, shown, total);
    if (!wasRead && card->isRead()) drawnSince_ = now.steady; // its last rows have only just come into view
}

bool OverlayModel::takesPresses(Moment now) const {
    const CardState* card = this->card();
    return card && !card->isSent && page() == drawnPage_ && now.steady - drawnSince_ >= tooSoon;
}

// What the user does.

/// Why that cannot be done with the card now; empty when it can.
std::string OverlayModel::whyNot(const CardState& card, Press press) const {
    const RequestCard& offered = card.card();
    const bool permits = press == Press::allow || press == Press::always;
    const bool answers = press == Press::choose || press == Press::confirm;
    if (permits || answers) {
        if (!offered.allow) return offered.whyNoAllow;
        if (!card.isRead()) return "read all of it first: scroll";
    }
    if (permits && offered.hidesSecrets && !card.showsSecrets())
        return "show what is hidden here; then it may be allowed";
    if (press == Press::always && !offered.always) return "there is nothing that \"always\" could keep";
    if (press == Press::deny && !offered.deny) return "deny it in its terminal";
    if (press == Press::confirm && !card.isAnswered()) return "choose an answer, or write your own";
    return "";
}

OverlayModel::Effects OverlayModel::answer(ApprovalResponse response) {
    CardState* card = this->card();
    card->isSent = true;
    return {{OverlayEffect::Kind::answer, card->id(), std::move(response)}};
}

OverlayModel::Effects OverlayModel::press(Press press, Moment now, std::size_t option) {
    message_.clear();
    CardState* card = this->card();
    if (press == Press::unfold) {
        const auto entries = this->entries();
        const WaitingRequest* next = entries.empty() ? nullptr : entries.front().request;
        if (next && disconnected_.empty()) return pressItem(std::string(requestPrefix) + next->request.id);
        if (entries.empty()) greetUntil_ = now.steady + greeting; // somebody asks whether it is there
        isListPinned_ = !isListPinned_ && !entries.empty();
        isListOpen_ = isListPinned_ || pointer_ == Pointer::over;
        return {};
    }
    if (press == Press::fold) {
        if (std::exchange(asksWhyNot_, false)) {
            typed_.clear();
            return {};
        }
        if (card) { // and no other one takes its place: the user has other things to do
            for (const auto& waiting : snapshot_->requests)
                dismissed_.insert(waiting->request.id);
            wanted_.clear();
            cardRequest_.clear();
            drawnPage_.clear();
        }
        isListOpen_ = isListPinned_ = false;
        return {};
    }
    if (!card) return {};
    if (press == Press::nextRequest) {
        const auto& requests = snapshot_->requests;
        const auto at = std::ranges::find_if(
            requests, [&](const auto& waiting) { return waiting->request.id == cardRequest_; });
        const auto next = at + 1 == requests.end() ? requests.begin() : at + 1;
        return pressItem(std::string(requestPrefix) + (*next)->request.id);
    }
    if (!takesPresses(now)) {
        if (!card->isSent) drawnSince_ = now.steady; // clicks in a row, a key that is held down: no answers
        return {};
    }
    if (std::string why = whyNot(*card, press); !why.empty()) {
        say(std::move(why), now);
        return {};
    }
    switch (press) {
    case Press::allow: return answer({.decision = ApprovalDecision::allow});
    case Press::always: return answer({.decision = ApprovalDecision::allowAlways});
    case Press::ask: return answer({.decision = ApprovalDecision::ask});
    case Press::deny: {
        if (!std::exchange(asksWhyNot_, true)) return {};
        ApprovalResponse response{.decision = ApprovalDecision::deny};
        if (!typed_.empty()) response.message = typed_;
        return answer(std::move(response));
    }
    case Press::secrets: card->toggleSecrets(); return {};
    case Press::choose:
        if (card->isQuestion()) card->choose(option);
        return {};
    case Press::confirm:
        if (card->goOn()) return {};
        return answer({.decision = ApprovalDecision::allow, .answers = card->answers()});
    case Press::back: card->back(); return {};
    default: return {};
    }
}

OverlayModel::Effects OverlayModel::pressItem(const std::string& key) {
    message_.clear();
    for (const Entry& entry : entries())
        if (entry.item && !entry.request && entry.item->id() == key)
            return {{OverlayEffect::Kind::open, key}};
    for (const auto& waiting : snapshot_->requests) {
        const bool isMeant =
            key == waiting->request.key() || key == std::string(requestPrefix) + waiting->request.id;
        if (!isMeant || !disconnected_.empty()) continue;
        if (waiting->request.id != cardRequest_) {
            asksWhyNot_ = false;
            typed_.clear();
            drawnPage_.clear();
        }
        openCard(*waiting);
        dismissed_.erase(waiting->request.id);
        wanted_.insert(waiting->request.id);
        isHeldBack_ = false;
        return {};
    }
    return {};
}

OverlayModel::Effects OverlayModel::acknowledge(const std::string& key) const {
    if (key.starts_with(requestPrefix)) return {};
    return {{OverlayEffect::Kind::acknowledge, key}};
}

void OverlayModel::typed(const std::string& shownPage, std::string text) {
    constexpr std::size_t longest = 2000; // bytes; a reply is one line of bounded length
    std::string line = Unicode::terminalLine(text);
    std::string_view rest = line;
    while (line.size() - rest.size() <= longest && !rest.empty()) {
        const std::string_view before = rest;
        Unicode::takeCharacter(rest);
        if (line.size() - rest.size() > longest) text = line.substr(0, line.size() - before.size());
    }
    if (line.size() <= longest) text = std::move(line);
    CardState* card = this->card();
    if (!card || card->isSent || page() != shownPage) return;
    if (asksWhyNot_)
        typed_ = std::move(text);
    else if (card->isQuestion() && card->card().allow)
        card->answerWith(std::move(text));
}

OverlayModel::Effects OverlayModel::key(std::string_view key, Moment now) {
    const CardState* card = this->card();
    if (!card) return {};
    if (key == "n" && !asksWhyNot_) return press(Press::nextRequest, now);
    if (card->isQuestion() && !asksWhyNot_ && key.size() == 1 && key[0] >= '1' && key[0] <= '9')
        return press(Press::choose, now, static_cast<std::size_t>(key[0] - '1'));
    for (const ButtonPicture& button : buttons(*card))
        if (!key.empty() && button.key == key) return press(button.press, now);
    drawnSince_ = now.steady; // somebody types, and may not mean this card
    return {};
}

} // namespace quorvik
