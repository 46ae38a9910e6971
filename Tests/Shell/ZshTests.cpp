#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Terminal.h"
#include "Tests/Support/Text.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Text/Redactor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace quorvik {

using namespace testing;

/// The integration as people have it: installed, in a real zsh on a terminal, with a minimum of one second.
/// The tool that it calls notes each call and hands it to the real one. Long commands wait at a gate (a named
/// pipe) for the test to open it.
class ZshTests : public TemporaryHome {
  protected:
    ZshTests() : log(home / "calls") {
        ::unsetenv("ZDOTDIR");
        ::mkfifo((home / "gate").c_str(), 0600);
        ::setenv("CALLS", log.c_str(), 1);
        tool = writeProgram("a 'quoted' \"tool\" $x `y`/quorvik", R"(#!/bin/sh
for line; do :; done
printf '%s %s\0' "$2" "$line" >>"$CALLS"
)" + programPath("quorvik") + R"( "$@"
printf 'ended\0' >>"$CALLS"
)");
        write(".zshrc", prompt + "precmd() { remember }\nprecmd_functions=(settle)\n");
    }

    void install() const {
        ShellIntegration::install(tool.native(), 1, ShellIntegration::zshrcURL(),
                                  ShellIntegration::scriptURL());
    }

    std::unique_ptr<Terminal> newShell() const {
        auto shell = std::make_unique<Terminal>(std::vector<std::string>{"zsh"}, [this] {
            ::setenv("TERM", "dumb", 1);
            if (::chdir(home.c_str()) != 0) ::_exit(125);
        });
        shell->waitFor("@0@ ");
        return shell;
    }
    static void run(Terminal& shell, const std::string& command, int status) {
        shell.type(command + "\n");
        shell.waitFor("@" + std::to_string(status) + "@ ");
    }

    /// The shell counts whole seconds: across the turn of one, even `ls` takes a second. Waits for a moment
    /// with no turn near; right after one, the clock that the shell reads may lag behind.
    static void waitForEarlySecond() {
        using namespace std::chrono;
        eventually([] {
            const auto sinceTurn = system_clock::now().time_since_epoch() % seconds(1);
            return sinceTurn > milliseconds(50) && sinceTurn < milliseconds(200);
        });
    }

    void openGate(const std::string& name = "gate") const {
        int gate = -1;
        eventually([&] { return (gate = ::open((home / name).c_str(), O_WRONLY | O_NONBLOCK)) >= 0; });
        ::close(gate);
    }

    std::optional<SessionRecord> record(const Terminal& shell) const {
        return testing::recordIn(sessions / ("build-sh-" + std::to_string(shell.pid()) + ".json"));
    }
    /// The record once it is in this state.
    SessionRecord waitForState(const Terminal& shell, SessionState state) const {
        std::optional<SessionRecord> found;
        EXPECT_TRUE(eventually([&] { return (found = record(shell)) && found->state == state; }))
            << rawValue(state);
        return found.value_or(SessionRecord());
    }

    /// "start make": the event and the command line of each call, in order, and "ended" for each that has.
    std::vector<std::string> noted() const {
        auto result = split(std::filesystem::exists(log) ? contentOf(log) : "", '\0');
        result.pop_back(); // what follows the last NUL
        return result;
    }
    std::vector<std::string> calls() const {
        auto all = noted();
        std::erase(all, "ended");
        return all;
    }
    /// Until the newest call is this one, and has ended. (A prompt that comes just then kills a "start".)
    void waitForCall(const std::string& call) const {
        eventually([&] {
            const auto all = calls();
            return !all.empty() && all.back() == call && noted().back() == "ended";
        });
    }

    /// A prompt that shows the last status, with hooks that make it come for sure. zsh 5.9 loses what it is
    /// writing when a child ends just then (its stdio drops what SIGCHLD has interrupted), about once in
    /// 16,000 prompts of a busy machine. So `settle` waits until the integration's jobs have ended;
    /// `remember` has to run before the integration forgets its first one.
    const std::string prompt = R"zsh(PS1='@%?@ '
unsetopt prompt_cr prompt_sp
remember() { started=$_quorvik_job }
settle() {
  for job in $started $!; do
    while (( job > 0 )) && kill -0 $job 2>/dev/null; do sleep 0.01; done
  done
}
)zsh";
    const std::filesystem::path log;
    std::filesystem::path tool;
};

TEST_F(ZshTests, LongAndFailedCommandsBecomeSessions) {
    install();
    write("Makefile", "all:\n\t@cat gate\n");
    const auto shell = newShell();
    waitForEarlySecond();
    run(*shell, "ls", 0);
    run(*shell, "false", 1);
    shell->type("make\n");
    const SessionRecord working = waitForState(*shell, SessionState::working);
    EXPECT_EQ(working.tool, "make");
    EXPECT_EQ(working.cwd, home);
    EXPECT_EQ(working.pid, shell->pid());
    EXPECT_TRUE(working.host.tty && working.host.tty->starts_with("/dev/"));
    openGate();
    shell->waitFor("@0@ ");
    EXPECT_EQ(waitForState(*shell, SessionState::done).turnStartedAt, working.turnStartedAt);

    run(*shell, "git push", 128); // no repository
    EXPECT_EQ(waitForState(*shell, SessionState::failed).summary, "exit 128");
    run(*shell, "git status", 128); // reported, and found not to be worth it
    waitForCall("end git status");
    EXPECT_EQ(record(*shell)->detail, "git push");
    EXPECT_EQ(calls(),
              (std::vector<std::string>{"start make", "end make", "end git push", "end git status"}));
}

