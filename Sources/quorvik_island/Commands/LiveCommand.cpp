#include "quorvik_island/Commands/LiveCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Commands/HooksCommand.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"
#include "quorvik_island/Terminal/LiveIsland.h"

#include "QuorvikCore/Agents/AgentDetection.h"
#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/Platform/Environment.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace quorvik::LiveCommand {

namespace {

bool isSet(const char* name) {
    return !Platform::environmentValue(name).empty();
}

std::vector<FoundAgent> findAgents() {
    std::vector<FoundAgent> agents;
    const std::string hook = hookProgram.of({});
    for (const Source source : AgentDetection::detected(QuorvikPaths::home())) {
        const auto target = HookTarget::target(source);
        if (!target) continue;
        const auto status = HookInstaller::status(*target, hook);
        using Kind = HookInstaller::Status::Kind;
        FoundAgent agent{.name = std::string(displayName(source)),
                         .isConnected = status.kind == Kind::installed};
        switch (status.kind) {
        case Kind::installed: agent.status = "connected"; break;
        case Kind::notInstalled: agent.status = "not connected"; break;
        case Kind::stale: agent.status = "connected with an older Quorvik"; break;
        case Kind::unreadable: agent.status = "its settings cannot be read: " + status.why; break;
        }
        agents.push_back(std::move(agent));
    }
    return agents;
}

void connectAgents() {
    try {
        HooksCommand::run({.words = {"install"}});
    } catch (const std::exception& error) {
        Console(false).fail(error.what());
    }
}

/// Runs `quorvik-island open` in a process of its own, since a pager takes the terminal. False when there was
/// nothing to open.
bool open(const std::string& key) {
    std::string program = Platform::runningProgram().string();
    std::vector<std::string> words = {program, "open", key};
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execv(program.c_str(), arguments.data());
        ::_exit(127);
    }
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && status == 0;
}

} // namespace

int run(const Arguments& arguments) {
    IslandServices services{.look = {.secrets = RequestCard::credentials, .home = Platform::homeFolder()},
                            .colours = !isSet("NO_COLOR"),
                            .findAgents = findAgents,
                            .connectAgents = connectAgents,
                            .open = open};
    if (arguments.has("--json-ui")) return LiveIsland::asJSON(services);
    if (arguments.has("--plain") || isSet("ACCESSIBLE")) return LiveIsland::inLines(services);
    const std::string terminal = Platform::environmentValue("TERM");
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0 || terminal.empty() ||
        terminal == "dumb") {
        Console(false).fail("this is no terminal to draw on; quorvik-island watch prints a line per change");
        return exitFailure;
    }
    return LiveIsland::onScreen(services);
}

} // namespace quorvik::LiveCommand
