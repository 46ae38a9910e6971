#include "quorvik_island/Doctor/EventChecks.h"

#include "QuorvikApp/FrontEnds/Age.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <algorithm>

namespace quorvik::Doctor::EventChecks {

namespace {

constexpr std::chrono::hours recent(7 * 24); ///< longer ago, what we did not understand is history

void hasFired(Source agent, HookLedger::Agent remembered, Findings& findings) {
    auto& [installed, last] = remembered;
    for (const auto& file : SessionStore::loadAll(QuorvikPaths::sessionsDirectory()))
        if (const SessionRecord* record = file.record(); record && record->source == agent)
            last = std::max(last.value_or(record->updatedAt), record->updatedAt);

    const std::string name(displayName(agent));
    const std::string advice = "start a session of " + name + ", let it do something, and look again";
    const std::string since =
        installed ? " since its hooks were installed " + age(*installed) + " ago" : " yet";
    const std::string id = agentCheck(agent, "fired");
    if (!last) return findings.note(id, name + ": no event of it has come" + since, advice);
    const std::string when = name + ": the last event of it came " + age(*last) + " ago";
    if (installed && *last < *installed) return findings.note(id, when + ", none" + since, advice);
    findings.well(id, when);
}

void report(const HookLedger::NotUnderstood& kind, Findings& findings) {
    const Date now = std::chrono::system_clock::now();
    const std::string name(displayName(kind.agent));
    std::string what = "the event " + kind.event + " is not known";
    if (kind.event == HookLedger::unreadable) what = "what it sent could not be read";
    if (kind.event == HookLedger::incomplete) what = "what it sent named no event or no session";
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(kind.count, 0));
    const std::string words = name + ": " + what + ": " + counted(count, "time") + " since " +
                              age(kind.first, now) + " ago, the last one " + age(kind.last, now) + " ago";
    const std::string id = agentCheck(kind.agent, "understood");
    if (now - kind.last < recent)
        findings.warn(id, words,
                      name + " may have changed what it sends: look for a newer version of Quorvik");
    else
        findings.note(id, words);
}

} // namespace

void run(Source agent, const HookLedger::Content& ledger, Findings& findings) {
    const auto remembered = ledger.agents.find(agent);
    hasFired(agent, remembered == ledger.agents.end() ? HookLedger::Agent{} : remembered->second, findings);
    for (const HookLedger::NotUnderstood& kind : ledger.notUnderstood)
        if (kind.agent == agent) report(kind, findings);
}

} // namespace quorvik::Doctor::EventChecks
