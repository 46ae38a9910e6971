#pragma once

#include "QuorvikCore/Usage/UsageWindow.h"

#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace quorvik {

/// How far a window is used up. The values are in the order of the stages.
enum class UsageStage { none = 0, warn80 = 80, warn95 = 95, exhausted = 100 };

/// The stage at so many percent; `exhausted` from 99.9 on, since accounts stop short of a full hundred.
UsageStage usageStage(double percent);

/// Something about a window that is worth showing.
struct UsageEvent {
    struct Reached { ///< a higher stage than before
        UsageStage stage;
        bool operator==(const Reached&) const = default;
    };
    struct Reset { ///< usable again after it was exhausted
        bool operator==(const Reset&) const = default;
    };
    using Kind = std::variant<Reached, Reset>;

    Kind kind;
    UsageWindow window; ///< as read when it happened

    bool operator==(const UsageEvent&) const = default;
};

/// Remembers the last stage of every window and turns readings into the few events that matter. On the way up
/// each stage is told once; on the way down only the end of an exhaustion is told. The first reading tells
/// exhaustion only, since whatever else it says is not new to the user. Lives as long as the program that
/// reads.
class UsageTracker {
  public:
    /// Takes one reading, which may be empty, and returns its events, in the order of the windows. A window
    /// that is missing keeps its stage.
    std::vector<UsageEvent> update(std::span<const UsageWindow> windows, Date now);

    const std::map<std::string, UsageStage>& stages() const { return stages_; } ///< by the window's id
    bool seen() const { return seen_; } ///< whether there was a reading yet

  private:
    std::map<std::string, UsageStage> stages_;
    bool seen_ = false;
};

} // namespace quorvik
