#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/ProcessEnvironment.h"

#include <fcntl.h>

#include <algorithm>

namespace quorvik::Platform {

std::optional<std::vector<std::string>> environmentNames(std::int32_t pid) {
    constexpr std::size_t mostBytes = 8 << 20; // the kernel's own limit is a quarter of the stack's: 2 MB
    const std::string path = "/proc/" + std::to_string(pid) + "/environ";
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto content = file ? Files::readStream(file.get(), mostBytes) : std::nullopt;
    if (!content) return std::nullopt;
    std::vector<std::string> names;
    std::string_view rest = content->text();
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find('\0'));
        if (const auto equals = entry.find('='); equals != entry.npos)
            names.emplace_back(entry.substr(0, equals));
        rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    }
    return names;
}

} // namespace quorvik::Platform
