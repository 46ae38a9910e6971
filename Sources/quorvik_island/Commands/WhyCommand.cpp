#include "quorvik_island/Commands/WhyCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::WhyCommand {

int run(const Arguments& arguments) {
    Console console(false);
    nlohmann::json parameters = nlohmann::json::object();
    if (!arguments.words.empty()) parameters["key"] = arguments.words.front();
    const auto result =
        ControlClient::connect("command", ControlClient::Start::never).call("why", parameters);
    std::string lines;
    for (const auto& line : result.value("lines", nlohmann::json::array()))
        if (line.is_string()) lines += Unicode::terminalLine(line.get<std::string>()) + "\n";
    console.text(lines);
    return console.exitStatus();
}

} // namespace quorvik::WhyCommand
