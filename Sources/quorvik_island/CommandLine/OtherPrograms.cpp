#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr OptionRow version = {.name = "--version", .summary = "the program's version, commit and system"};

constexpr ArgumentRow runArguments[] = {
    {.name = "command",
     .summary = "with its arguments",
     .completes = Completes::commandLine,
     .isRequired = true,
     .isRepeated = true},
};

constexpr WordRow levels[] = {{"info", "the default"}, {"action", ""}, {"fail", ""}};

constexpr OptionRow alertOptions[] = {
    {.name = "--title", .summary = "1 to 16 characters; an alert needs one", .value = "text"},
    {.name = "--body", .summary = "up to 80 characters", .value = "text"},
    {.name = "--level",
     .summary = "info (the default), action or fail",
     .value = "level",
     .completes = Completes::words,
     .words = levels},
    {.name = "--open",
     .summary = "the file that a click opens, in your home folder or /tmp",
     .value = "path",
     .completes = Completes::file},
    {.name = "--id",
     .summary = "an alert of the same id is replaced",
     .value = "id",
     .completes = Completes::alert},
    {.name = "--ttl",
     .summary = "how long it may stay, up to 86400; 0: as long as the app thinks fit",
     .value = "seconds"},
};

constexpr WordRow shellEvents[] = {{"start", ""}, {"end", ""}};

constexpr ArgumentRow shellArguments[] = {
    {.name = "event", .completes = Completes::words, .isRequired = true, .words = shellEvents},
};

constexpr StatusRow runStatuses[] = {
    {"127", "the command could not be started"},
    {"3", "no command was given"},
    {"other", "the command's own status, or 128 + the number of the signal that killed it"},
};

constexpr StatusRow alertStatuses[] = {
    {"0", "shown"},
    {"1", "the app is not running"},
    {"2", "alerts are switched off in the app"},
    {"3", "refused: the text says why"},
    {"4", "sending failed"},
};

constexpr StatusRow shellStatuses[] = {{"0", "always: a prompt must not suffer"}};

constexpr CommandRow quorvikCommands[] = {
    {.name = "run",
     .summary = "supervise a command, and show it while it runs and when it fails",
     .description = R"(
Runs the command as if nothing were there: output, exit status, signals, Ctrl-C. (Its output does become a pipe: a tool
that colours or draws progress bars on terminals only must be told to, as with `--color=always`.) Meanwhile the island
shows it, and when it fails, the line that says why. Its whole output is kept for a week.
)",
     .arguments = runArguments,
     .usage = "-- <command> [args…]",
     .examples = R"(
  quorvik run -- make -j8
)",
     .statuses = runStatuses},
    {.name = "alert",
     .summary = "show a short message",
     .description = "Puts a message into the island, as long as the app is running. Silent when it is shown.",
     .options = alertOptions,
     .usage = "--title <text> [--body <text>] [--level info|action|fail] [--open <path>] [--id <id>] [--ttl "
              "<seconds>]",
     .examples = R"(
  quorvik alert --title "Deploy done" --body "production, 2 minutes" --open /tmp/deploy.log
)",
     .statuses = alertStatuses},
    {.name = "shell",
     .summary = "be told of a long shell command: run by the script of `quorvik-island shell install`",
     .arguments = shellArguments,
     .usage = "start|end [--<name> <value>…] [-- <command line>]",
     .statuses = shellStatuses,
     .isHidden = true},
};

constexpr GroupRow quorvikGroups[] = {{"Commands", quorvikCommands}};

constexpr OptionRow programOptions[] = {version};

constexpr StatusRow quorvikStatuses[] = {
    {"0", "alert shown; supervised command succeeded"},
    {"1", "`alert`: the app is not running"},
    {"2", "`alert`: alerts are switched off in the app"},
    {"3", "usage error; alert refused"},
    {"4", "`alert`: sending failed"},
    {"127", "`run`: the command could not be started"},
    {"other", "`run`: the command's own status, or 128 + the number of the signal that killed it"},
};

constexpr OptionRow hookOptions[] = {
    {.name = "--source",
     .summary = "the agent whose event it is",
     .value = "agent",
     .completes = Completes::agent},
    {.name = "--ppid",
     .summary = "the agent's process; by default the one that runs the hook",
     .value = "pid"},
    {.name = "--statusline", .summary = "draw Claude Code's status line instead"},
    version,
};

