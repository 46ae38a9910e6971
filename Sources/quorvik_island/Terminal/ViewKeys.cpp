#include "quorvik_island/Terminal/Example.h"
#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/Model/ClipboardItem.h"
#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <utility>

// What keys do to the view.

namespace quorvik {

namespace {

/// Whether the key means the same whatever is on the screen.
bool isForAll(KeyAction action) {
    switch (action) {
    case KeyAction::help:
    case KeyAction::refresh:
    case KeyAction::redraw:
    case KeyAction::mouse:
    case KeyAction::suspend:
    case KeyAction::quit: return true;
    default: return false;
    }
}

} // namespace

void View::startTyping(Mode mode, std::string typed) {
    mode_ = mode;
    typed_ = std::move(typed);
}

void View::click(const Key& key) {
    // The picture that was clicked at showed another snapshot, whose rows may belong to other entries.
    if (drawnSnapshot_ != snapshot_ || key.row >= entryOfRow_.size()) return;
    const auto entries = this->entries();
    const std::size_t index = entryOfRow_[key.row];
    if (index >= entries.size()) return;
    const bool wasSelected = index == selectedIndex(entries);
    const std::string item = entries[index].key();
    select(index);
    if (!wasSelected) return;
    if (unfolded_.erase(item) == 0) unfolded_.insert(item);
}

std::vector<Effect> View::key(const Key& key, Moment now) {
    const bool isTyping = mode_ != Mode::items && mode_ != Mode::help;
    if (key.name.empty() || (key.isPasted && !isTyping)) return {};
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
    } else if (key.name == "Enter" && key.isPasted) {
        typed_ += ' ';
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
    if (!card) return {};
    if (!cardTakesKeys(now)) {
        if (!card->isSent) drawnSince_ = now.steady; // a key that is held down answers nothing
        return {};
    }
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
    const bool permits = action == KeyAction::allow || action == KeyAction::always;
    if (permits && offered.hidesSecrets && !card->showsSecrets()) {
        say("v shows what is hidden here; then it may be allowed");
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

View::Effects View::look() const {
    const Sheet& sheet = sheets_.upper();
    return {{.kind = Effect::Kind::look,
             .id = sheet.item,
             .sheet = sheet.kind,
             .path = sheet.path,
             .to = sheet.to}};
}

View::Effects View::openSheet(const SnapshotItem& item) {
    const bool isChanges = GitRecords::isChanges(*item.record);
    sheets_.open(isChanges ? Sheet::Kind::files : Sheet::Kind::clipboard, item.id(), itemLabel(*item.record));
    return look();
}

View::Effects View::openChanges() {
    const auto items = snapshot_->items();
    const auto item = std::ranges::find_if(
        items, [](const SnapshotItem* each) { return GitRecords::isChanges(*each->record); });
    return item == items.end() ? Effects() : openSheet(**item);
}

/// A sheet hides the items and the card, so their keys do nothing here.
View::Effects View::actOnSheet(KeyAction action, const Key& key) {
    switch (action) {
    case KeyAction::up:
    case KeyAction::down: sheets_.move(action == KeyAction::up ? -1 : 1); return {};
    case KeyAction::first: sheets_.select(0); return {};
    case KeyAction::last: sheets_.select(SIZE_MAX); return {};
    case KeyAction::pageUp:
    case KeyAction::pageDown: sheets_.movePage(action == KeyAction::pageDown); return {};
    case KeyAction::unfold:
        if (key.name == "Click" && !sheets_.click(key.row)) return {};
        if (const std::string wanted = sheets_.selectedAction(); !wanted.empty()) {
            sheets_.closeAll();
            say(wanted == "copy" ? "copied" : "the clipboard is empty");
            return {{Effect::Kind::useClipboard, wanted}};
        }
        return sheets_.openSelected() ? look() : Effects();
    case KeyAction::fold: sheets_.close(); return {};
    case KeyAction::nextRequest:
    case KeyAction::previousRequest:
        if (!card()) return {};
        sheets_.closeAll();
        nextRequest(0); // the card that has been behind
        return {};
    default: return {};
    }
}

View::Effects View::actOnItem(KeyAction action, const Key& key) {
    const auto entries = this->entries();
    if (entries.empty()) return {};
    const Entry& entry = entries[selectedIndex(entries)];
    const bool hasSheet =
        entry.item && !isExample() &&
        (GitRecords::isChanges(*entry.item->record) || ClipboardItem::isOne(*entry.item->record));
    if (hasSheet && key.name == "Enter") return openSheet(*entry.item);
    if (action == KeyAction::unfold) {
        unfolded_.insert(entry.key());
        return {};
    }
    if (!entry.item || isExample()) return {};
    switch (action) {
    case KeyAction::acknowledge: return {{Effect::Kind::acknowledge, entry.key()}};
    case KeyAction::open: return {{Effect::Kind::open, entry.key()}};
    default: break;
    }
    const bool isPrimary = snapshot_->primary && snapshot_->primary->id() == entry.key();
    return {{isPrimary ? Effect::Kind::unpick : Effect::Kind::pick, entry.key()}};
}

View::Effects View::act(KeyAction action, const Key& key, Moment now) {
    if (sheets_.isOpen() && !isForAll(action)) return actOnSheet(action, key);
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
        return actOnItem(action, key);
    case KeyAction::fold: {
        if (isExample()) {
            exampleSince_.reset();
            snapshot_ = real_ ? std::exchange(real_, nullptr) : std::make_shared<const Snapshot>();
        }
        const auto entries = this->entries();
        if (entries.empty() || unfolded_.erase(entries[selectedIndex(entries)].key()) == 0) filter_.clear();
        placeCard();
        return {};
    }
    case KeyAction::nextRequest: nextRequest(1); return {};
    case KeyAction::previousRequest: nextRequest(-1); return {};
    case KeyAction::acknowledge:
    case KeyAction::pick:
    case KeyAction::open: return actOnItem(action, key);
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
