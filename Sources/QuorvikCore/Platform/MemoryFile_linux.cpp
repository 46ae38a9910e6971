#include "QuorvikCore/Platform/MemoryFile.h"

#include <sys/mman.h>

namespace quorvik::Platform {

FileDescriptor memoryFile() {
    return FileDescriptor(::memfd_create("quorvik", MFD_CLOEXEC));
}

} // namespace quorvik::Platform
