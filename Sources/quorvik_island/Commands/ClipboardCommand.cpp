#include "quorvik_island/Commands/ClipboardCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::ClipboardCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island clipboard [copy|clear]

What Quorvik offers for what you have copied: a stack trace made short, JSON made readable, a colour in its
other forms. Without a word it is printed.

  copy    put it in the place of what you have copied
  clear   empty the clipboard: after a password, say

Off unless you switch it on, and only while the island is open somewhere:
  quorvik-island settings clipboard on
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(1, "clipboard");
    const std::string action = arguments.words.empty() ? "" : arguments.words.front();
    if (!action.empty() && action != "copy" && action != "clear")
        throw UsageError("clipboard: unknown action " + action);

    Console console(false);
    nlohmann::json parameters = nlohmann::json::object();
    if (!action.empty()) parameters["action"] = action;
    const auto result =
        ControlClient::connect("command", ControlClient::Start::never).call("clipboard", parameters);
    std::string lines;
    const std::string text = action.empty() ? result.value("text", "") : "";
    for (std::string_view rest = text; !rest.empty();)
        lines += Unicode::terminalLine(Unicode::takeLine(rest)) + "\n";
    console.text(lines);
    return console.exitStatus();
}

} // namespace quorvik::ClipboardCommand
