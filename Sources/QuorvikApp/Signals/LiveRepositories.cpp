#include "QuorvikApp/Signals/LiveRepositories.h"

#include "QuorvikCore/Session/ProjectRoot.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <functional>

namespace quorvik {

namespace {

constexpr double rootsStand = 30; // seconds

} // namespace

std::set<std::string> LiveRepositories::of(const SessionFolder& sessions, std::size_t most, Date now) {
    std::vector<const SessionRecord*> alive;
    for (const auto& record : sessions.records)
        if (record->state != SessionState::ended && !record->cwd.empty() &&
            !sessions.lost.contains(record->key()))
            alive.push_back(record.get());
    std::ranges::stable_sort(alive, std::ranges::greater(), &SessionRecord::updatedAt);

    if (since_ > now || (now - since_).count() > rootsStand) {
        roots_.clear();
        since_ = now;
    }
    const std::string home = QuorvikPaths::home().string();
    std::set<std::string> wanted;
    for (const SessionRecord* record : alive) {
        if (wanted.size() == most) break;
        auto known = roots_.find(record->cwd);
        if (known == roots_.end())
            known = roots_.emplace(record->cwd, ProjectRoot::gitRoot(record->cwd, home).value_or("")).first;
        if (!known->second.empty()) wanted.insert(known->second);
    }
    return wanted;
}

} // namespace quorvik
