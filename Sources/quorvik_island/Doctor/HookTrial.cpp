#include "quorvik_island/Doctor/HookTrial.h"

#include "quorvik_island/Doctor/Sandbox.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Session/SessionStore.h"

namespace quorvik::Doctor::HookTrial {

namespace {

constexpr std::chrono::seconds timeLimit(5); // what agents give a hook that asks nothing
constexpr std::string_view sessionID = "quorvik-doctor";

/// Runs its arguments with the file $0 as their standard input.
constexpr std::string_view withInput = R"(exec "$@" <"$0")";

} // namespace

std::vector<std::string> shellOf(Source agent) {
    switch (agent) {
    case Source::codex: return {Platform::loginShell(), "-c"};
    case Source::qwen:
    case Source::copilot: return {"bash", "-c"};
    default: return {"/bin/sh", "-c"};
    }
}

std::string payload(Source agent, std::string_view session, std::string_view folder) {
    nlohmann::json payload;
    switch (agent) {
    case Source::copilot: // names no event
        payload = {{"sessionId", session}, {"timestamp", 1795228279272}, {"cwd", folder}, {"source", "new"}};
        break;
    case Source::grok:
        payload = {{"hookEventName", "session_start"},
                   {"sessionId", session},
                   {"workspaceRoot", folder},
                   {"source", "new"}};
        break;
    case Source::devin: // names no folder
        payload = {{"hook_event_name", "SessionStart"}, {"session_id", session}, {"source", "startup"}};
        break;
    case Source::pi: // as our extension for it does
        payload = {{"hook_event_name", "SessionStart"}, {"session_id", session}, {"cwd", folder}};
        break;
    default:
        payload = {{"session_id", session},
                   {"transcript_path", nullptr},
                   {"cwd", folder},
                   {"hook_event_name", "SessionStart"},
                   {"permission_mode", "default"},
                   {"source", "startup"},
                   {"model", "none"}};
    }
    return printJSON(payload);
}

Result run(Source agent, const std::string& commandLine) try {
    const TemporarySupport support;
    const auto input = support.write("payload", payload(agent, sessionID, support.folder().native()));
    std::vector<std::string> words = {
        "/usr/bin/env", "QUORVIK_HOME=" + support.folder().string(), "/bin/sh", "-c", std::string(withInput),
        input.string()};
    for (std::string& word : shellOf(agent))
        words.push_back(std::move(word));
    words.push_back(commandLine);

    const auto start = std::chrono::steady_clock::now();
    const auto end = Doctor::run(words, timeLimit);
    Result result;
    result.duration = std::chrono::steady_clock::now() - start;
    const auto file = SessionStore::fileURL(agent, sessionID, support.folder() / "sessions");
    if (!end.failure.empty())
        result.failure = end.failure;
    else if (!end.isSuccess())
        result.failure = "it ended with status " + std::to_string(*end.exitStatus);
    else if (!end.output.empty())
        result.failure = "it printed something, which the agent takes for an answer";
    else if (!SessionStore::load(file).record())
        result.failure = "it ran, but no record appeared";
    result.hasReported = result.failure.empty();
    return result;
} catch (const std::exception& error) {
    return {false, error.what(), {}};
}

} // namespace quorvik::Doctor::HookTrial
