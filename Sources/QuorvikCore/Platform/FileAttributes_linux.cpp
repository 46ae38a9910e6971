#include "QuorvikCore/Platform/FileAttributes.h"

#include <sys/xattr.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

namespace quorvik {

namespace {

// The kernel's limits for the list of names and for one value, in bytes.
constexpr std::size_t maxListSize = 65536, maxValueSize = 65536;

// The other names belong to the system: labels of a security module, signatures of the old content.
constexpr std::string_view usersPrefix = "user.", accessList = "system.posix_acl_access";

} // namespace

bool copyAttributes(int from, int to) {
    std::string names(maxListSize, '\0'), value(maxValueSize, '\0');
    const ssize_t listed = ::flistxattr(from, names.data(), names.size());
    if (listed < 0) return errno == ENOTSUP;
    names.resize(static_cast<std::size_t>(listed)); // each ends with a NUL
    for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
        const char* name = names.c_str() + start;
        const bool isUsers = std::string_view(name).starts_with(usersPrefix);
        if (!isUsers && name != accessList) continue;
        const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
        if (size < 0 && errno == ENODATA) continue; // removed since it was listed
        if (size < 0) return false;
        if (::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0) continue;
        if (!isUsers || errno != ENOTSUP) return false;
    }
    return true;
}

} // namespace quorvik
