#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr ArgumentRow helpArguments[] = {
    {.name = "about",
     .summary = "a command, one of our programs, environment, files or statuses",
     .completes = Completes::command},
    {.name = "command", .summary = "of the program, as in `quorvik-island help quorvik run`"},
};

constexpr WordRow shells[] = {{"zsh", ""}, {"bash", ""}, {"fish", ""}};

constexpr ArgumentRow completionArguments[] = {
    {.name = "shell", .completes = Completes::words, .isRequired = true, .words = shells},
    {.name = "program",
     .summary = "for this program alone; else for all of ours",
     .completes = Completes::program},
};

constexpr ArgumentRow manArguments[] = {
    {.name = "program",
     .summary = "whose page; by default quorvik-island's",
     .completes = Completes::program},
};

constexpr CommandRow commands[] = {
    {.name = "help",
     .summary = "more about a command, or about the environment, files and exit statuses",
     .description =
         "Prints what a command does, its options, examples and exit statuses; or a page about all of them.",
     .arguments = helpArguments,
     .examples = R"(
  quorvik-island help hooks
  quorvik-island help environment
  quorvik-island help quorvik run
)"},
    {.name = "completion",
     .summary = "the script that completes our commands in your shell",
     .description = R"(
Prints a script for zsh, bash or fish that completes commands, options, agents, settings, and the keys and ids of what
the island shows just now. Packages bring it along. For an installation of your own, these lines load it:

  zsh    source <(quorvik-island completion zsh)     in ~/.zshrc, after compinit
  bash   source <(quorvik-island completion bash)    in ~/.bashrc
  fish   quorvik-island completion fish | source     in ~/.config/fish/config.fish
)",
     .arguments = completionArguments},
    {.name = "man",
     .summary = "the manual page of one of our programs",
     .description = "Prints the manual page's source.",
     .arguments = manArguments,
     .examples = R"(
  quorvik-island man quorvik > quorvik.1 && man ./quorvik.1
)"},
    {.name = "complete",
     .summary = "what the scripts of `completion` ask: `complete <shell> <word>…`",
     .isHidden = true,
     .takesRawWords = true},
};

} // namespace

GroupRow helping() {
    return {"Help", commands};
}

} // namespace quorvik::Rows
