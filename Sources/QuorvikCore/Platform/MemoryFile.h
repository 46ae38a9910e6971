#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

namespace quorvik::Platform {

/// A file that stands in no folder and takes no room on a disk, open for reading and writing. Empty where the
/// system has no such thing.
FileDescriptor memoryFile();

} // namespace quorvik::Platform
