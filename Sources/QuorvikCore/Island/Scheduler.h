#pragma once

#include "QuorvikCore/Island/IslandItem.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorvik {

/// What the island shows. No item stands in two places.
struct IslandLayout {
    std::optional<IslandItem> primary; ///< in the notch itself; absent when there is nothing to show
    std::vector<IslandItem> bubbles;   ///< beside it, most urgent first; at most SchedulerConfig::maxBubbles
    std::vector<IslandItem> overflow;  ///< the rest, in the same order

    static const IslandLayout empty;
    bool isEmpty() const { return *this == empty; }

    bool operator==(const IslandLayout&) const = default;
};

inline const IslandLayout IslandLayout::empty{};

/// An IslandLayout without copies of the records, which must outlive it.
struct IslandLayoutView {
    std::optional<IslandItemView> primary;
    std::vector<IslandItemView> bubbles;
    std::vector<IslandItemView> overflow;
};

/// Decides what the island shows, from the records, the time and the user's choices alone. Nothing is
/// remembered: ask again when records change and, since items go stale and linger, as time passes.
namespace Scheduler {

/// How one record is shown at `now`; absent when it is not: nothing happens in it, it is over, it has been
/// shown for long enough, or the user has acknowledged it.
std::optional<IslandItem> display(const SessionRecord& record, Date now, const SchedulerConfig& config = {},
                                  const AcknowledgedKeys& acknowledged = {});

/// "<source>-<session id>@<stateSince>", in seconds since 1970: the shortest decimal number that reads back
/// as the same double, with at least one digit after the point. Another state has another key, so what fails
/// again is shown again.
std::string ackKey(const SessionRecord& record);

/// The smaller, the more urgent: the display states in their order (0 awaiting to 4 done, working and
/// compacting alike), between which git's clipboard (1.5) and alerts ("fail" 1.2, "action" 3.5, others 4)
/// find their place.
double rank(const IslandItem& item);

/// Whether `first` goes before `second`: by rank, then the longest-waiting request, else the most recently
/// active. Only the first one's display state decides between the two: a record that is git's clipboard or an
/// alert and awaits something (no producer writes one) may therefore go before its equal both ways round.
bool order(const IslandItem& first, const IslandItem& second);

/// The layout of the visible records: sorted by order(), equal ones as given. The first is primary, unless
/// `pick` names another that is still in the state it was picked in, and nothing more urgent has come up
/// since the pick.
IslandLayout layout(std::span<const SessionRecord> records, Date now, const SchedulerConfig& config = {},
                    const AcknowledgedKeys& acknowledged = {},
                    const std::optional<ManualPick>& pick = std::nullopt);

/// layout() without a copy of any record, as for those of SessionStore::loadAll(). None may be null.
IslandLayoutView layout(std::span<const SessionRecord* const> records, Date now,
                        const SchedulerConfig& config = {}, const AcknowledgedKeys& acknowledged = {},
                        const std::optional<ManualPick>& pick = std::nullopt);

/// The next moment after `now` at which layout() differs although no record changes: something has lingered
/// for long enough, goes stale or becomes quiet. The layout is the same at every moment before it. Absent
/// when there is none. A pick moves nothing by itself.
std::optional<Date> nextChange(std::span<const SessionRecord* const> records, Date now,
                               const SchedulerConfig& config = {}, const AcknowledgedKeys& acknowledged = {});

} // namespace Scheduler

} // namespace quorvik
