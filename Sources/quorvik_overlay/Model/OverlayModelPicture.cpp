#include "quorvik_overlay/Model/OverlayModel.h"

#include "QuorvikApp/FrontEnds/Activity.h"
#include "QuorvikApp/FrontEnds/Age.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

// What there is to see of the model.

namespace quorvik {

namespace {

/// The text on one line, with no more of it than a window may have to lay out.
std::string oneLine(std::string_view text) {
    constexpr std::size_t longest = 400; // characters, more than any screen is wide
    return Unicode::terminalLine(Unicode::firstCharacters(text, longest));
}

Tone toneOf(const SnapshotItem& item) {
    switch (item.display) {
    case DisplayState::awaiting: return item.quiet ? Tone::quiet : Tone::awaiting;
    case DisplayState::failed: return Tone::failed;
    case DisplayState::working:
    case DisplayState::compacting: return Tone::working;
    case DisplayState::stale: return Tone::faint;
    case DisplayState::done: return Tone::done;
    }
    return Tone::faint;
}

std::string_view signOf(DisplayState state) {
    switch (state) {
    case DisplayState::awaiting: return "?";
    case DisplayState::failed: return "✗";
    case DisplayState::working: return "▸";
    case DisplayState::compacting: return "▹";
    case DisplayState::stale: return "…";
    case DisplayState::done: return "✓";
    }
    return "";
}

std::string numbered(std::size_t index, std::size_t count) {
    return count < 2 ? "" : std::to_string(index + 1) + " of " + std::to_string(count);
}

} // namespace

std::string ItemPicture::spoken() const {
    std::string text = source + ", " + state;
    if (!age.empty()) text += ", " + age;
    if (!label.empty()) text += ": " + label;
    if (!activity.empty()) text += ", " + activity;
    return text;
}

/// Items, most urgent first; before them the requests whose session has none.
std::vector<OverlayModel::Entry> OverlayModel::entries() const {
    std::vector<Entry> entries;
    const auto items = snapshot_->items();
    for (const auto& waiting : snapshot_->requests) {
        const std::string key = waiting->request.key();
        if (std::ranges::none_of(items, [&](const auto* item) { return item->id() == key; }))
            entries.push_back({nullptr, waiting.get()});
    }
    for (const SnapshotItem* item : items)
        entries.push_back({item, snapshot_->requestOf(*item)});
    return entries;
}

ItemPicture OverlayModel::pictureOf(const Entry& entry, Date now) const {
    ItemPicture picture;
    if (entry.request) picture.request = entry.request->request.id;
    if (!entry.item) {
        const ApprovalRequest& request = entry.request->request;
        picture.key = std::string(requestPrefix) + request.id;
        picture.mark = mark(request.source);
        picture.source = displayName(request.source);
        picture.state = rawValue(DisplayState::awaiting);
        picture.sign = signOf(DisplayState::awaiting);
        picture.label = oneLine(request.tool.value_or("asks you"));
        picture.tone = Tone::awaiting;
    } else {
        const SessionRecord& record = *entry.item->record;
        const std::string label = itemLabel(record);
        picture.key = record.key();
        picture.mark = mark(record.source);
        picture.source = displayName(record.source);
        picture.state = rawValue(entry.item->display);
        picture.sign = signOf(entry.item->display);
        picture.age = age(record.stateSince, now);
        picture.label = oneLine(label);
        picture.activity = oneLine(activity(record, label));
        picture.tone = toneOf(*entry.item);
    }
    if (!disconnected_.empty()) picture.tone = Tone::faint;
    return picture;
}

bool OverlayModel::isGreeting(Moment now) const {
    return hasShown_ && now.steady < greetUntil_;
}

bool OverlayModel::hasMessage(Moment now) const {
    return !message_.empty() && now.steady < messageUntil_;
}

OverlayShape OverlayModel::shape(Moment now) const {
    if (card()) return OverlayShape::card;
    const bool isEmpty = snapshot_->items().empty() && snapshot_->requests.empty();
    if (isEmpty && disconnected_.empty() && !hasMessage(now) && !isGreeting(now)) return OverlayShape::hidden;
    return isListOpen_ && !isEmpty ? OverlayShape::list : OverlayShape::pill;
}

std::size_t OverlayModel::attentionCount() const {
    std::size_t count = 0;
    for (const Entry& entry : entries())
        count += entry.request || needsAttention(entry.item->display) ? 1 : 0;
    return count;
}

OverlayPicture OverlayModel::picture(Moment now) const {
    OverlayPicture picture;
    picture.shape = shape(now);
    picture.isConnected = disconnected_.empty();
    const auto entries = this->entries();
    const auto changesAt = [&](Date date) {
        if (!picture.nextChange || date < *picture.nextChange) picture.nextChange = date;
    };
    const auto add = [&](const Entry& entry) {
        constexpr double step = 5; // seconds; a window wakes up more than once for a drawing
        if (entry.item) changesAt(nextAgeLook(entry.item->record->stateSince, now.wall, step));
        return pictureOf(entry, now.wall);
    };
    const bool isList = picture.shape == OverlayShape::list;
    if (isList) {
        const std::size_t fits =
            entries.size() <= room_ ? entries.size() : std::max<std::size_t>(room_, 2) - 1;
        for (std::size_t index = 0; index < fits; ++index)
            picture.rows.push_back(add(entries[index]));
        if (fits < entries.size()) picture.moreRows = std::to_string(entries.size() - fits) + " more";
    } else if (!entries.empty()) {
        picture.primary = add(entries.front());
        const std::size_t beside =
            static_cast<std::size_t>(std::max(snapshot_->settings.scheduler.maxBubbles, 0));
        for (std::size_t index = 1; index < entries.size() && index <= beside; ++index)
            picture.bubbles.push_back(pictureOf(entries[index], now.wall));
        const std::size_t rest = entries.size() - 1 - picture.bubbles.size();
        if (rest > 0) picture.more = "+" + std::to_string(rest);
    }
    if (picture.shape == OverlayShape::card) picture.card = cardPicture(now);

    if (!disconnected_.empty())
        picture.notice = oneLine(disconnected_);
    else if (hasMessage(now) && picture.shape != OverlayShape::card)
        picture.notice = oneLine(message_);
    else if (isList && !snapshot_->troubles.empty())
        picture.notice = oneLine("! " + snapshot_->troubles.front());
    else if (entries.empty() && picture.shape == OverlayShape::pill)
        picture.notice = "Quorvik is here; nothing is going on";
    for (const double until : {greetUntil_, messageUntil_})
        if (until > now.steady) changesAt(now.wall + std::chrono::duration<double>(until - now.steady));
    return picture;
}

CardPicture OverlayModel::cardPicture(Moment now) const {
    const CardState& state = *card();
    const RequestCard& offered = state.card();
    CardPicture picture{.page = page(), .request = state.id(), .headline = oneLine(offered.headline)};
    if (state.isQuestion()) {
        picture.question = &offered.questions[state.question()];
        picture.answer = state.answer();
        picture.place = numbered(state.question(), offered.questions.size());
    } else {
        picture.body = &offered.body;
    }
    picture.grants = offered.grants;
    picture.asksWhyNot = asksWhyNot_;
    picture.opensByItself = !wanted_.contains(state.id());
    const auto& requests = snapshot_->requests;
    const auto at =
        std::ranges::find_if(requests, [&](const auto& each) { return each->request.id == state.id(); });
    picture.others = numbered(static_cast<std::size_t>(at - requests.begin()), requests.size());
    if (!state.isSent) picture.buttons = buttons(state);
    if (hasMessage(now))
        picture.note = oneLine(message_);
    else if (state.isSent)
        picture.note = "sent";
    else if (asksWhyNot_)
        picture.note = "why not? You may leave it empty.";
    else if (picture.body)
        picture.note = whyNot(state, Press::allow);
    else if (!offered.allow || !state.isRead())
        picture.note = whyNot(state, Press::confirm);
    return picture;
}

std::vector<ButtonPicture> OverlayModel::buttons(const CardState& card) const {
    const RequestCard& offered = card.card();
    std::vector<ButtonPicture> list;
    const auto add = [&](Press press, std::string text, std::string key, std::string about) {
        list.push_back(
            {press, std::move(text), std::move(key), std::move(about), whyNot(card, press).empty()});
    };
    if (asksWhyNot_) {
        add(Press::deny, "Deny", "Enter", "deny it, with that reason");
        add(Press::fold, "Back", "Esc", "do not deny it yet");
        return list;
    }
    if (card.isQuestion()) {
        const bool isLast = card.question() + 1 == offered.questions.size();
        if (card.question() > 0) add(Press::back, "Back", "b", "to the question before");
        add(Press::confirm, isLast ? "Send" : "Next", "Enter",
            isLast ? "send the answers" : "to the next question");
    } else {
        add(Press::allow, "Allow", "a", "allow it this once");
        if (offered.always)
            add(Press::always, "Always", "A", "allow it, and keep the rules that are told above");
    }
    if (offered.deny)
        add(Press::deny, "Deny…", "d",
            card.isQuestion() ? "refuse to answer; you may say why" : "deny it; you may say why");
    add(Press::ask, "In its terminal", "t", "answer in the agent's own terminal");
    if (offered.hidesSecrets)
        add(Press::secrets, card.showsSecrets() ? "Hide secrets" : "Show hidden", "v",
            "show what is hidden, or hide it again");
    if (snapshot_->requests.size() > 1)
        add(Press::nextRequest, "Next one", "n", "the next request that waits");
    return list;
}

} // namespace quorvik
