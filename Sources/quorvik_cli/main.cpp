#include "quorvik_cli/Diagnostics.h"
#include "quorvik_cli/RunCommand.h"
#include "quorvik_cli/ShellCommand.h"

#include "QuorvikCore/Alerts/AlertClient.h"
#include "QuorvikCore/Alerts/AlertValidator.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <csignal>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace quorvik {

namespace {

int alert(std::span<const std::string> words) {
    constexpr std::chrono::seconds patience(3);
    try {
        const AlertRequest request = AlertValidator::make(words, QuorvikPaths::home().string());
        const AlertOutcome outcome =
            AlertClient::send(request, QuorvikPaths::alertSocket().string(), patience);
        if (outcome.kind != AlertOutcome::Kind::shown) say(outcome.message());
        return outcome.exitCode();
    } catch (const AlertRejection& rejection) {
        say("refused: " + std::string(rejection.what()));
        return exitUsage;
    }
}

int dispatch(std::vector<std::string> words) {
    if (words.empty()) return usage();
    const std::string name = words.front();
    words.erase(words.begin());
    if (name == "shell") {
        ShellCommand::runShellEvent(words);
        return exitSuccess; // whatever it was told, a prompt must not suffer
    }
    if (name == "alert") return alert(words);
    if (name == "--version" && words.empty()) return BuildInfo::print("quorvik");
    if (name != "run") return usage();
    if (!words.empty() && words.front() == "--") words.erase(words.begin());
    return words.empty() ? usage() : RunCommand::run(words);
}

} // namespace

} // namespace quorvik

int main(int argc, char** argv) {
    quorvik::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away is an error of one write, not our end
    std::_Exit(quorvik::dispatch(std::vector<std::string>(argv + std::min(argc, 1), argv + argc)));
}
