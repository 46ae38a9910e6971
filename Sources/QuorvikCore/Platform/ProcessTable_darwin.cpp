#include "QuorvikCore/Platform/ProcessTable.h"

#include <libproc.h>
#include <sys/proc.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace quorvik::Platform {

namespace {

/// Almost every terminal is a pseudo-terminal, whose name follows from its number. devname() would look at
/// one entry of /dev after the other, at every event of every agent.
std::optional<std::string> terminalName(dev_t device) {
    char path[32];
    std::snprintf(path, sizeof path, "/dev/ttys%03d", minor(static_cast<std::uint32_t>(device)));
    struct stat status;
    if (::stat(path, &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev == device) return path;
    const char* name = ::devname(device, S_IFCHR);
    if (!name) return std::nullopt;
    return std::string("/dev/") + name;
}

} // namespace

std::optional<ProcessInfo> processInfo(std::int32_t pid) {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc row{};
    std::size_t size = sizeof row;
    if (::sysctl(name, 4, &row, &size, nullptr, 0) != 0 || size == 0) return std::nullopt;

    ProcessInfo info;
    info.pid = pid;
    info.parentPID = row.kp_eproc.e_ppid;
    info.name = row.kp_proc.p_comm;
    info.startTime = static_cast<double>(row.kp_proc.p_starttime.tv_sec) +
                     static_cast<double>(row.kp_proc.p_starttime.tv_usec) / 1e6;
    info.isZombie = row.kp_proc.p_stat == SZOMB;
    constexpr dev_t noDevice = -1;
    if (row.kp_eproc.e_tdev != noDevice) info.tty = terminalName(row.kp_eproc.e_tdev);
    return info;
}

std::vector<std::string> processArguments(std::int32_t pid) {
    int mostBytes = 0;
    std::size_t size = sizeof mostBytes;
    int limit[] = {CTL_KERN, KERN_ARGMAX};
    if (::sysctl(limit, 2, &mostBytes, &size, nullptr, 0) != 0 || mostBytes <= 0) return {};

    // How many words there are, the program's path, NULs up to an aligned address, the words, the
    // environment.
    std::string area(static_cast<std::size_t>(mostBytes), '\0');
    size = area.size();
    int name[] = {CTL_KERN, KERN_PROCARGS2, pid};
    int count = 0;
    if (::sysctl(name, 3, area.data(), &size, nullptr, 0) != 0 || size < sizeof count) return {};
    area.resize(size);
    std::memcpy(&count, area.data(), sizeof count);
    std::size_t start = area.find('\0', sizeof count);
    start = area.find_first_not_of('\0', start);
    std::vector<std::string> arguments;
    for (; count > 0 && start < area.size(); --count) {
        arguments.emplace_back(area.c_str() + start);
        start += arguments.back().size() + 1;
    }
    return arguments;
}

std::optional<std::string> workingFolder(std::int32_t pid) {
    proc_vnodepathinfo folders{};
    constexpr int size = static_cast<int>(sizeof folders);
    if (::proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &folders, size) != size) return std::nullopt;
    const char* path = folders.pvi_cdir.vip_path;
    if (*path == '\0') return std::nullopt;
    return std::string(path, ::strnlen(path, sizeof folders.pvi_cdir.vip_path));
}

} // namespace quorvik::Platform
