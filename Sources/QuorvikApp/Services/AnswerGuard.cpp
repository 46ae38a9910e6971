#include "QuorvikApp/Services/AnswerGuard.h"

#include "QuorvikCore/Platform/ProcessEnvironment.h"
#include "QuorvikCore/Session/ProcessInspector.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace quorvik::AnswerGuard {

namespace {

/// What agents put into the environment of the commands that they run.
constexpr std::string_view marks[] = {"CLAUDECODE",        "CLAUDE_CODE_ENTRYPOINT",
                                      "CODEX_SANDBOX",     "CODEX_SANDBOX_NETWORK_DISABLED",
                                      "CODEX_THREAD_ID",   "QWEN_CODE",
                                      "GROK_CLI",          "COPILOT_CLI",
                                      "DEVIN_PROJECT_DIR", "KIMI_CLI",
                                      "PI_CODING_AGENT",   "COMMANDCODE"};

bool isAgentsProcess(const ProcessInspector::Info& process, const SessionRecord& record) {
    if (!isAgent(record.source) || record.pid != process.pid) return false;
    // The clock may have been set; a process that has another one's number has started after its last event.
    return !record.pidStartTime || std::abs(*record.pidStartTime - process.startTime) < 1.0 ||
           process.startTime < secondsSince1970(record.updatedAt);
}

} // namespace

Verdict judge(std::int32_t pid, std::span<const std::shared_ptr<const SessionRecord>> records) {
    const auto answering = pid > 0 ? ProcessInspector::info(pid) : std::nullopt;
    if (!answering) return {"an unknown process", "the system does not tell who answers"};
    Verdict verdict{answering->name + ", process " + std::to_string(pid), ""};
    if (answering->tty) verdict.who += ", " + *answering->tty;

    constexpr int mostAncestors = 64;
    const auto noMark = std::end(marks);
    std::vector<std::int32_t> ancestors;
    auto process = answering;
    for (int step = 0; process && step < mostAncestors; ++step) {
        ancestors.push_back(process->pid);
        // A mark that was taken off on the way is still there further up.
        const auto names = Platform::environmentNames(process->pid);
        if (!names && step == 0) {
            verdict.reason = "the system does not tell who answers";
            return verdict;
        }
        const auto mark = names ? std::ranges::find_first_of(marks, *names) : noMark;
        if (mark != noMark) {
            verdict.reason =
                "an agent may not answer for itself or for another (" + std::string(*mark) + " is set)";
            return verdict;
        }
        for (const auto& record : records)
            if (isAgentsProcess(*process, *record)) {
                verdict.reason = "an agent may not answer for itself or for another (this is a process of " +
                                 std::string(displayName(record->source)) + ")";
                return verdict;
            }
        ancestors.push_back(process->parentPID); // in a container, number 1 may be the user's shell
        if (process->parentPID < 2) break;
        process = ProcessInspector::info(process->parentPID);
    }
    // Its parent may have ended: then it still is in the terminal session of the agent that started it. A
    // shell of the user's in that terminal leads the session, and what is typed there descends from it.
    const pid_t session = ::getsid(pid);
    const bool isLed =
        std::ranges::find(ancestors, session) != ancestors.end() || !ProcessInspector::info(session);
    for (const auto& record : records) {
        if (isLed || session < 1 || !isAgent(record->source) || !record->pid) continue;
        if (::getsid(*record->pid) != session) continue;
        verdict.reason = "an agent may not answer for itself or for another (this was started by " +
                         std::string(displayName(record->source)) + ")";
        break;
    }
    return verdict;
}

} // namespace quorvik::AnswerGuard
