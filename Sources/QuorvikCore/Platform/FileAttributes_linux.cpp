#include "QuorvikCore/Platform/FileAttributes.h"

#include <sys/xattr.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace quorvik::Platform {

bool copyAttributes(int from, int to, bool withAccess) {
    std::string names(65536, '\0'), value(65536, '\0'); // as large as the kernel allows
    const ssize_t length = ::flistxattr(from, names.data(), names.size());
    if (length < 0) return errno == ENOTSUP;
    std::string_view rest(names.data(), static_cast<std::size_t>(length));
    while (!rest.empty()) {
        const char* name = rest.data(); // each ends with a NUL
        const std::string_view text(name);
        rest.remove_prefix(text.size() + 1);
        if (!text.starts_with("user.") && !(withAccess && text == "system.posix_acl_access")) continue;
        const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
        if (size < 0 && errno == ENODATA) continue; // gone meanwhile
        if (size < 0 || ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) != 0)
            return false;
    }
    return true;
}

} // namespace quorvik::Platform
