#include "QuorvikCore/Platform/ChangeNotification.h"
#include "QuorvikCore/Platform/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace quorvik::Platform {

void postChange(const char* name, const std::filesystem::path& folder) {
    const FileDescriptor file(
        ::open((folder / name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (file) ::futimens(file.get(), nullptr);
}

} // namespace quorvik::Platform
