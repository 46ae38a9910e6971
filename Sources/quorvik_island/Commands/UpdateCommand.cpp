#include "quorvik_island/Commands/UpdateCommand.h"

#include "quorvik_island/Commands/AutostartCommand.h"
#include "quorvik_island/Commands/HooksCommand.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Control/Version.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Install/StatusLineInstaller.h"
#include "QuorvikCore/Platform/BuildInfo.h"

#include <functional>
#include <optional>
#include <string>

namespace quorvik::UpdateCommand {

namespace {

/// One run. Whatever is up to date, or was never installed, is passed over without a word.
class Update {
  public:
    Update(const Arguments& arguments, Console& console) : arguments_(arguments), console_(console) {}

    void hooks() {
        for (const Source source : agentSources()) {
            const auto target = HookTarget::target(source);
            if (!target) continue;
            const auto status = HookInstaller::status(*target, hook_);
            if (status.kind == HookInstaller::Status::Kind::unreadable)
                failed(std::string(rawValue(source)), "settings cannot be read: " + status.why);
            if (status.kind != HookInstaller::Status::Kind::stale) continue;
            tryTo(std::string(rawValue(source)), [&](nlohmann::json& result) {
                HooksCommand::install(*target, runnableHook(), console_, result);
            });
        }
    }

    void statusLine() {
        const HookTarget target = HookTarget::claude();
        if (StatusLineInstaller::status(target).kind != StatusLineInstaller::Status::Kind::on ||
            StatusLineInstaller::isCurrent(target, hook_))
            return;
        tryTo("statusline", [&](nlohmann::json& result) {
            report("statusline", target.fileURL,
                   StatusLineInstaller::install(target, runnableHook(), StatusLineInstaller::originalFile()),
                   result);
        });
    }

    void shell() {
        const auto rc = ShellIntegration::zshrcURL(), script = ShellIntegration::scriptURL();
        tryTo("shell", [&](nlohmann::json& result) {
            const int minimum =
                ShellIntegration::installedMinimum(script).value_or(ShellIntegration::defaultMinimum);
            const auto status = ShellIntegration::status(commandLineTool.of(arguments_), minimum, rc, script);
            if (!status.installed || status.differences.empty()) return;
            const std::string program = commandLineTool.runnableOf(arguments_, console_);
            const auto edited = UserFileEdit::read(script);
            EditOutcome done;
            if (edited && *edited != ShellIntegration::script(program, minimum)) {
                done.changed = true;
                done.backup = Backups::save(script.filename().string(), *edited);
            }
            // A block of another support folder loads a script that nobody renews.
            if (!ShellIntegration::loads(rc, script)) ShellIntegration::remove(rc, script);
            ShellIntegration::install(program, minimum, rc, script);
            report("shell", script, done, result);
        });
    }

    void autostart(Autostart::What what) {
        const std::string name = what == Autostart::What::app ? "autostart" : "overlay";
        tryTo(name, [&](nlohmann::json& result) {
            if (AutostartCommand::state(what, arguments_) != Autostart::State::stale) return;
            report(name, Autostart::file(Platform::serviceManager(), what),
                   AutostartCommand::install(what, arguments_, console_), result);
        });
    }

    void app() {
        tryTo("app", [&](nlohmann::json& result) {
            std::string version;
            try {
                version = ControlClient::connect("command", ControlClient::Start::never)
                              .hello()
                              .value("version", "");
            } catch (const NotRunning&) {
                return;
            }
            if (!Version::isOlder(version, BuildInfo::version())) return;
            ControlClient::connect("command", ControlClient::Start::ifMissing);
            result["replaced"] = version;
            console_.line("app: version " + version + " replaced by " + std::string(BuildInfo::version()));
        });
    }

    void finish() {
        if (results_.empty()) console_.line("everything is up to date");
        console_.value(results_);
    }

  private:
    /// Looked for, and warned about, once.
    const std::string& runnableHook() {
        if (!runnableHook_) runnableHook_ = hookProgram.runnableOf(arguments_, console_);
        return *runnableHook_;
    }

    void tryTo(const std::string& what, const std::function<void(nlohmann::json& result)>& renew) {
        nlohmann::json result = nlohmann::json::object();
        try {
            renew(result);
        } catch (const std::exception& error) {
            return failed(what, error.what());
        }
        if (result.empty()) return;
        result["what"] = what;
        results_.push_back(std::move(result));
    }

    void report(const std::string& what, const std::filesystem::path& file, const EditOutcome& done,
                nlohmann::json& result) {
        result["file"] = file.string();
        console_.line(what + ": renewed in " + file.string());
        if (!done.backup) return;
        result["backup"] = done.backup->string();
        console_.line(what + ": backup in " + done.backup->string());
    }

    void failed(const std::string& what, const std::string& why) {
        console_.fail(what + ": " + why);
        results_.push_back({{"what", what}, {"error", why}});
    }

    const Arguments& arguments_;
    Console& console_;
    const std::string hook_ = hookProgram.of(arguments_);
    std::optional<std::string> runnableHook_;
    nlohmann::json results_ = nlohmann::json::array();
};

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    Update update(arguments, console);
    update.hooks();
    update.statusLine();
    update.shell();
    update.autostart(Autostart::What::app);
    update.autostart(Autostart::What::overlay);
    update.app();
    update.finish();
    return console.exitStatus();
}

} // namespace quorvik::UpdateCommand
