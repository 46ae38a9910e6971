#include "quorvik_island/Terminal/View.h"

#include "quorvik_island/Terminal/Example.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

/// Seconds in which nobody can have read a card and decided.
constexpr double tooSoon = 1.0 / 3;

constexpr std::string_view requestPrefix = "request:";

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
    sheets_.fail(); // the answer will not come
    placeCard();
}

void View::looked(const nlohmann::json& reply) {
    try {
        sheets_.fill(reply);
    } catch (const RecordError& error) {
        notLooked("the app said what nobody understands: " + std::string(error.what()));
    }
}

void View::notLooked(std::string why) {
    if (sheets_.fail()) say(std::move(why));
}

void View::refused(std::string_view request, std::string message) {
    say(std::move(message));
    if (const auto found = cards_.find(request); found != cards_.end()) found->second.isSent = false;
}

bool View::isFirstRun() const {
    return !isExample() && disconnected_.empty() && snapshot_->items().empty() &&
           snapshot_->requests.empty() && std::ranges::none_of(agents_, &FoundAgent::isConnected);
}

std::string View::Entry::key() const {
    return item ? item->id() : std::string(requestPrefix) + request->request.id;
}

bool View::Entry::hasKey(std::string_view key) const {
    if (!item)
        return key.starts_with(requestPrefix) && key.substr(requestPrefix.size()) == request->request.id;
    const std::string_view source = rawValue(item->record->source);
    return key.size() == source.size() + 1 + item->record->sessionID.size() && key.starts_with(source) &&
           key.ends_with(item->record->sessionID) && key[source.size()] == '-';
}

std::vector<View::Entry> View::entries() const {
    std::vector<Entry> entries;
    const auto items = snapshot_->items();
    entries.reserve(items.size() + snapshot_->requests.size());
    if (!snapshot_->requests.empty()) {
        std::set<std::string, std::less<>> keys;
        for (const SnapshotItem* item : items)
            keys.insert(item->id());
        for (const auto& waiting : snapshot_->requests)
            if (!keys.contains(waiting->request.key())) entries.push_back({nullptr, waiting.get()});
    }
    const std::string word = Unicode::lowercased(filter_);
    for (const SnapshotItem* item : items) {
        // What waits for an answer is never filtered away.
        if (!word.empty() && !snapshot_->requestOf(*item) && !matches(*item, word)) continue;
        entries.push_back({item, nullptr});
    }
    return entries;
}

std::size_t View::selectedIndex(const std::vector<Entry>& entries) const {
    if (selected_.empty() || entries.empty()) return 0;
    const auto found =
        std::ranges::find_if(entries, [&](const Entry& entry) { return entry.hasKey(selected_); });
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
        const WaitingRequest& known = entry.second.waiting();
        return !waiting || waiting->receivedAt != known.receivedAt || waiting->members != known.members;
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
            return entry.item ? entry.hasKey(shown->request.key()) : entry.request == shown;
        };
        const auto entry = std::ranges::find_if(entries, isItsOwn);
        cardEntry_ = entry == entries.end() ? "" : entry->key();
    }
    const bool types = mode_ == Mode::reason || mode_ == Mode::ownWords;
    if (types && cardRequest_ != before) { // what was typed belonged to the card before
        mode_ = Mode::items;
        say("the request that you were answering is gone");
    }
}

void View::drawn(const Frame& frame, Moment now) {
    sheets_.drawn(frame);
    entryOfRow_ = sheets_.isOpen() ? std::vector<std::size_t>() : frame.entryOfRow;
    drawnSnapshot_ = snapshot_;
    pageRows_ = std::max<std::size_t>(frame.card ? frame.card->shown : frame.size.rows / 2, 1);
    const std::string page = frame.card ? frame.card->page : "";
    if (page != drawnPage_) {
        drawnPage_ = page;
        drawnSince_ = now.steady;
    }
    CardState* card = this->card();
    if (!card || !frame.card || frame.card->request != card->id()) return;
    card->scroll = frame.card->first;
    const bool wasRead = card->isRead();
    card->drawn(frame.card->width, frame.card->first, frame.card->shown, frame.card->total);
    if (!wasRead && card->isRead()) drawnSince_ = now.steady; // its last rows have only just come into view
}

bool View::cardTakesKeys(Moment now) const {
    const CardState* card = this->card();
    return card && !card->isSent && !sheets_.isOpen() && card->page() == drawnPage_ &&
           now.steady - drawnSince_ >= tooSoon;
}

KeyPlace View::place() const {
    if (sheets_.isOpen()) return KeyPlace::sheet;
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
    selected_ = entries[lastIndex_].key();
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

} // namespace quorvik
