#include "QuorvikCore/Platform/ProcessEnvironment.h"

#include <sys/sysctl.h>
#include <sys/types.h>

#include <algorithm>
#include <cstring>

namespace quorvik::Platform {

std::optional<std::vector<std::string>> environmentNames(std::int32_t pid) {
    // The area holds the number of arguments, the program's path, NULs, the arguments, then the environment.
    int name[] = {CTL_KERN, KERN_PROCARGS2, pid};
    std::size_t size = 0;
    if (::sysctl(name, 3, nullptr, &size, nullptr, 0) != 0) return std::nullopt;
    std::vector<char> area(size);
    if (::sysctl(name, 3, area.data(), &size, nullptr, 0) != 0 || size < sizeof(int)) return std::nullopt;
    int arguments = 0;
    std::memcpy(&arguments, area.data(), sizeof arguments);
    std::string_view rest(area.data() + sizeof arguments, size - sizeof arguments);
    rest.remove_prefix(std::min(rest.size(), rest.find('\0')));
    rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of('\0')));
    std::vector<std::string> names;
    for (int index = 0; !rest.empty(); ++index) {
        const std::string_view entry = rest.substr(0, rest.find('\0'));
        if (entry.empty() && index >= arguments) break; // the end of the environment
        if (const auto equals = entry.find('='); index >= arguments && equals != entry.npos)
            names.emplace_back(entry.substr(0, equals));
        rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    }
    return names;
}

} // namespace quorvik::Platform
