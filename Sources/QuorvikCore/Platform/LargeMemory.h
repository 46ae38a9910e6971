#pragma once

#include <cstddef>

namespace quorvik::Platform {

/// Asks the system to use large pages for a block of memory that is not filled yet: the first touch of every
/// small page costs more than filling it. Changes nothing for a block below some megabytes, and where the
/// system has no such thing.
void preferLargePages(void* block, std::size_t size);

} // namespace quorvik::Platform
