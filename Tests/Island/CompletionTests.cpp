#include "Tests/Support/RunningApp.h"
#include "Tests/Support/Terminal.h"

#include <chrono>
#include <csignal>

namespace quorvik {

using namespace testing;

/// Completion as people have it: each shell loads the scripts by itself from the folders in which they are
/// installed, and asks the real program, which asks the real app.
class CompletionTests : public AppTest {
  protected:
    using Words = std::vector<std::string>;

    CompletionTests() {
        const std::filesystem::path bin = std::filesystem::path(programPath("quorvik")).parent_path();
        share = (bin.parent_path() / "share").string();
        const std::string path = bin.string() + ":" + std::getenv("PATH");
        ::setenv("PATH", path.c_str(), 1);
        ::setenv("XDG_DATA_DIRS", (share + ":/usr/local/share:/usr/share").c_str(), 1);
        ::setenv("TERM", "xterm", 1);
        // Bash loads scripts by name where bash-completion is.
        write(".bashrc", "PS1='ready> '; HISTFILE=\nbind 'set enable-bracketed-paste off'\n"
                         "if [[ -r /usr/share/bash-completion/bash_completion ]]; then\n"
                         "  . /usr/share/bash-completion/bash_completion\nelse\n  for name in '" +
                             share + "'/bash-completion/completions/*; do . \"$name\"; done\nfi\n");
        write(".zshrc", "PS1='ready> '; fpath=('" + share +
                            "/zsh/site-functions' $fpath)\nautoload -Uz compinit && compinit -u -D\n"
                            "unsetopt prompt_cr prompt_sp; bindkey -e\n");
        write(".config/fish/config.fish", "function fish_prompt; echo 'ready> '; end; set fish_greeting\n");
    }

    std::unique_ptr<Terminal> newShell(const std::string& name) const {
        auto shell = std::make_unique<Terminal>(Words{name, "-i"}, [this] {
            if (::chdir(home.c_str()) != 0) ::_exit(125);
        });
        shell->resize(50, 150);
        shell->waitFor("ready> ");
        return shell;
    }

    /// A session whose title, or id, is a trap.
    void put(const std::string& id, const std::string& title) const {
        const nlohmann::json record{{"schemaVersion", 1}, {"source", "claude"},        {"sessionID", id},
                                    {"cwd", "/w"},        {"state", "working"},        {"title", title},
                                    {"stateSince", 1e9},  {"host", {{"tmux", false}}}, {"updatedAt", 4e9}};
        write("support/sessions/claude-" + std::to_string(count++) + ".json", record.dump());
    }

    std::string share;
    mutable int count = 0;
};

TEST_F(CompletionTests, EveryShellCompletesEveryKindOfWord) {
    startApp();
    put("s:1", R"($(touch pwned)`touch pwned`';touch pwned;"\n)"
               "\n\t: [x] \\ %F{red} \x1b[31m");
    put("$(touch pwned)", "a trap");
    ApprovalRequest request{.id = "r-42", .source = Source::claude, .sessionID = "s", .cwd = "/w"};
    request.tool = "Bash";
    request.summary = "$(touch pwned)";
    const auto answer = ask(request);
    write("some file.txt", "");
    EXPECT_EQ(Program::run({"quorvik", "alert", "--title", "x", "--id", "deploy:1"}).status, 0);

    for (const std::string name : {"bash", "zsh", "fish"}) {
        const auto shell = newShell(name);
        for (const auto& [line, words] : std::initializer_list<std::pair<std::string, Words>>{
                 {"quorvik-island ackn", {"quorvik-island", "acknowledge"}},
                 {"quorvik-island acknowledge claude-", {"acknowledge", "claude-s:1"}},
                 {"quorvik-island why 'claude-", {"why", "claude-s:1"}},
                 {"quorvik-island why claude-s:", {"why", "claude-s:1"}}, // bash: a word of its own
                 {"quorvik-island answer r", {"answer", "r-42"}},
                 {"quorvik-island answer r-42 den", {"r-42", "deny"}},
                 {"quorvik-island hooks inst", {"hooks", "install"}},
                 {"quorvik-island hooks install claude comm", {"claude", "commandcode"}},
                 {"quorvik-island hooks install --hook-path some", {"--hook-path", "some file.txt"}},
                 {"quorvik-island watch --format=pol", {"watch", "--format=polybar"}},
                 {"quorvik-island watch --format pol", {"--format", "polybar"}},
                 {"quorvik-island watch --fo", {"watch", "--format"}},
                 {"quorvik-island settings contai", {"settings", "containers"}},
                 {"quorvik-island settings git of", {"git", "off"}},
                 {"quorvik alert --lev", {"alert", "--level"}},
                 {"quorvik alert --id dep", {"--id", "deploy:1"}},
                 {"quorvik run -- quorvik-island ackn", {"--", "quorvik-island", "acknowledge"}},
                 {"quorvik-hook --source qw", {"--source", "qwen"}},
                 {"quorvik-account cl", {"quorvik-account", "claude"}}}) {
            if (line.starts_with("quorvik-account") &&
                !std::filesystem::exists(programPath("quorvik-account")))
                continue;
            std::string shown;
            for (const std::string& word : words)
                shown += "<" + word + ">";
            // The keys that follow are read when the shell has completed: what it then holds is printed.
            shell->type(line + "\t\x01printf '<%s>' \n");
            EXPECT_NO_FATAL_FAILURE(shell->waitFor(shown)) << name << ": " << line;
            shell->waitFor("ready> ");
        }
        shell->type("quorvik-island why \t\t"); // several fit: they are listed
        const std::string title = "CC working, $(touch pwned)`touch pwned`';touch pwned;\"";
        EXPECT_NO_FATAL_FAILURE(shell->waitFor(name == "bash" ? "claude-s:1" : title)) << name;
    }
    EXPECT_EQ(island({"answer", "r-42", "deny"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(home / "pwned"));
}

TEST_F(CompletionTests, AsksAtNoCostToWhoeverPressesTab) {
    const auto ask = [](const std::string& what) {
        const auto start = std::chrono::steady_clock::now();
        const Program::Result result = island({"complete", "zsh", "quorvik-island", what, ""});
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << what;
        return result;
    };
    const Program::Result nothing{0, "", ""};
    EXPECT_EQ(ask("open"), nothing); // no app
    EXPECT_FALSE(std::filesystem::exists(support / "app.lock"));
    startApp();
    put("s", "Title");
    EXPECT_TRUE(eventually([&] { return ask("open").output == "values\nclaude-s\tCC working, Title\n"; }));
    ::kill(app().pid(), SIGSTOP);
    EXPECT_EQ(ask("open"), nothing);
    EXPECT_EQ(ask("answer"), nothing);
    ::kill(app().pid(), SIGCONT);
    for (const Words& words : std::initializer_list<Words>{{},
                                                           {"zsh"},
                                                           {"tcsh", "quorvik-island", ""},
                                                           {"zsh", "ls", ""},
                                                           {"zsh", "quorvik-island", "lost", ""},
                                                           {"bash", "quorvik-island hooks '"},
                                                           {"fish", "quorvik-island", "show", "--json="},
                                                           {"--help"}}) {
        Words asked = {"complete"};
        asked.insert(asked.end(), words.begin(), words.end());
        EXPECT_EQ(island(asked), nothing) << ::testing::PrintToString(words);
    }
}

} // namespace quorvik
