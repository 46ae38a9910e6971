#include "QuorvikCore/Platform/LargeMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace quorvik::Platform {

void preferLargePages(void* block, std::size_t size) {
    constexpr std::size_t worthwhile = 4u << 20;
    if (size < worthwhile) return;
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t firstPage = (start + pageSize - 1) / pageSize * pageSize;
    ::madvise(reinterpret_cast<void*>(firstPage), start + size - firstPage, MADV_HUGEPAGE);
}

} // namespace quorvik::Platform
