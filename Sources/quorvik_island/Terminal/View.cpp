#include "quorvik_island/Terminal/View.h"

#include "quorvik_island/Terminal/Example.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

/// Seconds in which nobody can have read a card and decided.
constexpr double tooSoon = 1.0 / 3;

std::string entryKey(const WaitingRequest& request) {
    return "request:" + request.request.id;
}

bool holds(std::string_view text, const std::string& word) {
    return Unicode::lowercased(text).find(word) != std::string::npos;
}

bool matches(const SnapshotItem& item, const std::string& word) {
    const SessionRecord& record = *item.record;
    return holds(itemLabel(record), word) || holds(record.summary.value_or(""), word) ||
           holds(record.tool.value_or(""), word) || holds(record.cwd, word) ||
           holds(displayName(record.source), word) || holds(rawValue(item.display), word);
}

} // namespace

void View::show(std::shared_ptr<const Snapshot> snapshot) {
    disconnected_.clear();
    if (isExample()) {
        real_ = std::move(snapshot);
        if (real_->items().empty() && real_->requests.empty()) return;
        snapshot = std::exchange(real_, nullptr); // something real to see
        exampleSince_.reset();
    }
    snapshot_ = std::move(snapshot);
    placeCard();
}

void View::disconnected(std::string why) {
    disconnected_ = std::move(why);
    cards_.clear();
    placeCard();
}

void View::refused(std::string_view request, std::string message) {
    say(std::move(message));
    if (const auto found = cards_.find(request); found != cards_.end()) found->second.isSent = false;
}

bool View::isFirstRun() const {
    return !isExample() && disconnected_.empty() && snapshot_->items().empty() &&
           snapshot_->requests.empty() && std::ranges::none_of(agents_, &FoundAgent::isConnected);
}

std::vector<View::Entry> View::entries() const {
    std::vector<Entry> entries;
    const auto items = snapshot_->items();
    std::set<const WaitingRequest*> withItem;
    if (!snapshot_->requests.empty()) {
        std::set<std::string, std::less<>> keys;
        for (const SnapshotItem* item : items)
            keys.insert(item->id());
        for (const auto& waiting : snapshot_->requests)
            if (!keys.contains(waiting->request.key()))
                entries.push_back({entryKey(*waiting), nullptr, waiting.get()});
    }
    const std::string word = Unicode::lowercased(filter_);
    for (const SnapshotItem* item : items) {
        // What waits for an answer is never filtered away.
        if (!word.empty() && !snapshot_->requestOf(*item) && !matches(*item, word)) continue;
        entries.push_back({item->id(), item, nullptr});
    }
    return entries;
}

std::size_t View::selectedIndex(const std::vector<Entry>& entries) const {
    if (selected_.empty() || entries.empty()) return 0;
    const auto found = std::ranges::find(entries, selected_, &Entry::key);
    if (found != entries.end()) return static_cast<std::size_t>(found - entries.begin());
    return std::min(lastIndex_, entries.size() - 1); // it is gone: what took its place
}

const CardState* View::card() const {
    const auto found = cards_.find(cardRequest_);
    return found == cards_.end() ? nullptr : &found->second;
}
CardState* View::card() {
    const auto found = cards_.find(cardRequest_);
    return found == cards_.end() ? nullptr : &found->second;
}

