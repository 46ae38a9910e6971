#pragma once

#include <cstddef>

namespace quorvik::Platform {

/// Asks the system to use large pages for a block of memory (`size` in bytes) that is not filled yet, since
/// the first touch of a small page costs more than filling it. Does nothing for a block of less than some
/// megabytes, and where the system has no large pages.
void preferLargePages(void* block, std::size_t size);

} // namespace quorvik::Platform
