#include "QuorvikCore/Install/Autostart.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Markup.h"

#include <unistd.h>

#include <algorithm>

namespace quorvik::Autostart {

namespace {

constexpr std::string_view unitName = "quorvik.service", agentLabel = "com.quorvik.app";

/// A word of a unit file that systemd takes literally.
std::string unitQuoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + '"';
}

std::string unit(const Start& start) {
    // Few restrictions: the app runs other people's tools (git, docker), which need what they need.
    std::string text = "# " + std::string(marker) + R"(: written by `quorvik-island autostart install`
[Unit]
Description=Quorvik: what agents, commands and services are doing
StartLimitIntervalSec=60
StartLimitBurst=4

[Service]
Type=notify
ExecStart=)" + unitQuoted(start.program) +
                       " serve\n";
    if (start.supportFolder)
        text += "Environment=" + unitQuoted("QUORVIK_HOME=" + *start.supportFolder) + "\n";
    return text + R"(Restart=on-failure
RestartSec=1
UMask=0077
NoNewPrivileges=yes
SystemCallArchitectures=native
LockPersonality=yes
RestrictRealtime=yes
RestrictSUIDSGID=yes

[Install]
WantedBy=default.target
)";
}

std::string agent(const Start& start) {
    const auto string = [](std::string_view text) {
        return "<string>" + markupEscaped(text) + "</string>\n";
    };
    std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<!-- )" + std::string(marker) +
                       R"(: written by `quorvik-island autostart install` -->
<plist version="1.0">
<dict>
	<key>Label</key>
	)" + string(agentLabel) +
                       R"(	<key>ProgramArguments</key>
	<array>
		)" + string(start.program) +
                       "\t\t" + string("serve") + R"(	</array>
	<key>EnvironmentVariables</key>
	<dict>
)";
    text += "\t\t<key>PATH</key>\n\t\t" + string(start.searchPath);
    if (start.supportFolder) text += "\t\t<key>QUORVIK_HOME</key>\n\t\t" + string(*start.supportFolder);
    // launchd keeps the app alive when any one of several conditions holds, so there is only one.
    return text + R"(	</dict>
	<key>RunAtLoad</key>
	<true/>
	<key>KeepAlive</key>
	<dict>
		<key>SuccessfulExit</key>
		<false/>
	</dict>
	<key>ProcessType</key>
	<string>Interactive</string>
	<key>Umask</key>
	<integer>63</integer>
	<key>StandardErrorPath</key>
	)" +
           string(QuorvikPaths::appLog().string()) +
           R"(</dict>
</plist>
)";
}

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

Path file(ServiceManager manager) {
    if (manager == ServiceManager::launchd)
        return QuorvikPaths::home() / "Library/LaunchAgents" / (std::string(agentLabel) + ".plist");
    // A relative folder is to be ignored.
    const Path chosen = Platform::environmentValue("XDG_CONFIG_HOME");
    return (chosen.is_absolute() ? chosen : QuorvikPaths::home() / ".config") / "systemd/user" / unitName;
}

Path link(ServiceManager manager) {
    if (manager == ServiceManager::launchd) return {};
    return file(manager).parent_path() / "default.target.wants" / unitName;
}

std::string text(ServiceManager manager, const Start& start) {
    for (const std::string& word : {start.program, start.supportFolder.value_or(""), start.searchPath})
        if (std::ranges::any_of(word, [](char c) { return static_cast<unsigned char>(c) < ' '; }))
            throw EditError("a path with a control character cannot be written into " +
                            file(manager).string());
    if (manager == ServiceManager::launchd) return agent(start);
    if (start.program.find_first_of("'\"\\") != start.program.npos) // however it is written
        throw EditError("systemd starts no program whose path holds a quote or a backslash: " +
                        start.program);
    return unit(start);
}

State state(ServiceManager manager, const Start& start) {
    const Path path = file(manager);
    const auto content = UserFileEdit::read(path);
    if (!content) return State::notInstalled;
    if (!isOurs(*content)) return State::foreign;
    return isLinked(link(manager)) && *content == text(manager, start) && Files::isExecutable(start.program)
               ? State::installed
               : State::stale;
}

EditOutcome install(ServiceManager manager, const Start& start) {
    using Decision = UserFileEdit::Decision;
    const Path path = file(manager);
    const std::string wanted = text(manager, start);
    const auto decide = [&](const UserFileEdit::Content& content) {
        if (content && !isOurs(*content))
            throw EditError(path.string() + " is not Quorvik's; it is left alone");
        return content == wanted ? Decision::keep() : Decision::write(wanted);
    };
    const EditOutcome change = UserFileEdit::edit(path, decide, {path.filename().string(), false, {}});
    makeLink(link(manager), path);
    return change;
}

EditOutcome uninstall(ServiceManager manager) {
    using Decision = UserFileEdit::Decision;
    const Path path = file(manager), wants = link(manager);
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

std::vector<std::string> noticeOfInstall(ServiceManager manager) {
    if (manager == ServiceManager::systemd) return {"systemctl", "--user", "daemon-reload"};
    return {"launchctl", "bootstrap", "gui/" + std::to_string(::getuid()), file(manager).string()};
}

std::vector<std::string> noticeOfUninstall(ServiceManager manager) {
    // launchd would end a running app at once, so it is told nothing.
    if (manager == ServiceManager::launchd) return {};
    return noticeOfInstall(manager);
}

bool isInstalledHere(ServiceManager manager) {
    constexpr std::size_t largestUnit = 1 << 20; // bytes
    const auto content = Files::read(file(manager), largestUnit);
    const auto folder = Start::now("").supportFolder;
    // Enabled as a package brings it, which knows of no other support folder.
    if (!content) return manager == ServiceManager::systemd && !folder && isLinked(link(manager));
    if (!isOurs(*content)) return false;
    const bool namesFolder = content->find("QUORVIK_HOME") != content->npos;
    return folder ? namesFolder && content->find(*folder) != content->npos : !namesFolder;
}

std::vector<std::string> startCommand(ServiceManager manager) {
    if (manager == ServiceManager::systemd)
        return {"systemctl", "--user", "--no-block", "start", file(manager).filename().string()};
    const std::string label = file(manager).stem().string();
    return {"launchctl", "kickstart", "gui/" + std::to_string(::getuid()) + "/" + label};
}

} // namespace quorvik::Autostart
