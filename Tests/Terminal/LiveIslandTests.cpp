#include "Tests/Support/RunningApp.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikCore/Session/SessionStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>

namespace quorvik {

using testing::eventually;
using testing::Program;
using testing::programPath;
using testing::Terminal;

/// The live island on a real terminal.
class LiveIslandTests : public testing::AppTest {
  protected:
    static constexpr const char* leavesScreen = "\x1b[?1049l";

    static std::string live() { return programPath("quorvik-island"); }
    /// Ours, and on Linux one whose poll() takes no terminals, as on macOS.
#ifdef __linux__
    static constexpr const char* programs[] = {"quorvik-island", "quorvik-island-darwin-poll"};
#else
    static constexpr const char* programs[] = {"quorvik-island"};
#endif
    static void chooseTerminal() {
        ::setenv("TERM", "xterm-256color", 1);
        ::unsetenv("NO_COLOR");
        ::unsetenv("ACCESSIBLE");
    }
    static bool isEqual(const termios& left, const termios& right) {
        return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
               left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
               std::memcmp(left.c_cc, right.c_cc, sizeof left.c_cc) == 0;
    }
    std::string askForPermission(const std::string& command) {
        hook("claude", printJSON({{"session_id", "s"},
                                  {"cwd", home.string()},
                                  {"hook_event_name", "PermissionRequest"},
                                  {"tool_name", "Bash"},
                                  {"tool_input", {{"command", command}}}}));
        return waitingRequest();
    }
    /// Presses the key until the request is answered: at first it may come too soon, and then the wait for
    /// the next one starts anew.
    void answerWith(const std::function<void()>& press) {
        auto next = std::chrono::steady_clock::now();
        EXPECT_TRUE(eventually([&] {
            if (std::chrono::steady_clock::now() >= next) {
                press();
                next = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
            }
            return synced().requests.empty();
        }));
    }
};

TEST_F(LiveIslandTests, TheTerminalIsLeftAsItWasFound) {
    struct Row {
        const char* how;
        std::function<void(Terminal&)> end;
        int status;
    };
    const auto by = [](int signal) {
        return [signal](Terminal& terminal) { ::kill(terminal.pid(), signal); };
    };
    const Row rows[] = {
        {"q", [](Terminal& terminal) { terminal.type("q"); }, 0},
        {"Ctrl-C", [](Terminal& terminal) { terminal.type("\x03"); }, 128 + SIGINT},
        {"TERM", by(SIGTERM), 128 + SIGTERM},
        {"SEGV", by(SIGSEGV), 128 + SIGSEGV},
        {"ABRT", by(SIGABRT), 128 + SIGABRT},
        {"HUP, and yet the terminal is there", by(SIGHUP), 128 + SIGHUP},
    };
    for (const char* program : programs) {
        for (const Row& row : rows) {
            Terminal terminal({programPath(program)}, chooseTerminal);
            const termios found = terminal.settings();
            terminal.waitFor("q quit");
            EXPECT_FALSE(isEqual(found, terminal.settings())) << row.how;
            row.end(terminal);
            terminal.waitFor(leavesScreen);
            EXPECT_EQ(terminal.finish(), row.status) << row.how;
            EXPECT_TRUE(isEqual(found, terminal.settings())) << row.how;
        }
        Terminal gone({programPath(program)}, chooseTerminal);
        gone.waitFor("q quit");
        gone.hangUp();
        EXPECT_EQ(gone.finish(), 128 + SIGHUP);
    }
}

TEST_F(LiveIslandTests, CtrlZAndBack) {
    Terminal shell({"bash", "--norc", "-i"}, [] {
        chooseTerminal();
        ::setenv("PS1", "ready> ", 1);
    });
    shell.waitFor("ready> ");
    shell.type(live() + "\n");
    shell.waitFor("q quit");
    for (int round = 0; round < 2; ++round) {
        shell.type("\x1a");
        shell.waitFor(leavesScreen);
        shell.waitFor("Stopped");
        EXPECT_NE(shell.settings().c_lflag & static_cast<tcflag_t>(ECHO | ICANON | ISIG), 0u);
        shell.waitFor("ready> ");
        shell.type("fg\n");
        shell.waitFor("q quit"); // all of it is drawn again
    }
    shell.type("q");
    shell.waitFor(leavesScreen);
    shell.waitFor("ready> ");
    shell.type("exit 7\n");
    EXPECT_EQ(shell.finish(), 7);
}

TEST_F(LiveIslandTests, OneKeyAnswersTheRealHook) {
    startApp();
    Terminal terminal({live()}, chooseTerminal);
    terminal.waitFor("q quit");
    askForPermission("git push");
    terminal.waitFor("a allow");
    answerWith([&] { terminal.type("a"); });
    const auto allowed = hooks.back().finish();
    EXPECT_NE(allowed.output.find(R"("behavior":"allow")"), std::string::npos) << allowed.output;

    askForPermission("rm -rf build");
    terminal.waitFor("rm -rf build");
    // Neither an unknown key's last letter, nor what the terminal says, nor what is pasted is an answer.
    answerWith(
        [&] { terminal.type("\x1b[99;9A\x1bOa\x1b]11;rgb:aA\x07\x1bP>|aA\x1b\\\x1b[200~aA\x1b[201~d\r"); });
    EXPECT_NE(hooks.back().finish().output.find(R"("behavior":"deny")"), std::string::npos);

    ::kill(app().pid(), SIGTERM);
    app().finish();
    terminal.waitFor("(r tries again)");
    startApp();
    EXPECT_TRUE(eventually([&] { // it finds the new one by itself
        const auto frontEnds = control().call("status").at("frontEnds");
        return std::ranges::any_of(frontEnds, [](const auto& each) { return each.at("role") == "island"; });
    }));
    terminal.type("q");
    EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(LiveIslandTests, TheMouseSelectsAndThePagerHasItsKeysToItself) {
    startApp();
    const std::string script = "#!/bin/sh\ntrap 'echo caught' INT\necho in the pager\n"
                               "while read -r line; do [ \"$line\" = end ] && exit; done\n";
    write("pager", script);
    std::filesystem::permissions(home / "pager", std::filesystem::perms::owner_all);
    for (const char* id : {"a", "b", "c"}) {
        SessionRecord record(Source::build, id, "/w", std::chrono::system_clock::now());
        record.state = SessionState::failed;
        record.logPath = (home / "pager").string();
        SessionStore::write(record, SessionStore::fileURL(record.source, id, sessions));
    }
    const auto keys = [&] {
        const Snapshot snapshot = synced();
        std::vector<std::string> found;
        for (const SnapshotItem* item : snapshot.items())
            found.push_back(item->id());
        return found;
    };
    const auto before = keys();
    ASSERT_EQ(before.size(), 3U);
    Terminal terminal({live()}, [&] {
        chooseTerminal();
        ::setenv("PAGER", (home / "pager").c_str(), 1);
    });
    terminal.waitFor("3 failed");
    terminal.type(
        "\x1b[<0;5;3M\x1b[<0;5;3m\x1b[<65;5;3M\x1b[<64;5;3M\x1b[<64;5;3Mjx"); // click, down, up, up, j
    EXPECT_TRUE(eventually([&] { return keys() == std::vector{before[0], before[2]}; }));
    do // until the island has heard of it, too, each picture drawn anew says "3 failed"
        terminal.type("\x0c");
    while (terminal.waitFor(" failed").ends_with("3"));
    terminal.type("go");
    terminal.waitFor("in the pager");
    terminal.type("xqx\n\x03");
    terminal.waitFor("caught");
    terminal.type("end\n");
    terminal.waitFor("2 failed"); // the island is back, and has waved nothing away
    EXPECT_EQ(keys().size(), 2U);
    terminal.type("q");
    EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(LiveIslandTests, StartsWhileTheAppEnds) {
    for (int round = 0; round < 4; ++round) {
        startApp();
        ::kill(app().pid(), SIGTERM);
        Terminal terminal({live()}, chooseTerminal);
        terminal.waitFor("(r tries again)");
        terminal.type("q");
        EXPECT_EQ(terminal.finish(), 0);
        expectAppEnds();
    }
}

TEST_F(LiveIslandTests, AnAppThatHangsHoldsUpNoKeys) {
    startApp();
    Terminal terminal({live()}, chooseTerminal);
    terminal.waitFor("q quit");
    ::kill(app().pid(), SIGSTOP);
    Terminal second({live()}, chooseTerminal);
    const auto start = std::chrono::steady_clock::now();
    second.waitFor("connecting");
    const auto shown = island({"show"});
    EXPECT_EQ(shown, (Program::Result{
                         0, "", "quorvik-island: Quorvik did not answer: this is what the records say\n"}));
    for (Terminal* each : {&terminal, &second}) {
        each->type("?");
        each->waitFor("A permission");
        each->type("qq");
        EXPECT_EQ(each->finish(), 0);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4)); // the app may take 5
    ::kill(app().pid(), SIGCONT);
}

TEST_F(LiveIslandTests, InLinesWithNumbers) {
    startApp();
    Terminal terminal({programPath(programs[std::size(programs) - 1]), "--plain"}, chooseTerminal);
    terminal.waitFor("Type help");
    terminal.waitFor("No coding agent was found");
    askForPermission("git push");
    terminal.waitFor("command: git push");
    terminal.waitFor("1 allow");
    answerWith([&] { terminal.type("1\n"); });
    EXPECT_NE(hooks.back().finish().output.find(R"("behavior":"allow")"), std::string::npos);
    askForPermission("git push --token t0p");
    terminal.waitFor("1 show what is hidden");
    answerWith([&] { terminal.type("1\n"); }); // shows it first, then allows it
    terminal.waitFor("--token t0p");
    EXPECT_NE(hooks.back().finish().output.find(R"("behavior":"allow")"), std::string::npos);
    terminal.type("quit\n");
    EXPECT_EQ(terminal.finish(), 0);
}

TEST_F(LiveIslandTests, InTmux) {
    if (Program::run({"tmux", "-V"}).status != 0) GTEST_SKIP() << "no tmux";
    startApp();
    const auto tmux = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"tmux", "-S", (home / "tmux").string(), "-f", "/dev/null"});
        return Program::run(words);
    };
    const auto shows = [&](const std::string& text) {
        std::string screen;
        const bool found = eventually([&] {
            screen = tmux({"capture-pane", "-p"}).output;
            return screen.find(text) != screen.npos;
        });
        EXPECT_TRUE(found) << screen;
    };
    ASSERT_EQ(tmux({"new-session", "-d", "-x", "80", "-y", "24", live()}).status, 0);
    shows("? help   q quit");
    askForPermission("echo 漢字 $(date)");
    const std::string command = "│ echo 漢字 $(date)";
    shows(command + std::string(57, ' ') + "│\n");
    tmux({"resize-window", "-x", "40", "-y", "8"});
    shows(command + std::string(20, ' ') + "│\n");
    answerWith([&] { tmux({"send-keys", "a"}); });
    tmux({"send-keys", "?"});
    shows("A permission");
    tmux({"kill-server"});
}

TEST_F(LiveIslandTests, WithoutATerminalItSaysWhatToDo) {
    const auto result = island({});
    EXPECT_EQ(result, (Program::Result{1, "",
                                       "quorvik-island: this is no terminal to draw on; quorvik-island watch "
                                       "prints a line per change\n"}));
    EXPECT_EQ(island({"--nonsense"}).status, 3);
}

} // namespace quorvik