TEST_F(ZshTests, TheUsersOwnHooksNoticeNothing) {
    write(".zshrc", prompt + "precmd() { print -r -- own $?; remember }\nother() { print -r -- other $? }\n"
                             "precmd_functions=(settle other)\npreexec() { print -r -- before ${(q)1} }\n"
                             "zshexit() { print -r -- bye $? }\n");
    install();
    const auto shell = newShell();
    for (const auto& [command, status] : std::initializer_list<std::pair<std::string, std::string>>{
             {"true", "0"}, {"(exit 3)", "3"}, {"git push", "128"}, {"no-such-command", "127"}}) {
        shell->type(command + "\n");
        shell->waitFor("before ");
        shell->waitFor("own " + status);
        shell->waitFor("other " + status);
        shell->waitFor("@" + status + "@ ");
    }
    run(*shell, "", 127); // no command, no hook of ours that changes it
    shell->type("exit 5\n");
    shell->waitFor("bye");
    EXPECT_EQ(shell->finish(), 5);
    eventually([&] { return std::ranges::count(calls(), "end git push") == 1; });
}

TEST_F(ZshTests, EachShellHasASessionOfItsOwn) {
    install();
    for (const char* gate : {"gate1", "gate2"})
        ::mkfifo((home / gate).c_str(), 0600);
    const auto leaving = newShell(), first = newShell(), second = newShell(), third = newShell();
    leaving->type("exit\n"); // takes its start job along
    EXPECT_EQ(leaving->finish(), 0);
    first->type("cat gate1\n");
    second->type("cat gate2 missing\n");
    third->type("cat gate\n");
    for (const Terminal* shell : {first.get(), second.get(), third.get()})
        waitForState(*shell, SessionState::working);
    openGate("gate1");
    openGate("gate2");
    third->type("\x03");
    third->waitFor("@130@ ");
    waitForState(*first, SessionState::done);
    EXPECT_EQ(waitForState(*second, SessionState::failed).detail, "cat gate2 missing");
    EXPECT_EQ(waitForState(*third, SessionState::ended).summary, "exit 130");
    EXPECT_EQ(calls().size(), 6u);
}

TEST_F(ZshTests, ANewTabJustWorksUntilRemoved) {
    ::setenv("ZDOTDIR", (home / "z dot").c_str(), 1);
    write("z dot/.zshrc", contentOf(home / ".zshrc"));
    const auto island = [](const std::vector<std::string>& words) {
        std::vector<std::string> line{programPath("quorvik-island"), "shell"};
        line.insert(line.end(), words.begin(), words.end());
        EXPECT_EQ(Program::run(line).status, 0);
    };
    const std::string look = "print have$+functions[_quorvik_precmd]\n";
    const auto old = newShell();
    island({"install", "--min-seconds", "1", "--cli", tool.string()});
    const auto tab = newShell();
    tab->type("cat gate\n");
    waitForState(*tab, SessionState::working);
    openGate();
    tab->waitFor("@0@ ");
    waitForState(*tab, SessionState::done);

    island({"remove"});
    const auto later = newShell();
    for (const auto& [shell, answer] :
         {std::pair{old.get(), "have0"}, {tab.get(), "have1"}, {later.get(), "have0"}}) {
        shell->type(look);
        shell->waitFor(answer);
    }
    ::unsetenv("ZDOTDIR");
}

TEST_F(ZshTests, TheCommandLineArrivesAsTyped) {
    install();
    const auto shell = newShell();
    for (const std::string line : {
             R"(: 'a  b' "c $HOME \"d\"" $'e\tf\'g' \h\ i ${x:-'y z'} $(echo "(") `echo \`echo w\`` {1..3} )"
             R"(*.none(N) <<<'é' "--" -- =(true) && TOKEN=x cat gate)",
             "print -r -- 'one\n two' \\\nthree && cat gate",
         }) {
        const std::size_t before = calls().size();
        shell->type(line + "\n");
        EXPECT_EQ(waitForState(*shell, SessionState::working).summary, Redactor::redact(line));
        EXPECT_EQ(calls().size(), before + 1);
        EXPECT_EQ(calls().back(), "start " + line);
        openGate();
        shell->waitFor("@0@ ");
        waitForState(*shell, SessionState::done);
        EXPECT_EQ(calls().back(), "end " + line);
    }
}

TEST_F(ZshTests, AKilledShellLeavesNoSession) {
    install();
    const auto shell = newShell();
    shell->type("print st''arted; cat gate\n");
    shell->waitFor("started");
    shell->destroy();
    waitForCall("start print st''arted; cat gate"); // the start job has outlived its shell
    EXPECT_EQ(namesIn(sessions), std::vector<std::string>{});
}

} // namespace quorvik
