#include "QuorvikApp/Signals/ClipboardSignal.h"

#include "QuorvikCore/Clipboard/ClipboardClassifier.h"

#include <functional>

namespace quorvik {

namespace {

constexpr Timer::Seconds withoutWatcher(1), withWatcher(60);
constexpr ChildProcess::Limits standing{Timer::Seconds(365 * 86'400.0), 0}, brief{Timer::Seconds(5), 4096};
constexpr std::size_t mostTypes = 65'536; ///< bytes of their list

} // namespace

void ClipboardSignal::update() {
    if (settings().clipboard && context_.hasFrontEnds()) {
        if (isOn()) return;
        std::string missing;
        programs_ = Platform::clipboardPrograms(missing);
        if (programs_)
            turnOn(programs_->watch.empty() ? withoutWatcher : withWatcher);
        else
            turnOff(std::move(missing));
        return;
    }
    watcher_.reset();
    failure_.clear();
    stamp_.reset();
    known_.reset();
    item_.reset();
    turnOff(settings().clipboard ? "nobody looks at the island" : "switched off");
}

void ClipboardSignal::look() {
    if (!programs_->watch.empty()) {
        if (!failure_.empty()) return ended(std::exchange(failure_, {}));
        if (!watcher_) watch();
        return readTypes();
    }
    tryRun(programs_->stamp, mostTypes, [this](const std::optional<std::string>& stamp) {
        // Not every program that has something copied tells when that was.
        if (stamp && stamp == stamp_) return ended();
        stamp_ = stamp;
        readTypes();
    });
}

void ClipboardSignal::watch() {
    watcher_ = std::make_unique<ChildProcess>(
        context_.loop, programs_->watch, standing,
        [this](const ChildProcess::Result& result) {
            const auto over = std::move(watcher_);
            failure_ = result.failure.empty() ? programs_->watch.front() + " has ended" : result.failure;
            lookSoon();
        },
        ChildProcess::Locale::plain, [this](std::string_view) { lookSoon(); });
}

void ClipboardSignal::readTypes() {
    tryRun(programs_->types, mostTypes, [this](const std::optional<std::string>& types) {
        if (types && types->find(programs_->concealed) == types->npos) return read();
        known_.reset(); // nothing was copied, or nothing that is meant for us
        offer(std::nullopt);
    });
}

void ClipboardSignal::read() {
    tryRun(programs_->text, ClipboardClassifier::maxBytes, [this](std::optional<std::string> copied) {
        take(std::move(copied).value_or("")); // a picture is no text
    });
}

void ClipboardSignal::take(std::string copied) {
    const std::size_t hash = std::hash<std::string>()(copied);
    if (known_ == hash) return ended();
    known_ = hash;
    using Offered = std::optional<ClipboardItem>;
    runInBackground<Offered>(
        [copied = std::move(copied), now = now()] { return ClipboardItem::of(copied, now); },
        [this](Offered offered) { offer(std::move(offered)); });
}

void ClipboardSignal::offer(std::optional<ClipboardItem> item) {
    item_ = std::move(item);
    Records records;
    if (item_) records.push_back(std::make_shared<const SessionRecord>(item_->record));
    show(std::move(records));
    ended();
}

bool ClipboardSignal::copy() {
    if (!item_ || !item_->canBeCopied) return false;
    put(*item_->text);
    return true;
}

void ClipboardSignal::clear() {
    if (programs_) put("");
}

void ClipboardSignal::put(std::string text) {
    writer_ = std::make_unique<ChildProcess>(
        context_.loop, programs_->put, brief, [](const ChildProcess::Result&) {}, ChildProcess::Locale::plain,
        ChildProcess::Listener(), std::move(text));
}

} // namespace quorvik
