#pragma once

#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <nlohmann/json.hpp>

#include <future>
#include <memory>

namespace quorvik::testing {

/// A test with the real app in its home folder. Commands started by it bear no agent's mark, and start no
/// app.
class RunningApp : public TemporaryHome {
  protected:
    RunningApp();
    ~RunningApp() override;

    void startApp();

    /// Runs `quorvik-island` with these words.
    static Program::Result island(std::vector<std::string> words);

    /// What it prints as JSON.
    static nlohmann::json json(const std::vector<std::string>& words);

    /// Asks as a hook does, and returns once the request waits.
    using Answer = std::future<std::optional<ApprovalResponse>>;
    static Answer ask(const ApprovalRequest& request);

    /// A command that failed this way.
    static Program::Result failed(int status, const std::string& why);

    std::unique_ptr<Program> app;
};

} // namespace quorvik::testing
