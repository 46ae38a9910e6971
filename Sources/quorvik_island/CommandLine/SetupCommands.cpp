#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr OptionRow hookPath = {
    .name = "--hook-path",
    .summary = "the hook program; by default the installed one, else the one beside this program",
    .value = "path",
    .completes = Completes::file};

constexpr WordRow hooksActions[] = {
    {"status", "one line per agent: its name, a tab, and how it stands"},
    {"install", "adds our hooks, or brings them up to date; your own stay"},
    {"uninstall", "takes our hooks out again"},
};

constexpr ArgumentRow hooksArguments[] = {
    {.name = "action", .completes = Completes::words, .isRequired = true, .words = hooksActions},
    {.name = "agent",
     .summary = "which agents; without names those that have a configuration folder in your home folder",
     .completes = Completes::agent,
     .isRepeated = true},
};

constexpr OptionRow hooksOptions[] = {
    {.name = "--all", .summary = "every agent, also those that were not found"},
    hookPath,
    json("one JSON array instead of lines"),
};

constexpr WordRow actions[] = {{"status", ""}, {"install", ""}, {"uninstall", ""}};
constexpr WordRow shellActions[] = {{"status", ""}, {"install", ""}, {"uninstall", ""}, {"remove", "", true}};

constexpr ArgumentRow oneAction[] = {
    {.name = "action", .completes = Completes::words, .isRequired = true, .words = actions},
};

constexpr ArgumentRow shellArguments[] = {
    {.name = "action", .completes = Completes::words, .isRequired = true, .words = shellActions},
};

constexpr OptionRow shellOptions[] = {
    {.name = "--min-seconds",
     .summary = "how long a command must take to be shown, 1 to 86400; 10 by default",
     .value = "n"},
    {.name = "--cli",
     .summary = "the program quorvik; by default the installed one, else the one beside this program",
     .value = "path",
     .completes = Completes::file},
    json("one JSON object instead of lines"),
};

constexpr OptionRow statusLineOptions[] = {hookPath, json("one JSON object instead of lines")};

constexpr OptionRow autostartOptions[] = {
    {.name = "--overlay",
     .summary = "with install the island at the top of the screen as well; with uninstall that alone"},
    {.name = "--program",
     .summary = "the app; by default the installed quorvik-island, else this program",
     .value = "path",
     .completes = Completes::file},
    json("one JSON object instead of lines"),
};

constexpr ArgumentRow settingsArguments[] = {
    {.name = "name", .summary = "of a setting; without one all are listed", .completes = Completes::setting},
    {.name = "value",
     .summary = "on or off, a number, or a list; what a setting takes is said when a value does not fit",
     .completes = Completes::settingValue},
};

constexpr ArgumentRow doctorArguments[] = {
    {.name = "agent", .summary = "only these", .completes = Completes::agent, .isRepeated = true},
};

constexpr OptionRow doctorOptions[] = {
    {.name = "--fix",
     .summary = "remove the temporary files that killed programs have left behind; changes nothing else"},
    json("one array of objects: \"id\", \"state\" (\"well\", \"note\", \"warn\", \"bad\"), \"words\", and "
         "\"advice\" if "
         "there is any"),
};

constexpr StatusRow doctorStatuses[] = {
    {"0", "all is well"},
    {"1", "something is to be done"},
    {"3", "the command line makes no sense"},
};

constexpr OptionRow updateOptions[] = {
    json("an array of objects: \"what\" was renewed, its \"file\" and \"backup\", or \"error\""),
};

constexpr OptionRow settingsOptions[] = {
    {.name = "--default", .summary = "back to the default"},
    json("one object: the settings and their values"),
};

constexpr OptionRow signalsOptions[] = {
    json("an array of objects: \"name\", \"on\", \"why\" (a text, empty when all is well), \"lastLook\" and "
         "\"nextLook\" "
         "(seconds since 1970; left out when there is none), \"looks\" and \"seconds\" (in the last hour)"),
};

