#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <set>
#include <string>

namespace quorvik {

/// How a session appears on the island.
enum class DisplayState {
    awaiting,   ///< waits for the user
    failed,     ///< went wrong, and nobody has seen it yet
    working,    ///< busy
    compacting, ///< shortens its context
    stale,      ///< busy or waiting, but not heard of for so long that it may be gone
    done        ///< finished, shown for a moment
};

template <>
inline constexpr std::array<std::string_view, 6> rawValues<DisplayState> = {"awaiting",   "failed", "working",
                                                                            "compacting", "stale",  "done"};

/// Whether the user has to do something about it.
constexpr bool needsAttention(DisplayState state) {
    return state == DisplayState::awaiting || state == DisplayState::failed;
}

/// A session that is worth showing.
struct IslandItem {
    SessionRecord record;
    DisplayState display = DisplayState::working;
    bool quiet = false; ///< awaiting for so long that it no longer draws attention

    std::string id() const { return record.key(); }

    bool operator==(const IslandItem&) const = default;
};

/// An IslandItem without a copy of its record: the record must outlive the view.
struct IslandItemView {
    const SessionRecord* record = nullptr; ///< never null where an item is
    DisplayState display = DisplayState::working;
    bool quiet = false;

    IslandItem item() const { return {*record, display, quiet}; }
};

/// Times, in seconds, and counts that decide what is shown. "Age" is the time since the record's state
/// changed, "idle" the time since it was written.
struct SchedulerConfig {
    double doneLinger = 4;           ///< a finished session is shown below this age
    double changesLinger = 90;       ///< git's "Changes" and "Usage": below this age, or doneLinger if longer
    double portDownLinger = 15;      ///< a failed service whose port is known: below this age
    double staleAfter = 600;         ///< a busy session is stale above this idle time
    double awaitingQuietAfter = 120; ///< an awaiting session is quiet above this age
    double awaitingStaleAfter = 1800; ///< and stale above this one
    int maxBubbles = 3;               ///< items beside the primary one; below zero counts as zero

    SchedulerConfig() = default;
    explicit SchedulerConfig(double doneLinger_) : doneLinger(doneLinger_) {}
};

/// The item that the user chose to keep in front. Bound to one state of one session: it no longer applies
/// when the record's `stateSince` is another than the pick's.
struct ManualPick {
    std::string key;   ///< IslandItem::id
    Date stateSince{}; ///< the record's, when it was picked
    Date pickedAt{};
};

/// What the user has seen and waved away, as Scheduler::ackKey.
using AcknowledgedKeys = std::set<std::string, std::less<>>;

} // namespace quorvik
