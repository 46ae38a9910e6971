#include "quorvik_island/CommandLine/Rows.h"

namespace quorvik::Rows {

namespace {

constexpr WordRow decisions[] = {
    {"allow", "this once; of questions: here are the answers"},
    {"always", "this, and from now on what `requests` says that it grants"},
    {"deny", "no; --message tells the agent why"},
    {"ask", "the agent asks in its own interface"},
};

constexpr ArgumentRow answerArguments[] = {
    {.name = "id",
     .summary = "which request: `requests` tells",
     .completes = Completes::request,
     .isRequired = true},
    {.name = "decision", .completes = Completes::words, .isRequired = true, .words = decisions},
};

constexpr OptionRow answerOptions[] = {
    {.name = "--message", .summary = "why not; goes with deny", .value = "text"},
    {.name = "--choose",
     .summary = "an option of the question; several where it takes several",
     .value = "label",
     .isRepeated = true},
    {.name = "--text", .summary = "an answer in your own words", .value = "text", .isRepeated = true},
    {.name = "--next", .summary = "what follows answers the next question", .isRepeated = true},
};

constexpr StatusRow answerStatuses[] = {
    {"0", "the agent has been given the answer"},
    {"1", "the request is withdrawn, answered already, unknown, or takes no such answer"},
    {"3", "the command line makes no sense"},
};

constexpr ArgumentRow oneItem[] = {itemKey};

constexpr OptionRow acknowledgeOptions[] = {
    {.name = "--all", .summary = "everything that can be waved away"},
};

constexpr OptionRow pickOptions[] = {
    {.name = "--none", .summary = "the most urgent item is back in the notch"},
};

constexpr ArgumentRow openArguments[] = {
    {.name = itemKey.name, .summary = itemKey.summary, .completes = itemKey.completes, .isRequired = true},
};

constexpr OptionRow openOptions[] = {
    {.name = "--desktop",
     .summary = "for callers without a terminal: the log in the desktop's program for it"},
};

constexpr OptionRow clearOptions[] = {json("one object: \"removed\"")};

constexpr WordRow clipboardWords[] = {
    {"copy", "put it in the place of what you have copied"},
    {"clear", "empty the clipboard: after a password, say"},
};

constexpr ArgumentRow clipboardArguments[] = {
    {.name = "action", .completes = Completes::words, .words = clipboardWords},
};

constexpr CommandRow commands[] = {
    {.name = "answer",
     .summary = "allow what an agent asks, deny it, or answer its questions",
     .description = R"(
Answers what an agent asks. Questions are answered in their order, with --next between two of them. An agent cannot
answer, for itself or for another.
)",
     .arguments = answerArguments,
     .options = answerOptions,
     .usage = "<id> allow|always|deny|ask [--message <text>]\n<id> allow --choose <label>…|--text <text> "
              "[--next …]",
     .examples = R"(
  quorvik-island answer 3f2504e0 deny --message "not on a Friday"
  quorvik-island answer 9a0c0305 allow --choose Red --choose Green --next --text "small"
)",
     .statuses = answerStatuses},
    {.name = "acknowledge",
     .summary = "you have seen it",
     .description = R"(
You have seen it: the item leaves the island, and comes back when its state changes. What waits for an answer stays
until it has one. Prints how many items were acknowledged.
)",
     .arguments = oneItem,
     .options = acknowledgeOptions,
     .usage = "<key>|--all"},
    {.name = "pick",
     .summary = "keep it in front",
     .description = "Keeps an item in the notch, until its state changes or something more urgent comes up.",
     .arguments = oneItem,
     .options = pickOptions,
     .usage = "<key>|--none"},
    {.name = "open",
     .summary = "go to an item's terminal, log or page",
     .description = R"(
Goes to where an item comes from, to the first of these that is there:

  its terminal   a pane of tmux: it is selected, and shown here unless it is shown elsewhere
  its log        in $PAGER, by default less
  its page       a web address or file, in the program that the desktop has for it
)",
     .arguments = openArguments,
     .options = openOptions,
     .environment = "PAGER TMUX"},
    {.name = "clear",
     .summary = "forget what is over",
     .description = R"(
Removes the records of all sessions that are over: failed, done, ended, not yet begun, or of a process that is gone.
What is at work or waits for you stays, and so do the logs of commands. An agent whose last turn failed is back on
the island with its next event. Prints how many records were removed.
)",
     .options = clearOptions},
    {.name = "clipboard",
     .summary = "what can be done with what you have copied",
     .description = R"(
What Quorvik offers for what you have copied: a stack trace made short, JSON made readable, a colour in its other
forms. Without a word it is printed. Off unless you switch it on, and only while the island is open somewhere.
)",
     .arguments = clipboardArguments,
     .examples = R"(
  quorvik-island settings clipboard on
  quorvik-island clipboard copy
)"},
};

} // namespace

GroupRow answering() {
    return {"Answer and act", commands};
}

} // namespace quorvik::Rows