constexpr StatusRow hookStatuses[] = {{"0", "always: an agent must not suffer from it"}};

constexpr WordRow accounts[] = {{"claude", ""}, {"grok", ""}};

constexpr ArgumentRow accountArguments[] = {
    {.name = "agent", .completes = Completes::words, .isRequired = true, .words = accounts},
    {.name = "host", .summary = "whom to ask, \"api.example.org\"", .isRequired = true},
    {.name = "file", .summary = "with the token, for grok", .completes = Completes::file},
};

constexpr OptionRow accountOptions[] = {
    {.name = "--seconds", .summary = "how long all of it may take: 1 to 60, by default 4", .value = "n"},
    version,
};

constexpr OptionRow overlayOptions[] = {
    {.name = "--doctor",
     .summary =
         "tell which screen and which of Qt's platforms it uses, and what is missing; opens no window"},
    {.name = "--detached",
     .summary = "how it is started in the background: the descriptor on which it reports",
     .value = "n",
     .isHidden = true},
    {.name = "--reports-to",
     .summary = "the same, once it has left its starter",
     .value = "n",
     .isHidden = true},
    version,
};

constexpr StatusRow overlayStatuses[] = {
    {"0", "it has ended as it was told to, or another runs already"},
    {"1", "it could not start; one line on standard error says why"},
    {"3", "the command line makes no sense"},
};

} // namespace

ProgramRow quorvik() {
    return {.name = "quorvik",
            .summary = "show commands and messages in the island",
            .self = {.name = "quorvik",
                     .description = R"(
Lets terminals and scripts tell what they do. `quorvik run` supervises a command, `quorvik alert` shows a short
message. Everything it has to say goes to standard error, after "quorvik: "; standard output belongs to the supervised
command.
)",
                     .options = programOptions,
                     .usage = "run -- <command> [args…]\nalert --title <text> [<option>…]\n--version",
                     .statuses = quorvikStatuses,
                     .environment = "QUORVIK_HOME"},
            .groups = quorvikGroups,
            .seeAlso = "quorvik-island(1)"};
}

ProgramRow hook() {
    return {.name = "quorvik-hook",
            .summary = "tell Quorvik what a coding agent does",
            .self = {.name = "quorvik-hook",
                     .description = R"(
Run by coding agents before and after every tool call, as `quorvik-island hooks install` writes it into their settings.
It reads the event from standard input and keeps a session record. A permission request or question is put to the app,
and the answer printed for the agent. Whatever happens, it prints nothing else.
)",
                     .options = hookOptions,
                     .usage = "--source <agent> [--ppid <pid>]\n--statusline\n--version",
                     .statuses = hookStatuses,
                     .environment = "QUORVIK_HOME DEVIN_PROJECT_DIR COPILOT_ALLOW_ALL"},
            .seeAlso = "quorvik-island(1)"};
}

ProgramRow account() {
    return {.name = "quorvik-account",
            .summary = "ask how much of an agent's limits is used",
            .self = {.name = "quorvik-account",
                     .description = R"(
Asks the service of an agent's account how much of its limits is used, and keeps the answer for `quorvik-island usage`.
Claude's login is that of Claude Code. It is sent to the host that you name, over https, and nowhere else.

Prints one JSON object: "failure", why there are no new figures, and "retryAfter", the seconds for which the service
wants to be left alone, each when there is one. The app runs it once `quorvik-island settings accounts on` is done.
)",
                     .arguments = accountArguments,
                     .options = accountOptions,
                     .usage = "[--seconds <n>] claude <host>\n[--seconds <n>] grok <host> <file>\n--version",
                     .environment = "QUORVIK_HOME"},
            .seeAlso = "quorvik-island(1)"};
}

ProgramRow overlay() {
    return {.name = "quorvik-overlay",
            .summary = "the island at the top of the screen",
            .self = {.name = "quorvik-overlay",
                     .description = R"(
The island at the top of the screen: what goes on, and what waits for your answer. It never takes the focus by itself.
`quorvik-island overlay` starts it in the background, `quorvik-island autostart install --overlay` with your session.
One runs per user; a second one says so and ends.
)",
                     .options = overlayOptions,
                     .usage = "[--doctor]\n--version",
                     .statuses = overlayStatuses,
                     .environment = "QUORVIK_HOME QUORVIK_NO_START DISPLAY WAYLAND_DISPLAY"},
            .seeAlso = "quorvik-island(1)"};
}

} // namespace quorvik::Rows