constexpr CommandRow commands[] = {
    {.name = "hooks",
     .summary = "connect coding agents with Quorvik, or disconnect them",
     .description = R"(
Connects coding agents with Quorvik, through the hooks in their own settings. `hooks status` says how each stands:

  installed      up to date
  notInstalled   nothing of ours in the agent's settings
  stale          out of date, or the hook program is gone: install again
  unreadable: …  the settings cannot be read; they are left alone

Agents: claude codex grok commandcode devin qwen copilot pi kimi. Files are copied before they are changed; each run
says where to.
)",
     .arguments = hooksArguments,
     .options = hooksOptions,
     .examples = R"(
  quorvik-island hooks status
  quorvik-island hooks install claude codex
  quorvik-island hooks uninstall --all
)"},
    {.name = "shell",
     .summary = "let zsh report long commands",
     .description = R"(
Lets zsh tell Quorvik of commands that take long, and of git commands that fail. A marked block in your .zshrc loads a
script from Quorvik's folder; shells that you open from then on report.

Prints how things stand (after the change): "installed" or "notInstalled", then a line for everything that is not as
an install with the same options would leave it, and where the old .zshrc was copied to.
)",
     .arguments = shellArguments,
     .options = shellOptions,
     .examples = R"(
  quorvik-island shell install
  quorvik-island shell install --min-seconds 30
  quorvik-island shell uninstall
)",
     .environment = "ZDOTDIR"},
    {.name = "statusline",
     .summary = "let Quorvik draw Claude Code's status line",
     .description = R"(
Makes Quorvik the status line of Claude Code, through which it learns your usage limits. Your own status line is kept,
and comes back with uninstall.

Prints how things stand (after the change): "on", "off", or "unreadable: …" when Claude Code's settings cannot be read;
they are then left alone. More lines say where the old settings were copied to, and where your own status line is when
it could not be put back.
)",
     .arguments = oneAction,
     .options = statusLineOptions,
     .examples = R"(
  quorvik-island statusline install
  quorvik-island statusline status --json
)"},
    {.name = "autostart",
     .summary = "start the app, and the overlay, with your session",
     .description = R"(
Lets the app start with your session, by a unit for systemd or an agent for launchd. Without it the app is started by
the first live island or `watch`. With --overlay also the island at the top of the screen, by an entry for your desktop
or another agent for launchd.

Prints how things stand (after the change), and where the file is:

  installed      up to date
  notInstalled   nothing of ours is there
  stale          edited, of another version, or the program is gone: install again
  switchedOff    you have told systemd or your desktop not to start it
  foreign        there is a file of that name that is not ours; it is left alone

Lines about the overlay begin with "overlay: ". Without --overlay, uninstall takes both away.

A file of ours that was edited is copied before it is changed. What runs now goes on.
)",
     .arguments = oneAction,
     .options = autostartOptions,
     .examples = R"(
  quorvik-island autostart install
  systemctl --user start quorvik      not only with the next session, but now
  quorvik-island autostart install --overlay
)",
     .environment = "QUORVIK_HOME PATH XDG_CONFIG_HOME"},
    {.name = "doctor",
     .summary = "prove that everything works, or tell what to do",
     .description = R"(
Looks at everything that Quorvik needs, and proves that it works: the programs and their folder, each coding agent that
is here, zsh, tmux and the app. Of an agent, the very command line in its settings is run as the agent would, with an
event of our own and in a folder of its own, and must report.

One line for each check, with what to do below it where something is to be done:

  ✓ well   – worth knowing   ! does not work as it should   ✗ does not work
)",
     .arguments = doctorArguments,
     .options = doctorOptions,
     .examples = R"(
  quorvik-island doctor
  quorvik-island doctor codex
  quorvik-island doctor --json | jq -r '.[] | select(.state == "bad") | .words'
)",
     .statuses = doctorStatuses},
    {.name = "update",
     .summary = "renew what an older version has left",
     .description = R"(
Brings up to date what another version of Quorvik, or one that stood elsewhere, has left: hooks in agents' settings, the
status line, the script for zsh, what starts the app and the overlay, and the app itself while no request waits. What was never
installed stays so. Files are copied before they are changed; each line says what was renewed and where to it was copied.
)",
     .options = updateOptions,
     .examples = R"(
  quorvik-island update      after each upgrade of the package
)"},
    {.name = "settings",
     .summary = "your choices",
     .description = R"(
Your choices. Without words it lists them all, a line each, with tabs between the name, the value and what it means;
with a name it prints that value. With a value too it changes the setting, which a running app takes over at once.

The file is settings.json in Quorvik's folder. What is wrong with it is said on standard error, and changes nothing
else: the rest of the file holds.
)",
     .arguments = settingsArguments,
     .options = settingsOptions,
     .usage = "[<name> [<value>|--default]] [--json]",
     .examples = R"(
  quorvik-island settings
  quorvik-island settings doneLinger 10
  quorvik-island settings notifications off
  quorvik-island settings services "3000, docker:my-db"
)"},
    {.name = "signals",
     .summary = "what the app looks at by itself, and what that costs",
     .description = R"(
Tells for each of the developer's tools that the app looks at by itself: whether that is on, why it is off or of no
use, when the app has looked and when it will look again, and what the looks of the last hour took. A signal is
switched by the setting of its name.
)",
     .options = signalsOptions,
     .examples = R"(
  quorvik-island settings containers off
  quorvik-island settings services "3000, docker:my-db"
)"},
};

} // namespace

GroupRow settingUp() {
    return {"Connect and choose", commands};
}

} // namespace quorvik::Rows
