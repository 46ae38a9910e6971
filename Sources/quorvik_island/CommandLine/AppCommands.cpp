#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr OptionRow serveOptions[] = {
    {.name = "--detached",
     .summary = "how a front end starts it in the background: the descriptor on which it reports",
     .value = "n",
     .isHidden = true},
};

constexpr StatusRow serveStatuses[] = {
    {"0", "it has ended as it was told to, or another runs already"},
    {"1", "it could not start; one line on standard error says why"},
    {"3", "the command line makes no sense"},
};

constexpr OptionRow statusOptions[] = {
    json("one object: \"running\"; when it does not run \"error\", else \"version\", \"program\", \"pid\", "
         "\"startedAt\", "
         "\"folder\", \"revision\", \"frontEnds\" (each \"role\", \"program\", \"pid\", \"since\"), "
         "\"requests\" (how many "
         "wait) and \"troubles\" (texts)"),
};

constexpr StatusRow runningStatuses[] = {
    {"0", "the app runs"},
    {"1", "no app runs"},
    {"3", "the command line makes no sense"},
};

constexpr StatusRow stopStatuses[] = {
    {"0", "it is gone"},
    {"1", "no app runs, or it does not end"},
    {"3", "the command line makes no sense"},
};

constexpr CommandRow commands[] = {
    {.name = "status",
     .summary = "whether the app runs, who is attached, what does not work",
     .description = R"(
Tells how the app is: since when it runs, who is attached, what waits, what does not work and why.
)",
     .options = statusOptions,
     .examples = R"(
  quorvik-island status --json | jq -r '.troubles[]?'
)",
     .statuses = runningStatuses},
    {.name = "serve",
     .summary = "run the app in the foreground",
     .description = R"(
Runs the app in the foreground: what agents, commands and scripts report to. One runs per user; a second one says so
and ends. It logs to standard error, and ends on `quorvik-island stop`, SIGTERM or Ctrl-C; requests that wait are then
left to the agents.

There is seldom a need for it: the live island and `watch` start the app when there is none, and `quorvik-island
autostart install` starts it with your session.
)",
     .options = serveOptions,
     .statuses = serveStatuses,
     .environment = "QUORVIK_HOME NOTIFY_SOCKET"},
    {.name = "stop",
     .summary = "end the app",
     .description = R"(
Ends the app, and waits until it is gone. Agents whose requests wait then ask in their own interface; nothing else is
lost. The live island and `watch` start no other app; those that you open from then on do.
)",
     .statuses = stopStatuses},
    {.name = "restart", .summary = "end the app and start it again", .description = R"(
Ends the app if it runs, and starts it; what is shown elsewhere attaches itself again. Agents whose requests wait then
ask in their own interface.
)"},
    {.name = "sync", .summary = "wait until the app has seen everything", .description = R"(
Waits until the app has seen and published everything that was caused before: records on disk, requests, alerts,
settings. For scripts, which need not sleep then. Prints nothing.
)"},
};

} // namespace

GroupRow theApp() {
    return {"The app, to which everything reports", commands};
}

} // namespace quorvik::Rows
