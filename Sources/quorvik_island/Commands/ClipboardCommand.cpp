#include "quorvik_island/Commands/ClipboardCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::ClipboardCommand {

int run(const Arguments& arguments) {
    const std::string action = arguments.words.empty() ? "" : arguments.words.front();

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
