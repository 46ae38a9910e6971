#include "QuorvikApp/Control/AppStarter.h"

#include "QuorvikApp/Control/BackgroundProgram.h"
#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

namespace quorvik::AppStarter {

namespace {

[[noreturn]] void fail(const std::string& why) {
    throw NoApp("could not start Quorvik: " + why);
}

} // namespace

bool isForbidden() {
    return Platform::environmentValue("QUORVIK_NO_START") == "1";
}

void start(std::chrono::duration<double> limit, Way way) {
    const auto manager = Platform::serviceManager();
    constexpr std::size_t mostOutput = 1 << 16; // bytes
    if (way == Way::asInstalled && Autostart::isInstalledHere(manager) &&
        Platform::programOutput(Autostart::startCommand(manager), mostOutput))
        return; // it is about to listen
    const std::filesystem::path self = Platform::runningProgram();
    if (self.empty()) fail("the system does not tell where this program is");
    const std::filesystem::path program =
        self.parent_path() / "quorvik-island"; // other front ends stand beside it
    std::string answer;
    try {
        answer = BackgroundProgram::start(
            {program, {"serve"}, BackgroundProgram::environment(), QuorvikPaths::appLog()}, limit);
    } catch (const BackgroundProgram::StartError& error) {
        fail(error.what());
    }
    if (answer != "ready" && answer != "running") fail(answer);
}

} // namespace quorvik::AppStarter
