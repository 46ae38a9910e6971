#include "QuorvikCore/Install/AutostartText.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Markup.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::Autostart {

namespace {

/// Without dashes in a row, which no remark in an agent may hold.
constexpr std::string_view writer = ": written by `quorvik-island autostart install`";

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
    std::string text = "# " + std::string(marker) + std::string(writer) + R"(
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

std::string agent(What what, const Start& start) {
    const auto string = [](std::string_view text) {
        return "<string>" + markupEscaped(text) + "</string>\n";
    };
    std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<!-- )" + std::string(marker) +
                       std::string(writer) + R"( -->
<plist version="1.0">
<dict>
	<key>Label</key>
	)" + string(agentLabel(what)) +
                       R"(	<key>ProgramArguments</key>
	<array>
		)" + string(start.program) +
                       (what == What::app ? "\t\t" + string("serve") : "") + R"(	</array>
	<key>EnvironmentVariables</key>
	<dict>
)";
    text += "\t\t<key>PATH</key>\n\t\t" + string(start.searchPath);
    if (start.supportFolder) text += "\t\t<key>QUORVIK_HOME</key>\n\t\t" + string(*start.supportFolder);
    text += "\t</dict>\n";
    // The overlay is for sessions with a screen alone.
    if (what == What::overlay) text += "\t<key>LimitLoadToSessionType</key>\n\t" + string("Aqua");
    // launchd keeps a program alive when any one of several conditions holds, so there is only one.
    return text + R"(	<key>RunAtLoad</key>
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
           string((what == What::app ? QuorvikPaths::appLog() : QuorvikPaths::overlayLog()).string()) +
           R"(</dict>
</plist>
)";
}

/// A word of a desktop entry's Exec that is taken literally: quoted, and then escaped once more as every text
/// of such a file is.
std::string entryQuoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += "\\\\";
        if (c == '\\') quoted += '\\';
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + '"';
}

std::string desktopEntry(const Start& start) {
    std::string words;
    if (start.supportFolder) words = "env " + entryQuoted("QUORVIK_HOME=" + *start.supportFolder) + " ";
    return "# " + std::string(marker) + std::string(writer) + R"(
[Desktop Entry]
Type=Application
Name=Quorvik
Comment=What agents, commands and services are doing, at the top of the screen
Exec=)" + words +
           entryQuoted(start.program) + "\nTerminal=false\n";
}

} // namespace

std::string_view agentLabel(What what) {
    return what == What::app ? "com.quorvik.app" : "com.quorvik.overlay";
}

std::string text(ServiceManager manager, What what, const Start& start) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    for (const std::string& word : {start.program, start.supportFolder.value_or(""), start.searchPath})
        if (std::ranges::any_of(word, isControl))
            throw EditError("a path with a control character cannot be written into " +
                            file(manager, what).string());
    if (manager == ServiceManager::launchd) return agent(what, start);
    if (what == What::app) {
        if (start.program.find_first_of("'\"\\") != start.program.npos) // however it is written
            throw EditError("systemd starts no program whose path holds a quote or a backslash: " +
                            start.program);
        return unit(start);
    }
    if (start.program.find('=') != start.program.npos) // env, too, would take it for a variable
        throw EditError("desktops start no program whose path holds an equals sign: " + start.program);
    for (const std::string& word : {start.program, start.supportFolder.value_or("")})
        if (!Unicode::isValid(word))
            throw EditError("a path that is no UTF-8 cannot be written into " + file(manager, what).string());
    return desktopEntry(start);
}

} // namespace quorvik::Autostart
