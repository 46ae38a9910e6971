#include "QuorvikCore/Platform/FileAttributes.h"

#include <copyfile.h>

#include <cerrno>

namespace quorvik::Platform {

bool copyAttributes(int from, int to, bool withAccess) {
    const copyfile_flags_t flags = COPYFILE_XATTR | (withAccess ? COPYFILE_ACL : 0);
    return ::fcopyfile(from, to, nullptr, flags) == 0 || errno == ENOTSUP;
}

} // namespace quorvik::Platform
