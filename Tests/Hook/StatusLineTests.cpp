#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

#include <csignal>

namespace quorvik {

using namespace testing;

class StatusLineTests : public TemporaryHome {
  protected:
    static Program::Result draw(const std::string& payload) {
        return Program::run({programPath("quorvik-hook"), "--statusline"}, payload);
    }
    void saveOriginal(const std::string& command) const {
        write("support/statusline-original.json", R"({"type":"command","command":")" + command + "\"}");
    }
};

TEST_F(StatusLineTests, SaysWhatThePayloadTells) {
    struct Case {
        std::string payload, line;
    };
    for (
        const auto& [payload, line] : std::initializer_list<Case>{
            {R"({"model":{"id":"x","display_name":"Opus 5.5"},"workspace":{"current_dir":"/home/u/w"},)"
             R"("context_window":{"used_percentage":12},"rate_limits":{"five_hour":{"used_percentage":42.4,"resets_at":1},)"
             R"("seven_day":{"used_percentage":6.5}}})",
             "Opus 5.5 · w · context 12% · 5h 42% · 7d 7%\n"},
            {R"({"model":{"display_name":"A\u001b[2J\nB"},"context_window":{"used_percentage":null}})",
             "A [2J B\n"},
            {R"({"model":"x","workspace":[],"context_window":{"used_percentage":-1}})", ""},
            {"", ""},
            {std::string(100'000, '['), ""},
            {std::string(2 << 20, ' '), ""},
        })
        EXPECT_EQ(draw(payload), (Program::Result{0, line, ""}));
}

TEST_F(StatusLineTests, KeepsTheUsage) {
    const std::string told = R"({"rate_limits":{"five_hour":{"used_percentage":42.5,"resets_at":9e9}}})";
    const auto file = support / "usage/claude.json";
    const auto keeps = [&](const std::string& payload, const std::string& output) {
        EXPECT_EQ(draw(payload), (Program::Result{0, output, ""}));
        EXPECT_EQ(namesIn(file.parent_path()), std::vector<std::string>{"claude.json"}); // and no leftovers
        const auto figures = ClaudeUsage::read();
        const UsageWindow window = {"claude.five_hour", Source::claude, 300, 42.5, dateFromSeconds(9e9)};
        ASSERT_EQ(figures.size(), 1);
        EXPECT_EQ(figures[0].window, window);
        EXPECT_EQ(modeOf(file), 0600u);
    };
    keeps(told, "5h 43%\n");
    const auto time = std::filesystem::last_write_time(file);
    keeps(told, "5h 43%\n");
    EXPECT_EQ(std::filesystem::last_write_time(file), time); // nothing new
    saveOriginal("cat");
    std::filesystem::remove(file);
    keeps(told, told); // from under the user's own
    std::filesystem::remove(file);
    saveOriginal(
        R"(until [ -e \"$QUORVIK_HOME/usage/claude.json\" ]; do sleep 0.01; done; echo mine)"); // reads
                                                                                                // nothing
    keeps(told, "mine\n");

    const std::string large = told + std::string(300'000, ' '); // more than a pipe holds
    saveOriginal("wc -c");
    EXPECT_NE(draw(large).output.find(std::to_string(large.size())), std::string::npos);
    std::filesystem::remove_all(support / "usage");
    write("support/usage", "in the way");
    EXPECT_EQ(draw(large).status, 0);
}

TEST_F(StatusLineTests, RunsTheUsersOwn) {
    const std::string payload = R"({"model":{"display_name":"M"}})";
    saveOriginal(R"(cat; printf ' %s' \"$COLUMNS\"; exit 7)");
    ::setenv("COLUMNS", "123", 1);
    EXPECT_EQ(draw(payload), (Program::Result{0, payload + " 123", ""}));

    saveOriginal("QUORVIK_MANAGED=1 '/x/quorvik-hook' --statusline"); // never itself
    EXPECT_EQ(draw(payload).output, "M\n");
    write("support/statusline-original.json", "damaged");
    EXPECT_EQ(draw(payload).output, "M\n");
    saveOriginal("no-such-command");
    EXPECT_EQ(draw(payload).status, 0);
}

TEST_F(StatusLineTests, EndsTheUsersOwnWithItself) {
    saveOriginal("sleep 100 & echo $!; wait");
    Program drawing({programPath("quorvik-hook"), "--statusline"});
    const int started = std::stoi(drawing.readLine());
    ::kill(drawing.pid(), SIGTERM); // the next update comes
    EXPECT_EQ(drawing.finish().status, 0);
    EXPECT_TRUE(eventually([&] { return !ProcessInspector::isRunning(started, std::nullopt); }));
}

} // namespace quorvik
