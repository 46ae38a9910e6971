#include "QuorvikCore/Session/QuorvikPaths.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"

#include <unistd.h>

namespace quorvik::QuorvikPaths {

namespace {

constexpr std::size_t longestSocketPath = 99; // bytes

Path socketPath(const char* name, const char* shortSuffix) {
    Path path = supportDirectory() / name;
    if (path.native().size() <= longestSocketPath) return path;
    return "/tmp/quorvik-" + std::to_string(::getuid()) + shortSuffix;
}

} // namespace

Path home() {
    return Platform::homeFolder();
}

Path supportDirectory() {
    const std::string chosen = Platform::environmentValue("QUORVIK_HOME");
    if (chosen.empty()) return home() / "Library/Application Support/Quorvik";
    std::error_code unknown; // of the current folder; then the path stays relative
    const Path absolute = std::filesystem::absolute(chosen, unknown);
    return unknown ? Path(chosen) : absolute;
}

Path sessionsDirectory() {
    return supportDirectory() / "sessions";
}
Path logsDirectory() {
    return supportDirectory() / "logs";
}
Path backupsDirectory() {
    return supportDirectory() / "backups";
}
Path binDirectory() {
    return supportDirectory() / "bin";
}
Path usageDirectory() {
    return supportDirectory() / "usage";
}

Path alertSocket() {
    return socketPath("alert.sock", "-alert.sock");
}
Path approvalSocket() {
    return socketPath("approval.sock", ".sock");
}

Path controlSocket() {
    return socketPath("island.sock", "-island.sock");
}

Path settingsFile() {
    return supportDirectory() / "settings.json";
}
Path memoryFile() {
    return supportDirectory() / "memory.json";
}
Path appLock() {
    return supportDirectory() / "app.lock";
}
Path appLog() {
    return supportDirectory() / "app.log";
}
Path overlayLog() {
    return supportDirectory() / "overlay.log";
}

Path installedCLIBinary() {
    return binDirectory() / cliBinaryName;
}
Path installedHookBinary() {
    return binDirectory() / hookBinaryName;
}
Path installedAppBinary() {
    return binDirectory() / appBinaryName;
}
Path installedOverlayBinary() {
    return binDirectory() / overlayBinaryName;
}

Path claudeSettings() {
    return home() / ".claude/settings.json";
}
Path claudeCredentials() {
    return home() / ".claude/.credentials.json";
}
Path codexHooks() {
    return home() / ".codex/hooks.json";
}
Path grokHooks() {
    return home() / ".grok/hooks/quorvik.json";
}
Path commandCodeSettings() {
    return home() / ".commandcode/settings.json";
}
Path devinConfig() {
    return home() / ".config/devin/config.json";
}
Path qwenSettings() {
    return home() / ".qwen/settings.json";
}
Path copilotHooks() {
    return home() / ".copilot/hooks/quorvik.json";
}

Path codexRollouts() {
    const std::string chosen = Platform::environmentValue("CODEX_HOME");
    return (chosen.empty() ? home() / ".codex" : Path(chosen)) / "sessions";
}

Path kimiConfig() {
    const Path usual = home() / ".kimi/config.toml";
    const Path other = home() / ".kimi-code/config.toml";
    std::error_code ignored;
    return !std::filesystem::exists(usual, ignored) && std::filesystem::exists(other, ignored) ? other
                                                                                               : usual;
}

Path piExtension() {
    return home() / ".pi/agent/extensions/quorvik.ts";
}

void ensureDirectory(const Path& folder) {
    Files::createPrivateFolder(folder);
}

} // namespace quorvik::QuorvikPaths
