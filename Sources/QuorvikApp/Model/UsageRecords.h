#pragma once

#include "QuorvikCore/Session/SessionRecord.h"
#include "QuorvikCore/Usage/UsageFigure.h"
#include "QuorvikCore/Usage/UsageTracker.h"

#include <map>
#include <memory>

namespace quorvik {

/// What the limits of agents' accounts bring to the island: an item for each window that has reached a stage,
/// or may be used again. No I/O and no clock. Lives as long as somebody watches the limits.
class UsageRecords {
  public:
    using Records = std::vector<std::shared_ptr<const SessionRecord>>;

    /// Takes what is known now. Returns whether records() are others than before.
    bool update(std::span<const UsageFigure> figures, Date now);

    /// Forgets the items of more than `linger` seconds ago. Returns whether there were any.
    bool forget(Date now, double linger);

    /// One for each window with something to tell, the latest only: done, of the source git, with the tool
    /// "Usage", the session id "usage-<window>" and the agent's name as its title. The summary is "80 % of
    /// the weekly limit used, resets Tue 14:05" (95 likewise), "the weekly limit is used up until 14:05", or
    /// "the weekly limit has reset".
    const Records& records() const { return records_; }

    /// The next moment at which update() with the same figures would bring another item: a window that is
    /// used up resets. Absent when there is none.
    std::optional<Date> nextChange(Date now) const;

  private:
    UsageTracker tracker_;
    std::vector<UsageFigure> figures_;
    Records records_;
};

/// How a window is called: "5 hours", "day", "week", "month", "90 min"; with the name of a limit that is not
/// the whole account's: "week, mini".
std::string windowName(const UsageWindow& window);

/// A moment near `now`, in the user's time zone: "14:05", on another day of this week "Tue 14:05", else
/// "24 Nov 14:05".
std::string clockTime(Date moment, Date now);

} // namespace quorvik