/// Decides whose card is open: the one that the user turned to, or whose item has just been selected; else it
/// stays as long as it can, so that no key meets another card than the one it was meant for; else the
/// selected item's, else that of the first item that has one.
void View::placeCard(bool moved) {
    const auto before = std::exchange(cardRequest_, "");
    std::erase_if(cards_, [&](const auto& entry) {
        const WaitingRequest* waiting = snapshot_->request(entry.first);
        return !waiting || waiting->members != entry.second.waiting().members;
    });
    const auto entries = this->entries();
    const WaitingRequest* shown = snapshot_->request(chosenRequest_);
    if (!shown) chosenRequest_.clear();
    const auto requestOf = [&](const Entry& entry) {
        return entry.item ? snapshot_->requestOf(*entry.item) : entry.request;
    };
    const WaitingRequest* selected = entries.empty() ? nullptr : requestOf(entries[selectedIndex(entries)]);
    if (!shown && moved) shown = selected;
    if (!shown) shown = snapshot_->request(before);
    if (!shown) shown = selected;
    for (std::size_t index = 0; !shown && index < entries.size(); ++index)
        shown = requestOf(entries[index]);
    if (shown && disconnected_.empty()) {
        cardRequest_ = shown->request.id;
        const auto& waiting =
            *std::ranges::find_if(snapshot_->requests, [&](const auto& each) { return each.get() == shown; });
        cards_.try_emplace(cardRequest_, waiting, look_.secrets, look_.home);
        const auto isItsOwn = [&](const Entry& entry) {
            return entry.item ? entry.key == shown->request.key() : entry.request == shown;
        };
        const auto entry = std::ranges::find_if(entries, isItsOwn);
        cardEntry_ = entry == entries.end() ? "" : entry->key;
    }
    const bool types = mode_ == Mode::reason || mode_ == Mode::ownWords;
    if (types && cardRequest_ != before) { // what was typed belonged to the card before
        mode_ = Mode::items;
        say("the request that you were answering is gone");
    }
}

void View::drawn(const Frame& frame, Moment now) {
    itemOfRow_ = frame.itemOfRow;
    pageRows_ = std::max<std::size_t>(frame.card ? frame.card->shown : frame.size.rows / 2, 1);
    const std::string page = frame.card ? frame.card->page : "";
    if (page != drawnPage_) {
        drawnPage_ = page;
        drawnSince_ = now.steady;
    }
    CardState* card = this->card();
    if (!card || !frame.card || frame.card->request != card->id()) return;
    card->scroll = frame.card->first;
    card->drawn(frame.card->width, frame.card->first, frame.card->shown, frame.card->total);
}

bool View::cardTakesKeys(Moment now) const {
    const CardState* card = this->card();
    return card && !card->isSent && card->page() == drawnPage_ && now.steady - drawnSince_ >= tooSoon;
}

KeyPlace View::place() const {
    if (const CardState* card = this->card())
        return card->isQuestion() ? KeyPlace::question : KeyPlace::permission;
    return isFirstRun() ? KeyPlace::firstRun : KeyPlace::everywhere;
}

void View::tick(Moment now) {
    if (!exampleSince_) return;
    const bool waits = exampleStage_ == Example::waitingStage;
    if (waits || now.steady - *exampleSince_ < Example::stageSeconds) return;
    exampleStage_ = (exampleStage_ + 1) % Example::stages;
    exampleSince_ = now.steady;
    snapshot_ = std::make_shared<const Snapshot>(Example::snapshot(exampleStage_, now.wall));
    placeCard();
}

std::optional<Date> View::nextExample(Moment now) const {
    if (!exampleSince_ || exampleStage_ == Example::waitingStage) return std::nullopt;
    const double left = *exampleSince_ + Example::stageSeconds - now.steady;
    return now.wall + std::chrono::duration<double>(std::max(left, 0.0));
}

void View::select(std::size_t index) {
    const auto entries = this->entries();
    if (entries.empty()) return;
    lastIndex_ = std::min(index, entries.size() - 1);
    selected_ = entries[lastIndex_].key;
    chosenRequest_.clear();
    placeCard(true);
}

void View::moveSelection(long by) {
    const auto entries = this->entries();
    const long at = static_cast<long>(selectedIndex(entries)) + by;
    select(static_cast<std::size_t>(std::max(at, 0L)));
}

void View::nextRequest(long by) {
    const auto& requests = snapshot_->requests;
    if (requests.empty() || !disconnected_.empty()) return;
    const auto at = std::ranges::find_if(
        requests, [&](const auto& waiting) { return waiting->request.id == cardRequest_; });
    const long count = static_cast<long>(requests.size());
    const long index = at == requests.end() ? 0 : (at - requests.begin() + by + count) % count;
    chosenRequest_ = requests[static_cast<std::size_t>(index)]->request.id;
    placeCard();
    selected_ = cardEntry_;
}

void View::startTyping(Mode mode, std::string typed) {
    mode_ = mode;
    typed_ = std::move(typed);
}

