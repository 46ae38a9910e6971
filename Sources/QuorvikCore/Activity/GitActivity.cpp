#include "QuorvikCore/Activity/GitActivity.h"

#include <algorithm>
#include <array>

namespace quorvik::GitActivity {

namespace {

constexpr std::string_view gitFolder = "/.git/";

/// Files directly in ".git": every operation that changes no ref still changes one of these.
constexpr std::array<std::string_view, 6> marks = {"HEAD",       "ORIG_HEAD",      "FETCH_HEAD",
                                                   "MERGE_HEAD", "COMMIT_EDITMSG", "packed-refs"};

constexpr std::array<std::string_view, 7> skipped = {"node_modules", "Library", "Pods",  "DerivedData",
                                                     "build",        "target",  "vendor"};

bool contains(const auto& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

} // namespace

std::optional<std::string> repoRoot(std::string_view path, std::string_view home) {
    if (!path.starts_with(home) || !path.substr(home.size()).starts_with('/')) return std::nullopt;
    const auto end = path.find(gitFolder);
    if (end == path.npos) return std::nullopt;
    const std::string_view root = path.substr(0, end);
    const std::string_view changed = path.substr(end + gitFolder.size());
    if (!changed.starts_with("refs/") && !contains(marks, changed)) return std::nullopt;

    std::string_view below = root.substr(std::min(root.size(), home.size() + 1));
    while (!below.empty()) {
        const std::string_view folder = below.substr(0, below.find('/'));
        if (folder.starts_with('.') || contains(skipped, folder)) return std::nullopt;
        below.remove_prefix(std::min(below.size(), folder.size() + 1));
    }
    return std::string(root);
}

} // namespace quorvik::GitActivity
