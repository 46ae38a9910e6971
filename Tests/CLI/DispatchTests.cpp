#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Platform/BuildInfo.h"

#include <chrono>
#include <regex>

namespace quorvik {

using namespace testing;

class DispatchTests : public TemporaryHome {
  protected:
    static Program::Result quorvik(std::vector<std::string> words) {
        words.insert(words.begin(), programPath("quorvik"));
        return Program::run(words);
    }
};

TEST_F(DispatchTests, SaysHowItIsUsed) {
    const std::string usage =
        "usage: quorvik run -- <command> [args…]\n"
        "       quorvik alert --title <text> [--body <text>] [--level info|action|fail] "
        "[--open <path>] [--id <id>] [--ttl <seconds>]\n";
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"help"}, {"--help"}, {"RUN", "ls"}, {"run"}, {"run", "--"}, {""}})
        EXPECT_EQ(quorvik(words), (Program::Result{3, "", usage}));
    for (const std::vector<std::string>& words : {std::vector<std::string>{"shell"}, {"shell", "nonsense"}})
        EXPECT_EQ(quorvik(words), (Program::Result{0, "", ""})); // a prompt must not suffer
}

TEST_F(DispatchTests, EveryProgramTellsItsVersion) {
    for (const std::string name : {"quorvik", "quorvik-hook", "quorvik-island", "quorvik-account"}) {
        if (!std::filesystem::exists(programPath(name))) continue; // built where libcurl is
        const auto result = Program::run({programPath(name), "--version"});
        EXPECT_EQ(result, (Program::Result{0, BuildInfo::line(name) + "\n", ""}));
        const std::regex form(name + " \\d+\\.\\d+\\.\\d+ \\(([0-9a-f]{7,}, )?\\w+ \\w+\\)\n");
        EXPECT_TRUE(std::regex_match(result.output, form)) << result.output;
    }
}

TEST_F(DispatchTests, PassesItsWordsOn) {
    EXPECT_EQ(quorvik({"run", "echo", "--", "-x"}).output, "-- -x\n");
    EXPECT_EQ(quorvik({"run", "--", "--", "ls"}).errors, "quorvik: --: No such file or directory\n");
    EXPECT_EQ(quorvik({"run", "\xFF"}).errors, "quorvik: \uFFFD: No such file or directory\n");
}

TEST_F(DispatchTests, AlertsEndWithTheirOutcome) {
    EXPECT_EQ(quorvik({"alert"}).errors, "quorvik: refused: title is required (1 to 16 characters)\n");
    EXPECT_EQ(quorvik({"alert", "\xFF"}).errors, "quorvik: refused: unexpected argument \uFFFD\n");
    write("support/alert.sock", "left by an app that is gone");
    const auto absent = quorvik({"alert", "--title", "x"});
    std::filesystem::remove(support / "alert.sock");
    EXPECT_EQ(absent, (Program::Result{1, "", "quorvik: Quorvik is not running\n"}));
    {
        const FakeApp app(support / "alert.sock",
                          FakeApp::says("{\"status\":\"rejected\",\"message\":\"no\"}\n"));
        const auto rejected = quorvik({"alert", "--title", "x"});
        EXPECT_EQ(rejected, (Program::Result{3, "", "quorvik: refused: no\n"}));
    }
    {
        const FakeApp app(support / "alert.sock", FakeApp::says("{\"status\":\"busy\",\"message\":\"\"}\n"));
        EXPECT_EQ(quorvik({"alert", "--title", "x"}), (Program::Result{4, "", "quorvik: \n"}));
    }
    const FakeApp app(support / "alert.sock", FakeApp::isSilent());
    const auto start = std::chrono::steady_clock::now();
    const auto unanswered = quorvik({"alert", "--title", "x"});
    EXPECT_EQ(unanswered, (Program::Result{4, "", "quorvik: Quorvik did not answer\n"}));
    // Three seconds, which is less than the five of silence after which any client gives up.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4700));
}

} // namespace quorvik
