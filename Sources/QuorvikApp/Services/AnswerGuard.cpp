#include "QuorvikApp/Services/AnswerGuard.h"

#include "QuorvikCore/Platform/ProcessEnvironment.h"
#include "QuorvikCore/Session/ProcessInspector.h"

#include <algorithm>
#include <cmath>

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
    return !record.pidStartTime || std::abs(*record.pidStartTime - process.startTime) < 1.0;
}

} // namespace

Verdict judge(std::int32_t pid, std::span<const std::shared_ptr<const SessionRecord>> records) {
    const auto answering = pid > 0 ? ProcessInspector::info(pid) : std::nullopt;
    if (!answering) return {"an unknown process", "the system does not tell who answers"};
    Verdict verdict{answering->name + ", process " + std::to_string(pid), ""};
    if (answering->tty) verdict.who += ", " + *answering->tty;

    const auto names = Platform::environmentNames(pid);
    if (!names) {
        verdict.reason = "the system does not tell who answers";
        return verdict;
    }
    const auto mark = std::ranges::find_first_of(*names, marks);
    if (mark != names->end()) {
        verdict.reason = "an agent may not answer for itself or for another (" + *mark + " is set)";
        return verdict;
    }
    constexpr int mostAncestors = 64;
    auto process = answering;
    for (int step = 0; process && step < mostAncestors; ++step) {
        for (const auto& record : records)
            if (isAgentsProcess(*process, *record)) {
                verdict.reason = "an agent may not answer for itself or for another (this is a process of " +
                                 std::string(displayName(record->source)) + ")";
                return verdict;
            }
        if (process->parentPID < 2) break;
        process = ProcessInspector::info(process->parentPID);
    }
    return verdict;
}

} // namespace quorvik::AnswerGuard
