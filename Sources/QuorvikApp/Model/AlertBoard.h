#pragma once

#include "QuorvikApp/Model/Snapshot.h"

namespace quorvik {

/// The alerts that are shown. An alert is an item of the island like others: its record is one of git's with
/// the tool "Alert" and the level as its last event.
class AlertBoard {
  public:
    /// At once. A flood pushes out the oldest of the lowest level first.
    static constexpr std::size_t most = 100;

    /// How long an alert without a `ttl` stays. A failure stays until somebody has seen it, a day at most.
    static constexpr double usualSeconds = 60, failureSeconds = 86'400;

    /// One with the id of an alert that is shown takes its place, and its time starts anew.
    void add(AlertRequest alert, Date now);

    /// Takes away the alerts whose time is up. The clock may have been set back since the last call: what is
    /// left of an alert's time does not grow by that.
    void expire(Date now);

    /// The user has seen it. False when there is no such alert.
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

    void makeRoom();

    std::vector<Kept> alerts_; ///< oldest first
    std::uint64_t count_ = 0;  ///< numbers alerts without an id
    Date latest_{};
};

} // namespace quorvik
