#include "Tests/Support/RunningApp.h"

#include "QuorvikCore/Approvals/ApprovalClient.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace quorvik::testing {

AppTest::AppTest() {
    // The tests may themselves be run by an agent; what they start must not look like it.
    for (const char* mark : {"CLAUDECODE", "CLAUDE_CODE_ENTRYPOINT", "CODEX_SANDBOX", "CODEX_THREAD_ID",
                             "CODEX_SANDBOX_NETWORK_DISABLED", "QWEN_CODE", "DEVIN_PROJECT_DIR"})
        ::unsetenv(mark);
    ::setenv("QUORVIK_NO_START", "1", 1);
    writeProgram("bin/docker");
    ::setenv("PATH", ((home / "bin").string() + ":" + path_).c_str(), 1);
}

AppTest::~AppTest() {
    ::unsetenv("QUORVIK_NO_START");
    ::setenv("PATH", path_.c_str(), 1);
}

void AppTest::startApp() {
    control_.reset();
    app_ = std::make_unique<Program>(std::vector<std::string>{programPath("quorvik-island"), "serve"});
    ASSERT_TRUE(connects());
}

bool AppTest::connects() {
    return eventually([this] {
        try {
            control_ = ControlClient::connect("command", ControlClient::Start::never);
            return true;
        } catch (const NoApp&) {
            return false;
        }
    });
}

void AppTest::expectAppEnds(int status, const std::string& errors) {
    EXPECT_EQ(app_->finish(), (Program::Result{status, "", errors}));
    app_.reset();
    control_.reset();
}

ControlClient& AppTest::control() {
    if (!control_) control_ = ControlClient::connect("command", ControlClient::Start::never);
    return *control_;
}

Snapshot AppTest::synced() {
    control().call("sync");
    return control().snapshot();
}

SignalStatus AppTest::signal(std::string_view name) {
    std::vector<SignalStatus> signals;
    const auto result = control().call("signals");
    RecordReader(result).required("signals", signals);
    const auto found = std::ranges::find(signals, name, &SignalStatus::name);
    return found == signals.end() ? SignalStatus{} : *found;
}

Program& AppTest::hook(const std::string& source, const std::string& payload) {
    Program& started = hooks.emplace_back(std::vector<std::string>{
        programPath("quorvik-hook"), "--source", source, "--ppid", std::to_string(agent.pid())});
    started.giveInput(payload);
    return started;
}

std::string AppTest::waitingRequest() {
    std::string id;
    EXPECT_TRUE(eventually([&] {
        const Snapshot snapshot = synced();
        if (snapshot.requests.size() != 1) return false;
        id = snapshot.requests.front()->request.id;
        return true;
    }));
    return id;
}

Program::Result AppTest::island(std::vector<std::string> words) {
    words.insert(words.begin(), programPath("quorvik-island"));
    return Program::run(words);
}

nlohmann::json AppTest::json(const std::vector<std::string>& words) {
    const auto result = island(words);
    return parseJSON(result.output).value_or("not JSON: " + result.output + result.errors);
}

Program::Result AppTest::failed(int status, const std::string& why) {
    return {status, "", "quorvik-island: " + why + "\n"};
}

AppTest::Answer AppTest::ask(const ApprovalRequest& request) {
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

} // namespace quorvik::testing
