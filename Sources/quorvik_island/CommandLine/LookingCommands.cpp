#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr OptionRow showOptions[] = {
    json("one object: \"primary\" (null when there is nothing to show), \"bubbles\" and \"overflow\", each "
         "item with "
         "\"id\", \"display\", \"quiet\", \"needsAttention\", \"mark\", \"label\", and \"record\", the "
         "session record; "
         "and, instead of standard error, the paths of unreadable files, \"corrupt\" and \"unsupported\" (of "
         "another "
         "version). With \"requests\", \"alerts\", \"revision\" and more, as the app publishes them"),
};

constexpr WordRow barWords[] = {{"plain", "the default"}, {"waybar", ""},     {"i3blocks", ""},
                                {"polybar", ""},          {"sketchybar", ""}, {"tmux", ""}};

constexpr OptionRow watchOptions[] = {
    {.name = "--format",
     .summary = "a line as that bar takes it, in which texts of agents do nothing but be shown: plain (the "
                "default), "
                "waybar, i3blocks, polybar, sketchybar or tmux",
     .value = "bar",
     .completes = Completes::words,
     .words = barWords},
    json("one object a line: all of `show --json`, with \"requests\", \"alerts\" and \"revision\""),
};

constexpr WordRow overlayWords[] = {{"stop", "end the overlay that runs"}};

constexpr ArgumentRow overlayArguments[] = {
    {.name = "action", .completes = Completes::words, .words = overlayWords},
};

constexpr OptionRow overlayOptions[] = {
    {.name = "--foreground", .summary = "run it here, and let it say here what it has to say"},
    {.name = "--doctor", .summary = "tell what it needs of the desktop, and what is missing"},
    {.name = "--program",
     .summary = "the overlay program; by default the installed one, else the one beside this program",
     .value = "path",
     .completes = Completes::file},
};

constexpr ArgumentRow requestsArguments[] = {
    {.name = "id", .summary = "of one request: all of it is printed", .completes = Completes::request},
};

constexpr OptionRow requestsOptions[] = {
    {.name = "--show-hidden", .summary = "credentials too, of one request"},
    json("one array: the requests as the hooks sent them, with \"receivedAt\", in seconds since 1970"),
};

constexpr WordRow alertsWords[] = {
    {"pause", "take no alerts for so many minutes; the sender is told that they are switched off"},
    {"resume", "take alerts again"},
};

constexpr ArgumentRow alertsArguments[] = {
    {.name = "action", .completes = Completes::words, .words = alertsWords},
    {.name = "minutes", .summary = "how long the pause is, 1 to 1440; 60 by default"},
};

constexpr OptionRow alertsOptions[] = {
    json("one array: the alerts as they were sent, with \"key\" and \"receivedAt\", in seconds since 1970; "
         "of pause and resume one object, with \"until\" as long as alerts are paused"),
};

constexpr ArgumentRow whyArguments[] = {
    {.name = "key",
     .summary = "the \"id\" of an item of `show --json`, or the id of a request; without one it tells about "
                "everything",
     .completes = Completes::itemOrRequest},
};

constexpr OptionRow usageOptions[] = {
    json("one array: of each limit \"id\", \"agent\", \"minutes\" (its length), \"usedPercent\", "
         "\"resetsAt\" and "
         "\"toldAt\" (both in seconds since 1970), \"isCurrent\", and \"stage\" (0, 80, 95 or 100)"),
};

