#include "QuorvikApp/Services/Log.h"

#include "QuorvikCore/Platform/DescriptorWait.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace quorvik::Log {

namespace {

/// What a pipe takes whole or not at all, less the time and what an ending that was cut may grow by.
constexpr std::size_t longestText = PIPE_BUF - 32; // bytes

/// Writes the line only if that makes nobody wait: a terminal that was stopped, or a pipe that nobody reads,
/// goes without it and does not hold up the app.
void writeAtOnce(int descriptor, std::string_view line) {
    // A terminal may have room for a part of the text only. Opened once more, it makes nobody wait, and who
    // else writes to it notices nothing.
    const char* const terminal = ::isatty(descriptor) != 0 ? ::ttyname(descriptor) : nullptr;
    const FileDescriptor own(terminal ? ::open(terminal, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) : -1);
    const int target = own ? own.get() : descriptor;
    if (!Platform::canWrite(target)) return;
    const ssize_t written = ::write(target, line.data(), line.size());
    (void)written;
}

} // namespace

void line(std::string_view text) {
    constexpr off_t largest = 1 << 20; // bytes
    struct stat status;
    if (::fstat(STDERR_FILENO, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > largest &&
        ::ftruncate(STDERR_FILENO, 0) == 0)
        ::lseek(STDERR_FILENO, 0, SEEK_SET);
    std::string shown = Unicode::terminalLine(text);
    if (shown.size() > longestText) shown = Unicode::repaired(shown.substr(0, longestText));
    writeAtOnce(STDERR_FILENO, ISO8601::text(std::chrono::system_clock::now()) + " " + shown + "\n");
}

} // namespace quorvik::Log
