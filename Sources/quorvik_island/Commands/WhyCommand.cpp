#include "quorvik_island/Commands/WhyCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::WhyCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island why [<key>]

Tells in words what is shown, in which place and by which rule, what is not and by which rule, and what
happened to a request: asked, answered by whom, withdrawn and why.

Takes the "id" of an item of `quorvik-island show --json`, or the id of a request; without one it tells about
everything.
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    const Arguments arguments = Arguments::parse(commandLine, {}, {});
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(1, "why");

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