constexpr CommandRow commands[] = {
    {.name = "show",
     .summary = "what the island shows now",
     .description = R"(
Prints what the island shows: a line each, the most urgent first.

  ◆ CC   awaiting     2 min  Fix the login bug  Bash npm install

"◆" stands before the item in the notch itself, "•" before those beside it, nothing before those that do not fit
there. Then who it is, its state, for how long, the task or tool, and what is happening. A terminal that is wide
enough also shows where the output of a failed command is. Prints nothing when there is nothing to show.

Sessions whose process is gone count as ended. What failed is shown until somebody has seen it: `quorvik-island
acknowledge` says so, `quorvik-island clear` forgets it. Files that hold no readable record are named on standard
error. Without the app it prints the same, but no alerts.
)",
     .options = showOptions,
     .examples = R"help(
  quorvik-island show
  quorvik-island show --json | jq -r '.primary.label // empty'
)help",
     .environment = "NO_COLOR TERM COLUMNS"},
    {.name = "watch",
     .summary = "a line for every change, for status bars and scripts",
     .description = R"(
Prints what the island shows, a line for every change and the first at once, until its reader goes away. Starts the
app if need be. When the app ends, a line with an empty text is printed; `watch` goes on with the next app, but
starts none itself.
)",
     .options = watchOptions,
     .examples = R"help(
  Waybar      "custom/quorvik": { "exec": "quorvik-island watch --format waybar",
                "return-type": "json" }
  i3blocks    [quorvik]
              command=quorvik-island watch --format i3blocks
              interval=persist
              format=json
  polybar     [module/quorvik]
              type = custom/script
              exec = quorvik-island watch --format polybar
              tail = true
  SketchyBar  quorvik-island watch --format sketchybar | while IFS= read -r line; do
                sketchybar --set quorvik label="$line"; done &
  tmux        set -g status-right "#(quorvik-island watch --format tmux)"
)help",
     .environment = "QUORVIK_NO_START"},
    {.name = "overlay",
     .summary = "the island at the top of the screen",
     .description = R"(
Starts the island at the top of the screen, in the background; one runs per user, and a second one says so. It starts
the app when that does not run, and attaches itself again when that is started again. What it has to say goes to
overlay.log in Quorvik's folder. `quorvik-island autostart install --overlay` starts it with your session.
)",
     .arguments = overlayArguments,
     .options = overlayOptions,
     .usage = "[--foreground] [--program <path>]\nstop\n--doctor [--program <path>]",
     .environment = "QUORVIK_HOME QUORVIK_NO_START DISPLAY WAYLAND_DISPLAY"},
    {.name = "requests",
     .summary = "what agents wait for",
     .description = R"(
Prints what agents wait for, the oldest first: a line each, with tabs between

  its id, which `quorvik-island answer` takes
  the agent's mark
  how long it has waited
  the tool and its most telling argument, secrets masked; of questions the number too
  what "always" would grant, where that is offered

An answer is decided upon more than this line. With an id it prints all of that request: the whole input (a command,
an edit as lines with "-" and "+", else JSON), the questions with their options, and what "always" would grant.
Characters that deceive the eye are escapes there, and credentials are hidden, except where a shell would run
something.
)",
     .arguments = requestsArguments,
     .options = requestsOptions,
     .usage = "[--json]\n<id> [--show-hidden]",
     .examples = R"help(
  quorvik-island requests --json | jq -r '.[] | .id, .input'
  quorvik-island answer "$(quorvik-island requests | head -n 1 | cut -f 1)" deny
)help"},
    {.name = "alerts",
     .summary = "the alerts that are shown; take none for a while",
     .description = R"(
Prints the alerts that are shown, the oldest first: a line each, with tabs between its key, its level (info, action
or fail), its age, its title and its text. `acknowledge`, `pick`, `open` and `why` take the key.

With pause, no further alerts are taken for a while, also when the app is started again meanwhile; what is shown stays.
Prints when the pause is over. To take none at all: `quorvik-island settings alerts off`.
)",
     .arguments = alertsArguments,
     .options = alertsOptions,
     .usage = "[--json]\npause [<minutes>] [--json]\nresume [--json]",
     .examples = R"(
  quorvik-island alerts pause 90
)"},
    {.name = "why",
     .summary = "why something is shown, or is not",
     .description = R"(
Tells in words what is shown, in which place and by which rule, what is not and by which rule, and what happened to a
request: asked, answered by whom, withdrawn and why.
)",
     .arguments = whyArguments},
    {.name = "usage",
     .summary = "how much of your agents' limits is used",
     .description = R"(
Prints the rate limits of your agents' accounts, a line each: how much is used, when it starts afresh, and whether
that is from the agent (of the last five minutes) or from an earlier time. Works without the app, and asks nobody:
Claude Code's figures come from its status line (see `quorvik-island statusline`), Codex's from its own notes of its
sessions.
)",
     .options = usageOptions,
     .examples = R"help(
  quorvik-island usage --json | jq -r '.[] | "\(.id) \(.usedPercent) %"'
)help",
     .environment = "NO_COLOR TERM COLUMNS CODEX_HOME"},
};

} // namespace

GroupRow looking() {
    return {"See what goes on", commands};
}

} // namespace quorvik::Rows