void View::click(const Key& key) {
    if (key.row >= itemOfRow_.size() || itemOfRow_[key.row].empty()) return;
    const std::string item = itemOfRow_[key.row];
    const auto entries = this->entries();
    const auto found = std::ranges::find(entries, item, &Entry::key);
    if (found == entries.end()) return;
    const auto index = static_cast<std::size_t>(found - entries.begin());
    const bool wasSelected = index == selectedIndex(entries);
    select(index);
    if (!wasSelected) return;
    if (unfolded_.erase(item) == 0) unfolded_.insert(item);
}

std::vector<Effect> View::key(const Key& key, Moment now) {
    if (key.name.empty()) return {};
    message_.clear();
    if (mode_ == Mode::help) return helpKey(key);
    if (mode_ != Mode::items) return typeKey(key, now);
    const KeyRule* rule = keyRule(key.name, place());
    return rule ? act(rule->action, key, now) : Effects();
}

View::Effects View::helpKey(const Key& key) {
    const KeyRule* rule = keyRule(key.name, KeyPlace::everywhere);
    switch (rule ? rule->action : KeyAction::fold) {
    case KeyAction::down:
    case KeyAction::pageDown: helpScroll_ = std::min(helpScroll_ + 1, keyRules().size()); return {};
    case KeyAction::up:
    case KeyAction::pageUp: helpScroll_ -= std::min<std::size_t>(helpScroll_, 1); return {};
    case KeyAction::redraw: return {{Effect::Kind::redraw, ""}};
    case KeyAction::suspend: return {{Effect::Kind::suspend, ""}};
    default: mode_ = Mode::items; return {};
    }
}

View::Effects View::typeKey(const Key& key, Moment now) {
    constexpr std::size_t longest = 2000; // bytes; a reply is one line of bounded length
    if (key.name == "Esc" || key.name == "Ctrl-C") {
        if (mode_ == Mode::filter) filter_.clear();
        mode_ = Mode::items;
    } else if (key.name == "Backspace") {
        std::string_view rest = typed_;
        if (!rest.empty()) rest = Unicode::firstCharacters(rest, Unicode::characterCount(rest) - 1);
        typed_ = std::string(rest);
    } else if (key.name == "Ctrl-U") {
        typed_.clear();
    } else if (key.name == "Ctrl-Z") {
        return {{Effect::Kind::suspend, ""}};
    } else if (key.name == "Enter") {
        const Mode mode = std::exchange(mode_, Mode::items);
        if (mode == Mode::reason) {
            ApprovalResponse response{.decision = ApprovalDecision::deny};
            if (!typed_.empty()) response.message = typed_;
            return answer(std::move(response), now);
        }
        if (CardState* card = this->card(); mode == Mode::ownWords && card && !typed_.empty())
            card->answerWith(typed_);
    } else if (Unicode::characterCount(key.name, 2) == 1 &&
               !Unicode::isControl(Unicode::firstScalar(key.name).value) &&
               typed_.size() + key.name.size() <= longest) {
        typed_ += key.name;
    }
    if (mode_ == Mode::filter) {
        filter_ = typed_;
        placeCard();
    }
    return {};
}

View::Effects View::answer(ApprovalResponse response, Moment now) {
    CardState* card = this->card();
    if (!card || card->isSent) return {};
    if (isExample()) {
        exampleStage_ = Example::waitingStage + 1;
        exampleSince_ = now.steady;
        snapshot_ = std::make_shared<const Snapshot>(Example::snapshot(exampleStage_, now.wall));
        placeCard();
        say("That was the whole of it. Esc ends the example.");
        return {};
    }
    card->isSent = true;
    return {{Effect::Kind::answer, card->id(), std::move(response)}};
}

View::Effects View::confirm(Moment now) {
    CardState* card = this->card();
    if (!card->isAnswered()) {
        say("choose with the digits, or w for your own words");
        return {};
    }
    if (card->goOn()) return {};
    return answer({.decision = ApprovalDecision::allow, .answers = card->answers()}, now);
}

