#include "QuorvikCore/Platform/ProcessTable.h"

#include <sys/proc.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <cstdio>
#include <cstdlib>

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

} // namespace quorvik::Platform
