#include "QuorvikCore/Usage/UsageTracker.h"

#include <utility>

namespace quorvik {

UsageStage usageStage(double percent) {
    if (percent >= 99.9) return UsageStage::exhausted;
    if (percent >= 95) return UsageStage::warn95;
    if (percent >= 80) return UsageStage::warn80;
    return UsageStage::none;
}

std::vector<UsageEvent> UsageTracker::update(std::span<const UsageWindow> windows, Date now) {
    const bool isFirstReading = !std::exchange(seen_, true);
    std::vector<UsageEvent> events;
    for (const UsageWindow& window : windows) {
        const UsageStage stage = usageStage(window.percent(now));
        // An unknown window starts at no stage: no event depends on whether it was known.
        UsageStage& last = stages_.try_emplace(window.id, UsageStage::none).first->second;
        const UsageStage previous = std::exchange(last, stage);
        if (stage > previous) {
            if (!isFirstReading || stage == UsageStage::exhausted)
                events.push_back({UsageEvent::Reached{stage}, window});
        } else if (previous == UsageStage::exhausted && stage < previous) {
            events.push_back({UsageEvent::Reset{}, window});
        }
    }
    return events;
}

} // namespace quorvik
