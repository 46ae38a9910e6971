#include "Tests/Support/TemporaryHome.h"

#include "Tests/Support/Program.h"

#include "QuorvikCore/Session/SessionStore.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace quorvik::testing {

namespace {

std::filesystem::path newFolder() {
    // Short, because socket paths are; /tmp because $TMPDIR is too long for them on macOS.
    char name[] = "/tmp/qv-XXXXXX";
    if (!::mkdtemp(name)) throw std::runtime_error("no temporary folder");
    return std::filesystem::canonical(name);
}

} // namespace

TemporaryHome::TemporaryHome()
    : home(newFolder()), support(home / "support"), sessions(support / "sessions") {
    ::setenv("HOME", home.c_str(), 1);
    ::unsetenv("CODEX_HOME");
    ::setenv("QUORVIK_HOME", support.c_str(), 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TZ", "UTC", 1);
}

TemporaryHome::~TemporaryHome() {
    std::error_code ignored;
    if (HasFailure())
        std::cerr << "kept: " << home << "\n";
    else
        std::filesystem::remove_all(home, ignored);
}

std::filesystem::path TemporaryHome::write(const std::filesystem::path& relative,
                                           std::string_view content) const {
    const auto file = home / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::filesystem::path TemporaryHome::writeProgram(const std::filesystem::path& relative,
                                                  std::string_view content) const {
    const auto file = write(relative, content);
    ::chmod(file.c_str(), 0755);
    return file;
}

std::string TemporaryHome::programForAnyone(const std::string& name) const {
    ::chmod(home.c_str(), 0777);
    std::filesystem::copy_file(programPath(name), home / name);
    return home / name;
}

std::optional<SessionRecord> recordIn(const std::filesystem::path& file) {
    const auto loaded = SessionStore::load(file);
    return loaded.record() ? std::optional(*loaded.record()) : std::nullopt;
}

mode_t modeOf(const std::filesystem::path& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void limitFileSize(rlim_t bytes) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

} // namespace quorvik::testing
