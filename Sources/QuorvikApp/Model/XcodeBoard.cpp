#include "QuorvikApp/Model/XcodeBoard.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr std::size_t mostRecords = 20;

std::string counted(std::int64_t count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string summaryOf(const XcodeActivity& activity) {
    std::string text = activity.kind == XcodeActivity::Kind::test ? "Tests" : "Build";
    text += activity.failed() ? " failed" : " succeeded";
    std::string counts;
    const auto add = [&](std::int64_t count, std::string_view what) {
        if (count > 0) counts += (counts.empty() ? ": " : ", ") + counted(count, what);
    };
    add(activity.testFailures, "failed test");
    add(activity.errors, "error");
    add(activity.warnings, "warning");
    return text + counts;
}

SessionRecord recordOf(const std::string& project, const XcodeActivity& activity, Date now) {
    const std::string scheme = activity.scheme.empty() ? project : activity.scheme;
    SessionRecord record(Source::build, "xcode-" + std::string(rawValue(activity.kind)) + "-" + scheme, "", now);
    record.state = activity.failed() ? SessionState::failed : SessionState::done;
    record.tool = "Xcode";
    record.title = Unicode::terminalLine(scheme);
    record.summary = summaryOf(activity);
    record.turnStartedAt = activity.started;
    return record;
}

} // namespace

void XcodeBoard::look(const std::string& project, const std::vector<XcodeActivity>& activities, Date now) {
    const auto known = seen_.find(project);
    std::set<std::string> ids;
    for (const XcodeActivity& activity : activities) {
        ids.insert(activity.id);
        if (known == seen_.end() || known->second.contains(activity.id)) continue;
        SessionRecord record = recordOf(project, activity, now);
        // Also when it is not notable: what failed before has been mended.
        std::erase_if(records_, [&](const auto& other) { return other->sessionID == record.sessionID; });
        if (!XcodeLogs::isNotable(activity, shortest)) continue;
        records_.push_back(std::make_shared<const SessionRecord>(std::move(record)));
        if (records_.size() > mostRecords) records_.erase(records_.begin());
    }
    seen_[project] = std::move(ids);
}

} // namespace quorvik
