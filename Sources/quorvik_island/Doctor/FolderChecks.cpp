#include "quorvik_island/Doctor/FolderChecks.h"

#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Install/HookTarget.h"
#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/ShellQuoting.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

namespace quorvik::Doctor::FolderChecks {

namespace {

using Path = std::filesystem::path;

constexpr std::chrono::hours leftAfter(1);
constexpr std::uintmax_t littleSpace = 50 << 20; // bytes

/// Takes the end off the name; false when it has another.
bool takeEnd(std::string_view& name, std::string_view end) {
    if (!name.ends_with(end)) return false;
    name.remove_suffix(end.size());
    return true;
}

/// Takes ".<digits>" off the end.
bool takeProcess(std::string_view& name) {
    const std::size_t digits = name.size() - std::min(name.find_last_not_of("0123456789") + 1, name.size());
    if (digits == 0) return false;
    name.remove_suffix(digits);
    return takeEnd(name, ".");
}

/// Whether a file of this name, in a folder of ours, is a temporary one (docs/files.md).
bool isTemporary(std::string_view name) {
    std::string_view edited = name; // "<name>.<process>.quorvik.tmp", of a user's file
    if (takeEnd(edited, ".quorvik.tmp") && takeProcess(edited)) return true;
    if (!takeEnd(name, ".tmp")) return false;
    if (name.starts_with('.')) return takeProcess(name) && name.ends_with(".json");
    return std::ranges::any_of(std::array<std::string_view, 3>{".json.asked", ".json.before", "memory.json"},
                               [&](std::string_view end) { return name.ends_with(end); });
}

bool isLeft(const Path& path, Date now) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid())
        return false;
    return now - dateFromSeconds(static_cast<double>(status.st_mtime)) >= leftAfter;
}

template <typename Take>
void collect(const Path& folder, Date now, std::vector<Path>& found, Take take) {
    auto listing = Files::Folder::open(folder);
    while (const char* name = listing ? listing->next() : nullptr)
        if (take(std::string_view(name)) && isLeft(folder / name, now)) found.push_back(folder / name);
}

void reportFolder(const Path& folder, Findings& findings) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) {
        if (errno == ENOENT)
            return findings.note("folder.support",
                                 folder.string() + " is not there yet; the first event makes it");
        return findings.bad("folder.support", folder.string() + " cannot be looked at",
                            "make it yours again");
    }
    const std::string quoted = shellQuoted(folder.native());
    if (!S_ISDIR(status.st_mode))
        return findings.bad("folder.support", folder.string() + " is no folder", "move it away");
    if (status.st_uid != ::geteuid())
        return findings.bad("folder.support", folder.string() + " belongs to another user",
                            "sudo chown -R \"$(id -un)\" " + quoted);
    if (::access(folder.c_str(), R_OK | W_OK | X_OK) != 0)
        return findings.bad("folder.support", "you may not write to " + folder.string(),
                            "chmod u+rwx " + quoted);
    if ((status.st_mode & 077) != 0) {
        char mode[8];
        std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(status.st_mode & 07777));
        return findings.warn("folder.support",
                             "other users may look into " + folder.string() + " (its permissions are " +
                                 mode + ")",
                             "chmod go= " + quoted);
    }
    findings.well("folder.support", folder.string() + " is yours alone");
}

void reportSpace(const Path& folder, Findings& findings) {
    std::error_code unknown;
    const auto space = std::filesystem::space(folder, unknown);
    if (unknown) return;
    const std::string free = std::to_string(space.available >> 20) + " MB are free for it";
    if (space.available < littleSpace)
        findings.warn("folder.space", free, "make room on its disk: records that cannot be written are lost");
    else
        findings.well("folder.space", free);
}

void reportLeft(bool fix, Findings& findings) {
    std::vector<std::string> stays;
    std::size_t removed = 0;
    for (const Path& path : leftBehind(std::chrono::system_clock::now())) {
        if (fix && ::unlink(path.c_str()) == 0)
            ++removed;
        else
            stays.push_back(path.string());
    }
    if (removed > 0)
        findings.well("folder.left",
                      counted(removed, "file") + " that killed programs had left behind: removed");
    if (!stays.empty())
        findings.warn("folder.left",
                      counted(stays.size(), "file") + " left behind by killed programs: " + listed(stays),
                      fix ? "remove by hand what could not be removed"
                          : "quorvik-island doctor --fix removes them");
    if (removed == 0 && stays.empty())
        findings.well("folder.left", "nothing was left behind by killed programs");
}

void reportRecords(Findings& findings) try {
    const Sessions sessions = Sessions::load(QuorvikPaths::sessionsDirectory());
    for (const std::string& path : sessions.corrupt)
        findings.warn("folder.records", path + " holds no readable session record",
                      "rm " + shellQuoted(path));
    for (const std::string& path : sessions.unsupported)
        findings.warn("folder.records", path + " is of another version of Quorvik",
                      "run programs of one version");
    for (const std::string& failure : sessions.failures)
        findings.warn("folder.records", failure, "make its file readable for you");
    if (sessions.corrupt.empty() && sessions.unsupported.empty() && sessions.failures.empty())
        findings.well("folder.records",
                      counted(sessions.files.size(), "session record") + ", none unreadable");
} catch (const std::exception& error) {
    findings.bad("folder.records", error.what(), "make that folder readable for you");
}

} // namespace

std::vector<Path> leftBehind(Date now) {
    std::vector<Path> found;
    const Path support = QuorvikPaths::supportDirectory();
    for (const Path& folder : {support, QuorvikPaths::sessionsDirectory(), QuorvikPaths::usageDirectory(),
                               QuorvikPaths::backupsDirectory(), support / "shell"})
        collect(folder, now, found, isTemporary);

    // Other people's folders: only what can be nothing but ours.
    std::vector<Path> edited = {ShellIntegration::zshrcURL()};
    for (const Source agent : agentSources())
        edited.push_back(HookTarget::target(agent)->fileURL);
    for (const auto what : {Autostart::What::app, Autostart::What::overlay})
        edited.push_back(Autostart::file(Platform::serviceManager(), what));
    for (const Path& file : edited) {
        std::error_code unknown; // a link is edited where it leads
        const Path target = std::filesystem::weakly_canonical(file, unknown);
        if (unknown) continue;
        const std::string own = target.filename().string();
        collect(target.parent_path(), now, found, [&](std::string_view name) {
            return takeEnd(name, ".quorvik.tmp") && takeProcess(name) && name == own;
        });
    }
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

void run(bool fix, Findings& findings) {
    const Path folder = QuorvikPaths::supportDirectory();
    reportFolder(folder, findings);
    reportSpace(folder, findings);
    reportLeft(fix, findings);
    reportRecords(findings);
}

} // namespace quorvik::Doctor::FolderChecks
