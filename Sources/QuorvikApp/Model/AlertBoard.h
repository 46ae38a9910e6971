#pragma once

#include "QuorvikApp/Model/Snapshot.h"

namespace quorvik {

/// The alerts that are shown. An alert is an item of the island like others: its record is one of git's with
/// the tool "Alert" and the level as its last event.
class AlertBoard {
  public:
    /// Most alerts at once. A further one replaces the oldest of the lowest level.
    static constexpr std::size_t most = 100;

    /// Seconds that an alert without a `ttl` stays. A failure stays until somebody has seen it, a day at
    /// most.
    static constexpr double usualSeconds = 60, failureSeconds = 86'400;

    /// Adds an alert. It replaces one with the same id, and its time starts anew. Returns its key.
    std::string add(AlertRequest alert, Date now);

    /// Removes the alerts whose time is up. When the clock was set back since the last call, what is left of
    /// each alert's time stays as it was.
    void expire(Date now);

    /// Removes the alert of that key, which the user has seen. False when there is none.
    bool remove(std::string_view key);

    /// The records of the alerts, the oldest first. An alert that is no failure is "done" until its time is
    /// up: with this `doneLinger` its record drops out of the layout by itself at that moment.
    std::vector<std::shared_ptr<const SessionRecord>> records(double doneLinger) const;

    std::vector<ShownAlert> shown() const;

    /// When the next one expires; absent when there is none.
    std::optional<Date> nextChange() const;

  private:
    struct Kept {
        ShownAlert shown;
        Date until{};
        mutable std::shared_ptr<const SessionRecord> record; ///< made when it is asked for
        mutable double recordLinger = -1;                    ///< the `doneLinger` it was made for
    };

    /// False when all that are shown are more important.
    bool makesRoomFor(AlertLevel level);

    std::vector<Kept> alerts_; ///< oldest first
    std::uint64_t count_ = 0;  ///< numbers alerts without an id
    Date latest_{};
};

} // namespace quorvik
