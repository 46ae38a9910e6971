#include "QuorvikCore/Island/Scheduler.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace quorvik::Scheduler {

namespace {

/// An item on its way into the layout.
struct Candidate : IslandItemView {
    double rank = 0;

    bool isSameSession(const Candidate& other) const {
        return record->source == other.record->source && record->sessionID == other.record->sessionID;
    }
};

bool isGit(const SessionRecord& record, std::string_view tool) {
    return record.source == Source::git && record.tool == tool;
}

double ageInSeconds(Date since, Date now) {
    return (now - since).count();
}

std::optional<Candidate> judged(const SessionRecord& record, Date now, const SchedulerConfig& config,
                                const AcknowledgedKeys& acknowledged) {
    const auto shown = [&](DisplayState display, bool quiet = false) {
        return Candidate{{&record, display, quiet}};
    };
    const auto isAcknowledged = [&] {
        return !acknowledged.empty() && acknowledged.contains(ackKey(record));
    };
    const double age = ageInSeconds(record.stateSince, now);
    const double idle = ageInSeconds(record.updatedAt, now);

    switch (record.state) {
    case SessionState::idle:
    case SessionState::ended: return std::nullopt;
    case SessionState::working: {
        const bool goesStale = record.source != Source::update && record.source != Source::service;
        return shown(idle <= config.staleAfter || !goesStale ? DisplayState::working : DisplayState::stale);
    }
    case SessionState::awaiting:
        if (age > config.awaitingStaleAfter) return shown(DisplayState::stale);
        return shown(DisplayState::awaiting, age > config.awaitingQuietAfter);
    case SessionState::compacting:
        return shown(idle > config.staleAfter ? DisplayState::stale : DisplayState::compacting);
    case SessionState::failed:
        if (isAcknowledged()) return std::nullopt;
        if (record.source == Source::service && record.port && age >= config.portDownLinger)
            return std::nullopt;
        return shown(DisplayState::failed);
    case SessionState::done:
        if (isGit(record, "Clipboard")) return shown(DisplayState::done);
        if (isGit(record, "Changes") || isGit(record, "Usage")) {
            const bool lingers = age < std::max(config.doneLinger, config.changesLinger);
            if (!lingers || isAcknowledged()) return std::nullopt;
            return shown(DisplayState::done);
        }
        if (age >= config.doneLinger) return std::nullopt;
        return shown(DisplayState::done);
    }
    return std::nullopt;
}

constexpr double baseRank(DisplayState display) {
    switch (display) {
    case DisplayState::awaiting: return 0;
    case DisplayState::failed: return 1;
    case DisplayState::working:
    case DisplayState::compacting: return 2;
    case DisplayState::stale: return 3;
    case DisplayState::done: return 4;
    }
    return 4;
}

double rankOf(const SessionRecord& record, DisplayState display) {
    if (isGit(record, "Clipboard")) return 1.5;
    if (isGit(record, "Alert")) {
        if (record.lastEvent == "fail") return 1.2;
        if (record.lastEvent == "action") return 3.5;
        return 4;
    }
    return baseRank(display);
}

bool isBefore(const Candidate& first, const Candidate& second) {
    if (first.rank != second.rank) return first.rank < second.rank;
    if (first.display == DisplayState::awaiting) return first.record->stateSince < second.record->stateSince;
    return first.record->updatedAt > second.record->updatedAt;
}

Candidate candidate(const IslandItem& item) {
    return {{&item.record, item.display, item.quiet}, rankOf(item.record, item.display)};
}

/// The item that the user picked, if it may stay in front; null when the most urgent one is to be there.
const Candidate* picked(std::span<const Candidate> candidates, const std::optional<ManualPick>& pick) {
    if (!pick) return nullptr;
    const auto found = std::ranges::find_if(candidates, [&](const Candidate& candidate) {
        return candidate.record->stateSince == pick->stateSince && candidate.record->key() == pick->key;
    });
    if (found == candidates.end()) return nullptr;
    const bool isOvertaken = std::ranges::any_of(candidates, [&](const Candidate& other) {
        return other.rank < found->rank && other.record->stateSince > pick->pickedAt;
    });
    return isOvertaken ? nullptr : &*found;
}

/// The first moment after `now` that is more than `limit` seconds after `since` (with `atLimit`: at least
/// `limit` seconds), in the arithmetic of judged(). Absent when `now` is such a moment already.
std::optional<Date> firstMoment(Date since, double limit, bool atLimit, Date now) {
    const auto isReached = [&](double moment) {
        const double age = ageInSeconds(since, dateFromSeconds(moment));
        return atLimit ? age >= limit : age > limit;
    };
    const double present = secondsSince1970(now);
    if (isReached(present)) return std::nullopt;
    // The sum is rounded: the wanted moment is at most a few representable numbers away from it.
    constexpr double infinity = std::numeric_limits<double>::infinity();
    double moment = std::max(secondsSince1970(since) + limit, present);
    for (int step = 0; step < 8 && moment > present && isReached(std::nextafter(moment, -infinity)); ++step)
        moment = std::nextafter(moment, -infinity);
    for (int step = 0; step < 8 && !isReached(moment); ++step)
        moment = std::nextafter(moment, infinity);
    return dateFromSeconds(std::max(moment, std::nextafter(present, infinity)));
}

/// The next moment after `now` at which judged() gives something else for this record.
std::optional<Date> nextChangeOf(const SessionRecord& record, Date now, const SchedulerConfig& config,
                                 const AcknowledgedKeys& acknowledged) {
    const auto shown = judged(record, now, config, acknowledged);
    if (!shown) return std::nullopt; // what is over stays over: time only goes on
    const auto above = [&](Date since, double limit) { return firstMoment(since, limit, false, now); };
    const auto from = [&](double limit) { return firstMoment(record.stateSince, limit, true, now); };
    switch (record.state) {
    case SessionState::idle:
    case SessionState::ended: return std::nullopt;
    case SessionState::working:
        if (record.source == Source::update || record.source == Source::service) return std::nullopt;
        return above(record.updatedAt, config.staleAfter);
    case SessionState::compacting: return above(record.updatedAt, config.staleAfter);
    case SessionState::awaiting: {
        if (shown->display == DisplayState::stale) return std::nullopt;
        const auto quiet = above(record.stateSince, config.awaitingQuietAfter);
        const auto stale = above(record.stateSince, config.awaitingStaleAfter);
        return quiet && stale ? std::min(quiet, stale) : (quiet ? quiet : stale);
    }
    case SessionState::failed:
        if (record.source != Source::service || !record.port) return std::nullopt;
        return from(config.portDownLinger);
    case SessionState::done:
        if (isGit(record, "Clipboard")) return std::nullopt;
        if (isGit(record, "Changes") || isGit(record, "Usage"))
            return from(std::max(config.doneLinger, config.changesLinger));
        return from(config.doneLinger);
    }
    return std::nullopt;
}

} // namespace

