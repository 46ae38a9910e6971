#include "QuorvikApp/Model/IslandModel.h"

#include "QuorvikCore/Island/Scheduler.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <unordered_map>

namespace quorvik {

namespace {

std::vector<const SessionRecord*> pointers(const std::vector<std::shared_ptr<const SessionRecord>>& records) {
    std::vector<const SessionRecord*> found;
    found.reserve(records.size());
    for (const auto& record : records)
        found.push_back(record.get());
    return found;
}

/// Whether an item of this record is over and can be acknowledged: a failure, or git's changes and usage.
bool canBeAcknowledged(const SessionRecord& record) {
    if (record.state == SessionState::failed) return true;
    return record.state == SessionState::done && record.source == Source::git &&
           (record.tool == "Changes" || record.tool == "Usage");
}

/// "Bash: git push", as far as there is something to say.
std::string subject(const ApprovalRequest& request) {
    std::string text = request.isQuestion() ? "a question" : request.tool.value_or("something");
    if (request.summary && !request.summary->empty()) text += ": " + *request.summary;
    return Unicode::terminalLine(text);
}

} // namespace

void IslandModel::setSessions(SessionFolder folder, Date now) {
    std::unordered_map<std::string, const SessionRecord*> before;
    for (const auto& record : sessions_.records)
        before.emplace(record->key(), record.get());
    for (const auto& record : folder.records) {
        const std::string key = record->key();
        const auto found = before.find(key);
        const SessionRecord* old = found == before.end() ? nullptr : found->second;
        if (old == record.get()) continue;
        if (!old || old->state != record->state || old->stateSince != record->stateSince)
            journal_.note(now, key,
                          (old ? std::string(rawValue(old->state)) + " became " : "was first seen ") +
                              std::string(rawValue(record->state)) +
                              (record->lastEvent ? ", because of " + *record->lastEvent : ""));
    }
    for (const std::string& key : folder.lost)
        if (!sessions_.lost.contains(key)) journal_.note(now, key, "lost its process, and counts as over");
    sessions_ = std::move(folder);
    forgetMemoryOfTheGone(now);
}

void IslandModel::setSignal(std::string_view signal, Records records, Date now) {
    Records& known = signals_[std::string(signal)];
    for (const auto& record : records)
        if (std::ranges::find(known, record) == known.end())
            journal_.note(now, record->key(), record->summary.value_or(record->tool.value_or("")));
    known = std::move(records);
    forgetMemoryOfTheGone(now);
}

IslandModel::Records IslandModel::signalRecords() const {
    Records all;
    for (const auto& [signal, records] : signals_)
        all.insert(all.end(), records.begin(), records.end());
    return all;
}

void IslandModel::forgetMemoryOfTheGone(Date now) {
    const Records signals = signalRecords();
    const auto isKnown = [&](const std::string& acknowledged) {
        const auto isIt = [&](const auto& record) {
            return canBeAcknowledged(*record) && Scheduler::ackKey(*record) == acknowledged;
        };
        return std::ranges::any_of(sessions_.records, isIt) || std::ranges::any_of(signals, isIt);
    };
    if (!memory_.acknowledged.empty())
        std::erase_if(memory_.acknowledged, [&](const std::string& key) { return !isKnown(key); });
    if (!memory_.pick) return;
    const auto records = shownRecords();
    const bool applies = std::ranges::any_of(records, [&](const auto& record) {
        return record->stateSince == memory_.pick->stateSince && record->key() == memory_.pick->key;
    });
    if (applies) return;
    journal_.note(now, memory_.pick->key, "is no longer picked: it has moved on");
    memory_.pick.reset();
}

void IslandModel::setSettings(const Settings& settings, Date now) {
    for (const SettingRule& rule : settingRules())
        if (const auto value = rule.get(settings); value != rule.get(settings_))
            journal_.note(now, "", "setting " + std::string(rule.name) + " is now " + printJSON(value));
    settings_ = settings;
}

void IslandModel::setTroubles(std::string_view area, std::vector<std::string> troubles, Date now) {
    auto& known = troubles_[std::string(area)];
    for (const std::string& trouble : troubles)
        if (std::ranges::find(known, trouble) == known.end()) journal_.note(now, "", trouble);
    known = std::move(troubles);
}

bool IslandModel::addRequest(const ApprovalRequest& request, std::string_view members, Date now) {
    const bool isTaken = requests_.add(request, members, now);
    journal_.note(now, request.key(),
                  "asked for " + subject(request) + " (" + request.id + ")" +
                      (isTaken ? "" : ", and was turned away: it waits already, or too many do"),
                  request.id);
    return isTaken;
}

void IslandModel::withdrawRequest(std::string_view id, Date now) {
    const WaitingRequest* request = requests_.find(id);
    if (!request) return;
    const std::string text =
        "withdrawn: its hook has gone, because the time was up or it was settled elsewhere";
    journal_.note(now, request->request.key(), text + " (" + std::string(id) + ")", id);
    requests_.withdraw(id);
}

void IslandModel::requestAnswered(std::string_view id, ApprovalDecision decision, const std::string& by,
                                  Date now) {
    const WaitingRequest* request = requests_.find(id);
    if (!request) return;
    const std::string text = "answered \"" + std::string(rawValue(decision)) + "\" by " + by;
    journal_.note(now, request->request.key(), text + " (" + std::string(id) + ")", id);
    requests_.answered(id, by);
}

void IslandModel::answerRefused(std::string_view id, const std::string& who, Date now) {
    const std::string text = "an agent's process tried to answer: " + who;
    journal_.note(now, "", text + " (" + std::string(id) + ")", id);
    constexpr std::size_t mostShown = 3;
    if (refused_.size() == mostShown) refused_.pop_back();
    refused_.push_front({now, ISO8601::text(now) + ": " + text});
}

AlertReply IslandModel::addAlert(const AlertRequest& alert, Date now) {
    if (!settings_.alerts) return {"disabled", std::nullopt};
    updatePause(now);
    if (memory_.alertsPausedUntil) {
        journal_.noteAlert(now, "",
                           alert.title + " (not shown: alerts are paused until " +
                               ISO8601::text(*memory_.alertsPausedUntil) + ")");
        return {"disabled", std::nullopt};
    }
    journal_.noteAlert(now, alerts_.add(alert, now), alert.title);
    return {"ok", std::nullopt};
}

void IslandModel::pauseAlerts(double seconds, Date now) {
    updatePause(now);
    if (seconds > 0) {
        memory_.alertsPausedUntil = now + std::chrono::duration<double>(seconds);
        journal_.note(now, "", "alerts are paused until " + ISO8601::text(*memory_.alertsPausedUntil));
    } else if (memory_.alertsPausedUntil) {
        memory_.alertsPausedUntil.reset();
        journal_.note(now, "", "the pause of alerts is over: the user said so");
    }
}

void IslandModel::updatePause(Date now) {
    auto& until = memory_.alertsPausedUntil;
    if (!until) return;
    until = std::min(*until, now + std::chrono::duration<double>(longestPause));
    if (*until > now) return;
    until.reset();
    journal_.note(now, "", "the pause of alerts is over");
}

std::vector<std::shared_ptr<const SessionRecord>> IslandModel::shownRecords() const {
    std::vector<std::shared_ptr<const SessionRecord>> records;
    records.reserve(sessions_.records.size());
    for (const auto& record : sessions_.records)
        if (sessions_.lost.empty() || !sessions_.lost.contains(record->key())) records.push_back(record);
    for (auto& record : signalRecords())
        records.push_back(std::move(record));
    for (auto& record : alerts_.records(settings_.scheduler.doneLinger))
        records.push_back(std::move(record));
    return records;
}

bool IslandModel::acknowledge(std::string_view key, Date now) {
    if (alerts_.remove(key)) {
        journal_.note(now, std::string(key), "was waved away");
        return true;
    }
    for (const auto& record : shownRecords()) {
        if (!canBeAcknowledged(*record) || record->key() != key ||
            !Scheduler::display(*record, now, settings_.scheduler, memory_.acknowledged))
            continue;
        memory_.acknowledged.insert(Scheduler::ackKey(*record));
        journal_.note(now, std::string(key), "was waved away");
        return true;
    }
    return false;
}

std::size_t IslandModel::acknowledgeAll(Date now) {
    std::size_t count = 0;
    for (const ShownAlert& shown : alerts_.shown())
        count += acknowledge(shown.key, now);
    for (const auto& record : shownRecords())
        if (canBeAcknowledged(*record)) count += acknowledge(record->key(), now);
    return count;
}

bool IslandModel::pick(std::string_view key, Date now) {
    for (const auto& record : shownRecords()) {
        if (record->key() != key ||
            !Scheduler::display(*record, now, settings_.scheduler, memory_.acknowledged))
            continue;
        memory_.pick = ManualPick{std::string(key), record->stateSince, now};
        journal_.note(now, std::string(key), "was picked");
        return true;
    }
    return false;
}

void IslandModel::unpick(Date now) {
    if (memory_.pick) journal_.note(now, memory_.pick->key, "is no longer picked: the user said so");
    memory_.pick.reset();
}

Snapshot IslandModel::snapshot(Date now) {
    alerts_.expire(now);
    updatePause(now);
    std::erase_if(refused_, [&](const RefusedAnswer& refused) {
        return refused.when > now || refused.when + refusedLinger <= now;
    });
    const auto records = shownRecords();
    std::unordered_map<const SessionRecord*, const std::shared_ptr<const SessionRecord>*> owners;
    owners.reserve(records.size());
    for (const auto& record : records)
        owners.emplace(record.get(), &record);
    const IslandLayoutView layout =
        Scheduler::layout(pointers(records), now, settings_.scheduler, memory_.acknowledged, memory_.pick);
    const auto item = [&](const IslandItemView& view) {
        return SnapshotItem{*owners.at(view.record), view.display, view.quiet};
    };

    Snapshot snapshot;
    if (layout.primary) snapshot.primary = item(*layout.primary);
    for (const IslandItemView& view : layout.bubbles)
        snapshot.bubbles.push_back(item(view));
    for (const IslandItemView& view : layout.overflow)
        snapshot.overflow.push_back(item(view));
    snapshot.corrupt = sessions_.corrupt;
    snapshot.unsupported = sessions_.unsupported;
    snapshot.requests = requests_.waiting();
    snapshot.alerts = alerts_.shown();
    snapshot.alertsPausedUntil = memory_.alertsPausedUntil;
    for (const RefusedAnswer& refused : refused_)
        snapshot.troubles.push_back(refused.text);
    for (const auto& [area, troubles] : troubles_)
        snapshot.troubles.insert(snapshot.troubles.end(), troubles.begin(), troubles.end());
    snapshot.settings = settings_;
    return snapshot;
}

std::optional<Date> IslandModel::nextChange(Date now) const {
    const auto records = shownRecords();
    const auto layout =
        Scheduler::nextChange(pointers(records), now, settings_.scheduler, memory_.acknowledged);
    std::optional<Date> next = layout;
    const auto include = [&](Date when) { next = next ? std::min(*next, when) : when; };
    if (const auto alert = alerts_.nextChange()) include(*alert);
    if (memory_.alertsPausedUntil) include(*memory_.alertsPausedUntil);
    if (!refused_.empty()) include(refused_.back().when + refusedLinger);
    return next;
}

} // namespace quorvik
