#include "QuorvikCore/Session/ProjectRoot.h"

#include <filesystem>

namespace quorvik::ProjectRoot {

namespace {

constexpr const char* markers[] = {".git",           "package.json",  "Cargo.toml", "go.mod",
                                   "pyproject.toml", "Package.swift", "Gemfile",    "composer.json",
                                   "pom.xml",        "build.gradle"};

/// Without ".", "..", doubled and trailing slashes; symbolic links stay.
std::string standardised(const std::string& path) {
    std::string result = std::filesystem::path(path).lexically_normal().native();
    if (result.size() > 1 && result.back() == '/') result.pop_back();
    return result;
}

bool holds(const std::string& folder, const char* name) {
    std::error_code ignored;
    return std::filesystem::exists(folder + "/" + name, ignored);
}

/// Asks `found` about `cwd` and its parents, at most `limit` of them, none of them "/" or `home`.
template <typename Found>
std::optional<std::string> nearest(const std::string& cwd, const std::string& home, int limit, Found found) {
    std::string folder = standardised(cwd);
    for (int examined = 0; examined < limit; ++examined) {
        if (folder == home || folder == "/" || folder.empty()) return std::nullopt;
        if (found(folder)) return folder;
        folder = std::filesystem::path(folder).parent_path().native();
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> find(const std::string& cwd, const std::string& home) {
    if (!standardised(cwd).starts_with(home + "/")) return std::nullopt;
    return nearest(cwd, home, 8, [](const std::string& folder) {
        for (const char* marker : markers) {
            if (holds(folder, marker)) return true;
        }
        return false;
    });
}

std::optional<std::string> gitRoot(const std::string& cwd, const std::string& home) {
    return nearest(cwd, home, 12, [](const std::string& folder) { return holds(folder, ".git"); });
}

} // namespace quorvik::ProjectRoot
