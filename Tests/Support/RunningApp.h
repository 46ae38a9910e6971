#pragma once

#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Model/SignalStatus.h"

#include <cstdlib>
#include <future>
#include <list>
#include <memory>
#include <optional>

namespace quorvik::testing {

/// A test with the real app of its own support folder, and the real programs around it.
class AppTest : public TemporaryHome {
  protected:
    /// Containers are those that `bin/docker` lists, which the test may replace: none.
    AppTest();
    ~AppTest() override; ///< ends what it started

    /// Starts `quorvik-island serve` and waits until it can be connected to.
    void startApp();

    /// Waits until control() is a connection to an app that has just been started. False if there is none.
    bool connects();

    /// The same program, as it runs.
    Program& app() { return *app_; }

    /// Waits for its end and checks that it said nothing but `errors`, with that status.
    void expectAppEnds(int status = 0, const std::string& errors = "");

    /// What the app shows once everything that was caused before has been published.
    Snapshot synced();

    /// How one of its signals is.
    SignalStatus signal(std::string_view name);

    /// A connection of the test's own.
    ControlClient& control();

    /// Starts the real hook with one event of an agent whose process lives as long as the test.
    Program& hook(const std::string& source, const std::string& payload);

    /// The id of the only request that waits, as soon as there is one.
    std::string waitingRequest();

    /// One run of quorvik-island; what it prints, as JSON; and the result of one that fails.
    static Program::Result island(std::vector<std::string> words);
    static nlohmann::json json(const std::vector<std::string>& words);
    static Program::Result failed(int status, const std::string& why);

    /// Asks as a hook does, and returns once the request waits.
    using Answer = std::future<std::optional<ApprovalResponse>>;
    static Answer ask(const ApprovalRequest& request);

    Program agent{{"sleep", "1000"}}; ///< stands for the agents' process
    std::list<Program> hooks;

  private:
    const std::string path_ = std::getenv("PATH");
    std::unique_ptr<Program> app_;
    std::optional<ControlClient> control_;
};

} // namespace quorvik::testing
