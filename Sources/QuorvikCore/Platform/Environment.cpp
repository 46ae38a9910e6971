#include "QuorvikCore/Platform/Environment.h"

#include <pwd.h>
#include <unistd.h>
#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <cstdint>
#endif

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

extern char** environ;

namespace quorvik::Platform {

namespace {

/// A field of the current user's entry; empty when there is none.
std::string fromPasswordDatabase(char* passwd::*field) {
#ifdef __APPLE__
    const passwd* user = ::getpwuid(::getuid());
    return user ? user->*field : "";
#else
    // getpwuid() would load name-service modules, which a statically linked program cannot count on.
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Closer> file(std::fopen("/etc/passwd", "re"));
    while (const passwd* user = file ? ::fgetpwent(file.get()) : nullptr) {
        if (user->pw_uid == ::getuid()) return user->*field;
    }
    return "";
#endif
}

} // namespace

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::map<std::string, std::string> environment() {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string_view text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string_view::npos)
            variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}

std::string loginShell() {
    const std::string shell = fromPasswordDatabase(&passwd::pw_shell);
    return shell.empty() ? "/bin/sh" : shell;
}

std::string homeFolder() {
    std::string home = environmentValue("HOME");
    if (home.empty()) home = fromPasswordDatabase(&passwd::pw_dir);
    while (home.size() > 1 && home.back() == '/')
        home.pop_back();
    return home.empty() ? "/" : home;
}

std::filesystem::path runningProgram() {
    std::error_code error;
#ifdef __APPLE__
    std::uint32_t size = 0;
    ::_NSGetExecutablePath(nullptr, &size); // says how much room it needs
    std::string path(size, '\0');
    if (::_NSGetExecutablePath(path.data(), &size) != 0) return {};
    return std::filesystem::canonical(path.c_str(), error);
#else
    return std::filesystem::read_symlink("/proc/self/exe", error);
#endif
}

} // namespace quorvik::Platform
