// IslandModel::why(): words for what the model decides.

#include "QuorvikApp/Model/IslandModel.h"

#include "QuorvikCore/Island/Scheduler.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

std::string seconds(double value) {
    return std::to_string(std::llround(std::clamp(value, -1e15, 1e15))) + " s";
}

/// Why a record that still has its process is not shown.
std::string whyHidden(const SessionRecord& record, Date now, const SchedulerConfig& config,
                      const AcknowledgedKeys& acknowledged) {
    switch (record.state) {
    case SessionState::idle: return "nothing happens in it (idle)";
    case SessionState::ended: return "it is over (ended)";
    case SessionState::failed:
        if (acknowledged.contains(Scheduler::ackKey(record))) return "its failure has been waved away";
        return "a service that went down is shown for " + seconds(config.portDownLinger) +
               " (portDownLinger)";
    default: break;
    }
    if (acknowledged.contains(Scheduler::ackKey(record))) return "it has been waved away";
    const bool lingersLonger =
        record.source == Source::git && (record.tool == "Changes" || record.tool == "Usage");
    return "it was done " + seconds((now - record.stateSince).count()) + " ago, and that is shown for " +
           (lingersLonger ? seconds(std::max(config.doneLinger, config.changesLinger)) + " (changesLinger)"
                          : seconds(config.doneLinger) + " (doneLinger)");
}

} // namespace

std::vector<std::string> IslandModel::why(std::string_view key, Date now) {
    std::vector<std::string> lines;
    const Snapshot shown = snapshot(now);
    const SchedulerConfig& config = settings_.scheduler;

    const auto place = [&](const SnapshotItem& item) -> std::string {
        const std::string id = item.id();
        if (shown.primary && shown.primary->id() == id)
            return memory_.pick && memory_.pick->key == id ? "in the notch: it was picked, and nothing more "
                                                             "urgent has come up since"
                                                           : "in the notch: it is the most urgent";
        const bool isBubble =
            std::ranges::any_of(shown.bubbles, [&](const SnapshotItem& other) { return other.id() == id; });
        return isBubble
                   ? "beside the notch: among the next " + std::to_string(config.maxBubbles) + " (maxBubbles)"
                   : "in the rest: more urgent ones fill the places beside the notch";
    };
    const auto tell = [&](const SessionRecord& record) {
        const std::string id = record.key();
        if (!key.empty() && key != id) return;
        std::string line = id + ": " + std::string(rawValue(record.state)) + "; ";
        const auto items = shown.items();
        const auto found = std::ranges::find_if(
            items, [&](const SnapshotItem* item) { return item->record.get() == &record; });
        if (found != items.end())
            line += "shown as " + std::string(rawValue((*found)->display)) +
                    ((*found)->quiet ? ", quietly, " : ", ") + place(**found);
        else if (sessions_.lost.contains(id))
            line += "not shown: it claims to be at work, but its process or its waiting hook is gone";
        else
            line += "not shown: " + whyHidden(record, now, config, memory_.acknowledged);
        lines.push_back(Unicode::terminalLine(line));
    };
    for (const auto& record : sessions_.records)
        tell(*record);
    for (const auto& record : signalRecords())
        tell(*record);
    for (const auto& record : alerts_.records(config.doneLinger))
        tell(*record);
    for (const auto& waiting : requests_.waiting())
        if (key.empty() || key == waiting->request.id)
            lines.push_back(Unicode::terminalLine("request " + waiting->request.id + " of " +
                                                  waiting->request.key() + ": waits since " +
                                                  ISO8601::text(waiting->receivedAt)));
    if (key.empty()) {
        if (!settings_.alerts) lines.emplace_back("alerts are switched off");
        if (shown.alertsPausedUntil)
            lines.push_back("alerts are paused until " + ISO8601::text(*shown.alertsPausedUntil));
        if (!settings_.approvals) lines.emplace_back("approvals are switched off: agents ask by themselves");
        for (const std::string& path : shown.corrupt)
            lines.push_back("not shown: no readable session record: " + Unicode::terminalLine(path));
        for (const std::string& path : shown.unsupported)
            lines.push_back("not shown: of another version: " + Unicode::terminalLine(path));
    }
    for (const Journal::Entry* entry : journal_.entries(key))
        lines.push_back(
            ISO8601::text(entry->when) + "  " +
            (entry->about.empty() || !key.empty() ? "" : Unicode::terminalLine(entry->about) + "  ") +
            Unicode::terminalLine(entry->text));
    return lines;
}

} // namespace quorvik
