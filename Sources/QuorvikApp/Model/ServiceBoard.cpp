#include "QuorvikApp/Model/ServiceBoard.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

void ServiceBoard::look(const std::vector<ServiceState>& listed, double forgetAfter, Date now) {
    std::set<std::string> seen;
    for (const ServiceState& state : listed) {
        if (!seen.insert(state.id).second) continue;
        note(known_[state.id], state, now);
    }
    for (auto& [id, known] : known_) {
        if (seen.contains(id) || !known.state.isUp) continue;
        ServiceState gone = known.state;
        gone.isUp = false;
        gone.summary = "gone";
        note(known, std::move(gone), now);
    }
    std::erase_if(known_, [&](const auto& entry) {
        const auto& record = entry.second.record;
        return !seen.contains(entry.first) &&
               (!record || record->stateSince > now || (now - record->stateSince).count() >= forgetAfter);
    });
}

void ServiceBoard::note(Known& known, ServiceState state, Date now) {
    const bool wasUp = known.record && known.state.isUp;
    if (!known.record && !state.isUp) {
        known.state = std::move(state);
        return;
    }
    if (wasUp && !state.isUp) ++known.failures;
    const bool isNewState = !known.record || wasUp != state.isUp;
    SessionRecord record(Source::service, state.id, state.cwd, now);
    record.state = state.isUp ? SessionState::working : SessionState::failed;
    record.title = Unicode::terminalLine(state.label);
    std::string summary = Unicode::terminalLine(state.summary);
    if (!state.isUp) summary = summary.empty() ? "down" : "down: " + summary;
    if (known.failures > 1) summary += ", " + std::to_string(known.failures) + " times";
    record.summary = std::move(summary);
    if (!isNewState) {
        record.stateSince = known.record->stateSince;
        record.updatedAt = known.record->updatedAt;
    }
    record.turnStartedAt = record.stateSince;
    record.pid = state.isUp ? state.pid : std::nullopt;
    record.container = state.container;
    record.composeProject = state.composeProject;
    record.port = state.port;
    record.webURL = state.webURL;
    record.openURL = state.isUp ? state.webURL : std::nullopt;
    if (!known.record || !(*known.record == record))
        known.record = std::make_shared<const SessionRecord>(std::move(record));
    known.state = std::move(state);
}

std::vector<std::shared_ptr<const SessionRecord>> ServiceBoard::records() const {
    std::vector<std::shared_ptr<const SessionRecord>> records;
    for (const auto& [id, known] : known_)
        if (known.record) records.push_back(known.record);
    return records;
}

void ServiceBoard::keepOnly(const std::function<bool(const std::string&)>& isWanted) {
    std::erase_if(known_, [&](const auto& entry) { return !isWanted(entry.first); });
}

} // namespace quorvik
