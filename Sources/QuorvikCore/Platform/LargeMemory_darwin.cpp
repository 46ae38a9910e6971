#include "QuorvikCore/Platform/LargeMemory.h"

namespace quorvik::Platform {

void preferLargePages(void*, std::size_t) {}

} // namespace quorvik::Platform
