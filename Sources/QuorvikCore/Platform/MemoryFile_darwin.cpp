#include "QuorvikCore/Platform/MemoryFile.h"

namespace quorvik::Platform {

/// Its shared memory objects cannot be written to as files are.
FileDescriptor memoryFile() {
    return {};
}

} // namespace quorvik::Platform
