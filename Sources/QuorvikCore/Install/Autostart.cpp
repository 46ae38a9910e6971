#include "QuorvikCore/Install/Autostart.h"

#include "QuorvikCore/Install/AutostartText.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <unistd.h>

namespace quorvik::Autostart {

namespace {

constexpr std::string_view unitName = "quorvik.service", entryName = "quorvik-overlay.desktop";

bool isOurs(std::string_view content) {
    return content.find(marker) != content.npos;
}

bool leadsTo(const Path& link, const Path& file) {
    std::error_code none;
    return std::filesystem::read_symlink(link, none) == file && !none;
}

/// systemd goes by the link's name alone: one that leads to a package's unit of that name will do.
bool isLinked(const Path& link) {
    std::error_code none;
    return link.empty() || std::filesystem::is_symlink(link, none);
}

/// As desktops write into an entry when they are told to start it no more.
bool isSwitchedOff(const std::string& content) {
    const std::string lines = content + "\n"; // the last one may have no end
    return lines.find("\nHidden=true\n") != lines.npos ||
           lines.find("\nX-GNOME-Autostart-enabled=false\n") != lines.npos;
}

void makeLink(const Path& link, const Path& file) {
    if (isLinked(link)) return;
    Files::createPrivateFolder(link.parent_path());
    if (::symlink(file.c_str(), link.c_str()) != 0) throw FileError("create", link, errno);
}

} // namespace

Start Start::now(std::string program) {
    Start start;
    start.program = std::move(program);
    if (!Platform::environmentValue("QUORVIK_HOME").empty())
        start.supportFolder = QuorvikPaths::supportDirectory().string();
    start.searchPath = Platform::environmentValue("PATH");
    return start;
}

Path file(ServiceManager manager, What what) {
    if (manager == ServiceManager::launchd)
        return QuorvikPaths::home() / "Library/LaunchAgents" / (std::string(agentLabel(what)) + ".plist");
    // A relative folder is to be ignored.
    const Path chosen = Platform::environmentValue("XDG_CONFIG_HOME");
    const Path folder = chosen.is_absolute() ? chosen : QuorvikPaths::home() / ".config";
    return what == What::app ? folder / "systemd/user" / unitName : folder / "autostart" / entryName;
}

Path link(ServiceManager manager, What what) {
    if (manager == ServiceManager::launchd || what == What::overlay) return {};
    return file(manager, what).parent_path() / "default.target.wants" / unitName;
}

State state(ServiceManager manager, What what, const Start& start) {
    const Path path = file(manager, what);
    const auto content = UserFileEdit::read(path);
    if (!content) return State::notInstalled;
    if (!isOurs(*content)) return State::foreign;
    if (!isLinked(link(manager, what)) || isSwitchedOff(*content)) return State::switchedOff;
    return *content == text(manager, what, start) && Files::isExecutable(start.program) ? State::installed
                                                                                        : State::stale;
}

EditOutcome install(ServiceManager manager, What what, const Start& start) {
    using Decision = UserFileEdit::Decision;
    const Path path = file(manager, what);
    const std::string wanted = text(manager, what, start);
    const auto decide = [&](const UserFileEdit::Content& content) {
        if (content && !isOurs(*content))
            throw EditError(path.string() + " is not Quorvik's; it is left alone");
        return content == wanted ? Decision::keep() : Decision::write(wanted);
    };
    const EditOutcome change = UserFileEdit::edit(path, decide, {path.filename().string(), false, {}});
    makeLink(link(manager, what), path);
    return change;
}

EditOutcome uninstall(ServiceManager manager, What what) {
    using Decision = UserFileEdit::Decision;
    const Path path = file(manager, what), wants = link(manager, what);
    const auto decide = [&](const UserFileEdit::Content& content) {
        return content && isOurs(*content) ? Decision::remove() : Decision::keep();
    };
    const EditOutcome change = UserFileEdit::edit(path, decide, {path.filename().string(), false, {}});
    std::error_code error;
    if (!wants.empty() && leadsTo(wants, path) && !std::filesystem::exists(path, error))
        std::filesystem::remove(wants, error);
    if (error) throw FileError("remove", wants, error.value());
    return change;
}

std::vector<std::string> noticeOfInstall(ServiceManager manager, What what) {
    if (manager == ServiceManager::launchd)
        return {"launchctl", "bootstrap", "gui/" + std::to_string(::getuid()), file(manager, what).string()};
    if (what == What::overlay) return {}; // a desktop looks when a session begins
    return {"systemctl", "--user", "daemon-reload"};
}

std::vector<std::string> noticeOfUninstall(ServiceManager manager, What what) {
    // launchd would end a running program at once, so it is told nothing.
    if (manager == ServiceManager::launchd) return {};
    return noticeOfInstall(manager, what);
}

bool isInstalledHere(ServiceManager manager) {
    constexpr std::size_t largestUnit = 1 << 20; // bytes
    const auto content = Files::read(file(manager, What::app), largestUnit);
    const auto folder = Start::now("").supportFolder;
    // Enabled as a package brings it, which knows of no other support folder.
    if (!content) return manager == ServiceManager::systemd && !folder && isLinked(link(manager, What::app));
    if (!isOurs(*content)) return false;
    const bool namesFolder = content->find("QUORVIK_HOME") != content->npos;
    return folder ? namesFolder && content->find(*folder) != content->npos : !namesFolder;
}

std::vector<std::string> startCommand(ServiceManager manager) {
    if (manager == ServiceManager::systemd)
        return {"systemctl", "--user", "--no-block", "start", file(manager, What::app).filename().string()};
    const std::string label = file(manager, What::app).stem().string();
    return {"launchctl", "kickstart", "gui/" + std::to_string(::getuid()) + "/" + label};
}

} // namespace quorvik::Autostart
