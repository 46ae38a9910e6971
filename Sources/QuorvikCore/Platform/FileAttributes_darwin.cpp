#include "QuorvikCore/Platform/FileAttributes.h"

#include <copyfile.h>

namespace quorvik {

bool copyAttributes(int from, int to) {
    return ::fcopyfile(from, to, nullptr, COPYFILE_ACL | COPYFILE_XATTR) == 0;
}

} // namespace quorvik
