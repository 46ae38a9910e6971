#include "QuorvikApp/Services/Log.h"

#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace quorvik::Log {

void line(std::string_view text) {
    constexpr off_t largest = 1 << 20; // bytes
    struct stat status;
    if (::fstat(STDERR_FILENO, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > largest &&
        ::ftruncate(STDERR_FILENO, 0) == 0)
        ::lseek(STDERR_FILENO, 0, SEEK_SET);
    const std::string whole =
        ISO8601::text(std::chrono::system_clock::now()) + " " + Unicode::terminalLine(text) + "\n";
    writeAll(STDERR_FILENO, whole.data(), whole.size());
}

} // namespace quorvik::Log
