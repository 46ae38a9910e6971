#include "Tests/Support/RunningApp.h"

#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <cstdlib>

namespace quorvik::testing {

RunningApp::RunningApp() {
    ::setenv("QUORVIK_NO_START", "1", 1);
    for (const char* mark : {"CLAUDECODE", "CLAUDE_CODE_ENTRYPOINT", "CODEX_SANDBOX",
                             "CODEX_SANDBOX_NETWORK_DISABLED", "CODEX_THREAD_ID", "QWEN_CODE"})
        ::unsetenv(mark);
}

RunningApp::~RunningApp() {
    ::unsetenv("QUORVIK_NO_START");
}

void RunningApp::startApp() {
    app = std::make_unique<Program>(std::vector<std::string>{programPath("quorvik-island"), "serve"});
    eventually([] { return island({"status"}).status == 0; });
}

Program::Result RunningApp::island(std::vector<std::string> words) {
    words.insert(words.begin(), programPath("quorvik-island"));
    return Program::run(words);
}

nlohmann::json RunningApp::json(const std::vector<std::string>& words) {
    const auto result = island(words);
    return parseJSON(result.output).value_or("not JSON: " + result.output + result.errors);
}

RunningApp::Answer RunningApp::ask(const ApprovalRequest& request) {
    auto answer = std::async(std::launch::async, [request] {
        constexpr std::chrono::seconds patience(60);
        return ApprovalClient::ask(request, patience, QuorvikPaths::approvalSocket().string());
    });
    eventually([&] {
        return std::ranges::any_of(json({"requests", "--json"}), [&](const nlohmann::json& waiting) {
            return waiting["id"] == request.id;
        });
    });
    return answer;
}

Program::Result RunningApp::failed(int status, const std::string& why) {
    return {status, "", "quorvik-island: " + why + "\n"};
}

} // namespace quorvik::testing
