#include "QuorvikCore/Platform/ProcessTable.h"

#include <sys/proc.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <cstdlib>

namespace quorvik::Platform {

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
    if (row.kp_eproc.e_tdev != noDevice) {
        if (const char* device = ::devname(row.kp_eproc.e_tdev, S_IFCHR))
            info.tty = std::string("/dev/") + device;
    }
    return info;
}

} // namespace quorvik::Platform
