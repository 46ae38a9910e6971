#include "quorvik_island/Doctor/AppChecks.h"

#include "quorvik_island/ProgramPath.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/SignalStatus.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/LineSocket.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <system_error>

namespace quorvik::Doctor::AppChecks {

namespace {

constexpr const char* howToRestart = "quorvik-island restart";

void sockets(Findings& findings) {
    bool allAnswer = true;
    for (const auto& path : {QuorvikPaths::approvalSocket(), QuorvikPaths::alertSocket()}) {
        int error = 0;
        if (connectedSocket(path.string(), std::chrono::seconds(1), error)) continue;
        allAnswer = false;
        findings.bad("app.sockets",
                     "nobody answers at " + path.string() + ": " + std::generic_category().message(error),
                     howToRestart);
    }
    if (allAnswer) findings.well("app.sockets", "its sockets answer");
}

void signals(ControlClient& client, Findings& findings) {
    std::vector<SignalStatus> signals;
    const auto result = client.call("signals");
    RecordReader(result).required("signals", signals);
    std::vector<std::string> on;
    for (const SignalStatus& signal : signals) {
        if (signal.isOn && !signal.why.empty())
            findings.note("app.signals", "the signal " + signal.name + " is of no use: " + signal.why);
        else if (signal.isOn)
            on.push_back(signal.name);
    }
    findings.well("app.signals", on.empty() ? "no signals are at work" : "signals at work: " + listed(on));
}

/// What starts the app or the overlay with the user's session, if anything does.
void autostart(Autostart::What what, Findings& findings) {
    using Autostart::State;
    const bool isApp = what == Autostart::What::app;
    const std::string id = isApp ? "app.autostart" : "overlay.autostart";
    const char* const howToInstall =
        isApp ? "quorvik-island autostart install" : "quorvik-island autostart install --overlay";
    try {
        const auto manager = Platform::serviceManager();
        const std::string file = Autostart::file(manager, what).string();
        const std::string program = (isApp ? appProgram : overlayProgram).of({});
        switch (Autostart::state(manager, what, Autostart::Start::now(program))) {
        case State::installed:
            return findings.well(id, file + " starts " + (isApp ? "it" : "the overlay") + " with each login");
        case State::stale: return findings.warn(id, file + " is out of date", howToInstall);
        case State::switchedOff: return findings.note(id, file + " is switched off", howToInstall);
        case State::foreign:
        case State::notInstalled: return;
        }
    } catch (const std::exception& error) {
        findings.warn(id, error.what(), howToInstall);
    }
}

} // namespace

void run(Findings& findings) try {
    const std::string ownVersion(BuildInfo::version());
    autostart(Autostart::What::app, findings);
    autostart(Autostart::What::overlay, findings);
    ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
    const nlohmann::json status = client.call("status");
    const std::string version = status.value("version", "");
    const std::string words = "the app runs for " + age(dateFromSeconds(status.value("startedAt", 0.0)));
    if (version != ownVersion)
        findings.warn("app.running", words + " and is version " + version + ", not " + ownVersion,
                      howToRestart);
    else
        findings.well("app.running", words + ", version " + version);
    for (const auto& trouble : status.value("troubles", nlohmann::json::array()))
        if (trouble.is_string())
            findings.warn("app.troubles", "the app says: " + trouble.get<std::string>(),
                          "quorvik-island status says more");
    sockets(findings);
    signals(client, findings);
} catch (const NotRunning&) {
    findings.note("app.running", "the app does not run, so agents ask in their own interface",
                  "quorvik-island starts it; quorvik-island autostart install, with each login");
} catch (const std::exception& error) {
    findings.bad("app.running", error.what(), howToRestart);
}

} // namespace quorvik::Doctor::AppChecks
