#include "QuorvikCore/Platform/LargeMemory.h"

#include <cstdlib>
#include <new>

// operator new that asks for large pages: parts of a payload are copied, and a payload may be megabytes long.

void* operator new(std::size_t size) {
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (!block) throw std::bad_alloc();
    quorvik::Platform::preferLargePages(block, size);
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
