#include "Tests/Support/FakeApp.h"
#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

namespace quorvik {

using testing::FakeApp;
using testing::Program;

class DispatchTests : public testing::TemporaryHome {
  protected:
    static Program::Result quorvik(std::vector<std::string> words) {
        words.insert(words.begin(), testing::programPath("quorvik"));
        return Program::run(words);
    }
};

TEST_F(DispatchTests, SaysHowItIsUsed) {
    const std::string usage =
        "usage: quorvik run -- <command> [args…]\n"
        "       quorvik alert --title <text> [--body <text>] [--level info|action|fail] "
        "[--open <path>] [--id <id>] [--ttl <seconds>]\n";
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"help"}, {"--help"}, {"RUN", "ls"}, {"run"}, {"run", "--"}, {""}}) {
        const auto result = quorvik(words);
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.errors, usage);
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(DispatchTests, PassesItsWordsOn) {
    EXPECT_EQ(quorvik({"run", "echo", "--", "-x"}).output, "-- -x\n");
    const auto dashes = quorvik({"run", "--", "--", "ls"});
    EXPECT_EQ(dashes.status, 127);
    EXPECT_EQ(dashes.errors, "quorvik: --: No such file or directory\n");
}

TEST_F(DispatchTests, ShellIsSilentWhateverItIsTold) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"shell"},
                                                  {"shell", "nonsense"},
                                                  {"shell", "start", "--pid"},
                                                  {"shell", "end", "--pid", "x"}}) {
        const auto result = quorvik(words);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output + result.errors, "");
    }
}

TEST_F(DispatchTests, AlertsEndWithTheirOutcome) {
    const auto refused = quorvik({"alert"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors, "quorvik: refused: title is required (1 to 16 characters)\n");
    const auto absent = quorvik({"alert", "--title", "x"});
    EXPECT_EQ(absent.status, 1);
    EXPECT_EQ(absent.errors, "quorvik: Quorvik is not running\n");

    struct Case {
        std::string answer, errors;
        int status;
    };
    for (const auto& [answer, errors, status] : std::initializer_list<Case>{
             {R"({"status":"ok"})", "", 0},
             {R"({"status":"disabled"})", "quorvik: External alerts are switched off in Quorvik's settings\n",
              2},
             {R"({"status":"rejected","message":"no"})", "quorvik: refused: no\n", 3},
             {R"({"status":"?"})", "quorvik: unexpected reply\n", 4},
         }) {
        const FakeApp app(support / "alert.sock", FakeApp::says(answer + "\n"));
        const auto result = quorvik({"alert", "--title", "x"});
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.errors, errors);
        EXPECT_EQ(result.output, "");
    }
}

} // namespace quorvik
