#include "QuorvikCore/Platform/BuildInfo.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/utsname.h>
#include <unistd.h>

namespace quorvik::BuildInfo {

std::string line(std::string_view program) {
    utsname system{};
    ::uname(&system);
    std::string text = std::string(program) + " " + std::string(version()) + " (";
    if (!commit().empty()) text += std::string(commit()) + ", ";
    return text + system.sysname + " " + system.machine + ")";
}

int print(std::string_view program) {
    const std::string text = line(program) + "\n";
    return writeAll(STDOUT_FILENO, text.data(), text.size()) ? 0 : 1;
}

} // namespace quorvik::BuildInfo
