#include "quorvik_island/Commands/ServeCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/AppStarter.h"
#include "QuorvikApp/Services/App.h"

#include "QuorvikCore/Text/Number.h"

#include <array>

namespace quorvik::ServeCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island serve

Runs the app in the foreground: what agents, commands and scripts report to. One runs per user; a second one
says so and ends. It logs to standard error, and ends on `quorvik-island stop`, SIGTERM or Ctrl-C; requests
that wait are then left to the agents.

There is seldom a need for it: the live island and `watch` start the app when there is none, and
`quorvik-island autostart install` starts it with your session.
)";

} // namespace

int run(std::span<const std::string> commandLine) {
    // "--detached" is how a front end starts it in the background.
    constexpr std::array<std::string_view, 1> options = {"--detached"};
    const Arguments arguments = Arguments::parse(commandLine, {}, options);
    if (arguments.has("--help")) return printHelp(help);
    arguments.expectAtMost(0, "serve");

    AppStarter::Readiness readiness;
    if (const auto given = arguments.values.find("--detached"); given != arguments.values.end()) {
        const auto descriptor = Number::integer<int>(given->second);
        if (!descriptor || *descriptor < 3) throw UsageError("serve: --detached needs a descriptor");
        readiness = AppStarter::detach(*descriptor);
    }
    Console console(false);
    try {
        if (App::run([&] { readiness.report("ready"); }) == App::Outcome::runsElsewhere) {
            readiness.report("running");
            if (readiness.descriptor < 0) console.note("Quorvik is running already");
        }
    } catch (const AppError& error) {
        readiness.report(error.what());
        console.fail(error.what());
    }
    return console.exitStatus();
}

} // namespace quorvik::ServeCommand