View::Effects View::actOnCard(KeyAction action, const Key& key, Moment now) {
    CardState* card = this->card();
    if (!card || !cardTakesKeys(now)) return {};
    const RequestCard& offered = card->card();
    const bool allows = action == KeyAction::allow || action == KeyAction::always ||
                        action == KeyAction::confirm || action == KeyAction::choose ||
                        action == KeyAction::ownWords;
    if (allows && !offered.allow) {
        say(offered.whyNoAllow);
        return {};
    }
    if (allows && !card->isRead()) {
        say("read it to its end first (PgDn)");
        return {};
    }
    switch (action) {
    case KeyAction::allow: return answer({.decision = ApprovalDecision::allow}, now);
    case KeyAction::always:
        if (offered.always) return answer({.decision = ApprovalDecision::allowAlways}, now);
        say("there is nothing that \"always\" could keep");
        return {};
    case KeyAction::deny:
        if (offered.deny)
            startTyping(Mode::reason);
        else
            say("deny it in its terminal");
        return {};
    case KeyAction::ask: return answer({.decision = ApprovalDecision::ask}, now);
    case KeyAction::choose: card->choose(static_cast<std::size_t>(key.name[0] - '1')); return {};
    case KeyAction::ownWords: startTyping(Mode::ownWords, card->answer().own.value_or("")); return {};
    case KeyAction::confirm: return confirm(now);
    case KeyAction::back: card->back(); return {};
    case KeyAction::secrets: card->toggleSecrets(); return {};
    default: return {};
    }
}

View::Effects View::actOnItem(KeyAction action) {
    const auto entries = this->entries();
    if (entries.empty()) return {};
    const Entry& entry = entries[selectedIndex(entries)];
    if (action == KeyAction::unfold) {
        unfolded_.insert(entry.key);
        return {};
    }
    if (!entry.item || isExample()) return {};
    switch (action) {
    case KeyAction::acknowledge: return {{Effect::Kind::acknowledge, entry.key}};
    case KeyAction::open: return {{Effect::Kind::open, entry.key}};
    default: break;
    }
    const bool isPrimary = snapshot_->primary && snapshot_->primary->id() == entry.key;
    return {{isPrimary ? Effect::Kind::unpick : Effect::Kind::pick, entry.key}};
}

View::Effects View::act(KeyAction action, const Key& key, Moment now) {
    CardState* card = this->card();
    switch (action) {
    case KeyAction::up:
    case KeyAction::down: moveSelection(action == KeyAction::up ? -1 : 1); return {};
    case KeyAction::first: select(0); return {};
    case KeyAction::last: select(SIZE_MAX); return {};
    case KeyAction::pageUp:
    case KeyAction::pageDown: {
        const std::size_t step = std::max<std::size_t>(pageRows_, 2) - 1; // a row stays in view
        const bool isDown = action == KeyAction::pageDown;
        if (!card)
            moveSelection(isDown ? static_cast<long>(step) : -static_cast<long>(step));
        else
            card->turnOver(step, isDown);
        return {};
    }
    case KeyAction::unfold:
        if (key.name == "Click") {
            click(key);
            return {};
        }
        return actOnItem(action);
    case KeyAction::fold: {
        if (isExample()) {
            exampleSince_.reset();
            snapshot_ = real_ ? std::exchange(real_, nullptr) : std::make_shared<const Snapshot>();
        }
        const auto entries = this->entries();
        if (entries.empty() || unfolded_.erase(entries[selectedIndex(entries)].key) == 0) filter_.clear();
        placeCard();
        return {};
    }
    case KeyAction::nextRequest: nextRequest(1); return {};
    case KeyAction::previousRequest: nextRequest(-1); return {};
    case KeyAction::acknowledge:
    case KeyAction::pick:
    case KeyAction::open: return actOnItem(action);
    case KeyAction::filter: startTyping(Mode::filter, filter_); return {};
    case KeyAction::example:
        real_ = snapshot_;
        exampleStage_ = 0;
        exampleSince_ = now.steady;
        snapshot_ = std::make_shared<const Snapshot>(Example::snapshot(0, now.wall));
        placeCard();
        return {};
    case KeyAction::help:
        mode_ = Mode::help;
        helpScroll_ = 0;
        return {};
    case KeyAction::connect: return {{Effect::Kind::connectAgents, ""}};
    case KeyAction::refresh: return {{Effect::Kind::refresh, ""}};
    case KeyAction::redraw: return {{Effect::Kind::redraw, ""}};
    case KeyAction::mouse: return {{Effect::Kind::toggleMouse, ""}};
    case KeyAction::suspend: return {{Effect::Kind::suspend, ""}};
    case KeyAction::quit: return {{Effect::Kind::quit, ""}};
    default: return actOnCard(action, key, now);
    }
}

} // namespace quorvik