std::optional<Date> nextChange(std::span<const SessionRecord* const> records, Date now,
                               const SchedulerConfig& config, const AcknowledgedKeys& acknowledged) {
    std::optional<Date> next;
    for (const SessionRecord* record : records) {
        const auto moment = nextChangeOf(*record, now, config, acknowledged);
        if (moment && (!next || *moment < *next)) next = moment;
    }
    return next;
}

std::optional<IslandItem> display(const SessionRecord& record, Date now, const SchedulerConfig& config,
                                  const AcknowledgedKeys& acknowledged) {
    const auto candidate = judged(record, now, config, acknowledged);
    if (!candidate) return std::nullopt;
    return candidate->item();
}

std::string ackKey(const SessionRecord& record) {
    char digits[512]; // the longest double has 309 before the point, or 325 after it
    const auto printed = std::to_chars(digits, digits + sizeof digits, secondsSince1970(record.stateSince),
                                       std::chars_format::fixed);
    std::string seconds(digits, printed.ptr);
    if (seconds.find('.') == seconds.npos) seconds += ".0";
    return record.key() + "@" + seconds;
}

double rank(const IslandItem& item) {
    return rankOf(item.record, item.display);
}

bool order(const IslandItem& first, const IslandItem& second) {
    return isBefore(candidate(first), candidate(second));
}

IslandLayout layout(std::span<const SessionRecord> records, Date now, const SchedulerConfig& config,
                    const AcknowledgedKeys& acknowledged, const std::optional<ManualPick>& pick) {
    std::vector<const SessionRecord*> pointers;
    pointers.reserve(records.size());
    for (const SessionRecord& record : records)
        pointers.push_back(&record);
    const IslandLayoutView view = layout(pointers, now, config, acknowledged, pick);

    const auto copies = [](const std::vector<IslandItemView>& views) {
        std::vector<IslandItem> items;
        items.reserve(views.size());
        for (const IslandItemView& item : views)
            items.push_back(item.item());
        return items;
    };
    if (!view.primary) return IslandLayout::empty;
    return {view.primary->item(), copies(view.bubbles), copies(view.overflow)};
}

IslandLayoutView layout(std::span<const SessionRecord* const> records, Date now,
                        const SchedulerConfig& config, const AcknowledgedKeys& acknowledged,
                        const std::optional<ManualPick>& pick) {
    std::vector<Candidate> candidates;
    candidates.reserve(records.size());
    for (const SessionRecord* record : records) {
        auto candidate = judged(*record, now, config, acknowledged);
        if (!candidate) continue;
        candidate->rank = rankOf(*record, candidate->display);
        candidates.push_back(*candidate);
    }
    if (candidates.empty()) return {};
    std::ranges::stable_sort(candidates, isBefore);

    const Candidate* choice = picked(candidates, pick);
    const Candidate& primary = choice ? *choice : candidates.front();
    const std::size_t maxBubbles = static_cast<std::size_t>(std::max(config.maxBubbles, 0));
    IslandLayoutView layout;
    layout.primary = primary;
    layout.overflow.reserve(candidates.size());
    for (const Candidate& candidate : candidates) {
        if (candidate.isSameSession(primary)) continue;
        auto& place = layout.bubbles.size() < maxBubbles ? layout.bubbles : layout.overflow;
        place.push_back(candidate);
    }
    return layout;
}

} // namespace quorvik::Scheduler
