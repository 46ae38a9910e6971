#include "QuorvikApp/Model/AlertBoard.h"

#include <algorithm>

namespace quorvik {

namespace {

using Seconds = std::chrono::duration<double>;

double lifetime(const AlertRequest& alert) {
    if (alert.ttl > 0) return static_cast<double>(alert.ttl);
    return alert.level == AlertLevel::fail ? AlertBoard::failureSeconds : AlertBoard::usualSeconds;
}

} // namespace

std::string AlertBoard::add(AlertRequest alert, Date now) {
    expire(now);
    // A number cannot be the same as an id: no id of a caller's may hold "#".
    const std::string name = alert.id ? *alert.id : "#" + std::to_string(++count_);
    const std::string key = std::string(rawValue(Source::git)) + "-alert-" + name;
    const Date until = now + Seconds(lifetime(alert));
    Kept kept{{std::move(alert), key, now}, until, nullptr, -1};
    const auto same =
        std::ranges::find_if(alerts_, [&](const Kept& other) { return other.shown.key == key; });
    if (same != alerts_.end()) {
        *same = std::move(kept);
        return key;
    }
    if (alerts_.size() < most || makesRoomFor(kept.shown.alert.level)) alerts_.push_back(std::move(kept));
    return key;
}

bool AlertBoard::makesRoomFor(AlertLevel level) {
    const auto least = std::ranges::min_element(alerts_, {}, [](const Kept& kept) {
        return kept.shown.alert.level; // of equal ones the first, which is the oldest
    });
    if (least->shown.alert.level > level) return false;
    alerts_.erase(least);
    return true;
}

void AlertBoard::expire(Date now) {
    if (latest_ != Date{} && now < latest_) {
        const auto back = latest_ - now;
        for (Kept& kept : alerts_) {
            kept.until -= back;
            kept.shown.receivedAt -= back;
            kept.record.reset();
        }
    }
    latest_ = now;
    std::erase_if(alerts_, [&](const Kept& kept) { return kept.until <= now; });
}

bool AlertBoard::remove(std::string_view key) {
    return std::erase_if(alerts_, [&](const Kept& kept) { return kept.shown.key == key; }) > 0;
}

std::vector<std::shared_ptr<const SessionRecord>> AlertBoard::records(double doneLinger) const {
    std::vector<std::shared_ptr<const SessionRecord>> records;
    for (const Kept& kept : alerts_) {
        if (!kept.record || kept.recordLinger != doneLinger) {
            const AlertRequest& alert = kept.shown.alert;
            constexpr std::size_t sourceLength = rawValue(Source::git).size() + 1;
            SessionRecord record(Source::git, kept.shown.key.substr(sourceLength), "", kept.shown.receivedAt);
            record.tool = "Alert";
            record.title = alert.title;
            if (!alert.body.empty()) record.summary = alert.body;
            record.lastEvent = std::string(rawValue(alert.level));
            record.openURL = alert.open;
            record.turnStartedAt = kept.shown.receivedAt;
            record.state = alert.level == AlertLevel::fail ? SessionState::failed : SessionState::done;
            if (record.state == SessionState::done) record.stateSince = kept.until - Seconds(doneLinger);
            kept.record = std::make_shared<const SessionRecord>(std::move(record));
            kept.recordLinger = doneLinger;
        }
        records.push_back(kept.record);
    }
    return records;
}

std::vector<ShownAlert> AlertBoard::shown() const {
    std::vector<ShownAlert> shown;
    for (const Kept& kept : alerts_)
        shown.push_back(kept.shown);
    return shown;
}

std::optional<Date> AlertBoard::nextChange() const {
    const auto next = std::ranges::min_element(alerts_, {}, &Kept::until);
    if (next == alerts_.end()) return std::nullopt;
    return next->until;
}

} // namespace quorvik
