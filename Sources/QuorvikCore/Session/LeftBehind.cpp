#include "QuorvikCore/Session/LeftBehind.h"

#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/ProcessInspector.h"

namespace quorvik {

namespace {

/// Start times are told by the wall clock on Linux, which may have been set since the record was written. A
/// process that started before the record's last write is the one it speaks of, whatever the number says.
bool stillRuns(std::int32_t pid, const SessionRecord& record) {
    if (ProcessInspector::isRunning(pid, record.pidStartTime)) return true;
    const auto process = ProcessInspector::info(pid);
    return process && !process->isZombie && process->startTime < secondsSince1970(record.updatedAt);
}

} // namespace

bool isBusy(const SessionRecord& record) {
    return record.state == SessionState::working || record.state == SessionState::awaiting ||
           record.state == SessionState::compacting;
}

bool isLeftBehind(const SessionRecord& record, const std::filesystem::path& folder) {
    if (!isBusy(record)) return false;
    if (record.pid && !stillRuns(*record.pid, record)) return true;
    return record.state == SessionState::awaiting && !OpenRequests::anyWaiting(record, folder);
}

} // namespace quorvik
