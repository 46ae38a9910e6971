#include "QuorvikCore/Activity/GitWorkInProgress.h"

#include <utility>

namespace quorvik {

namespace {

constexpr std::pair<const char*, GitWorkInProgress> signs[] = {
    {"rebase-merge", GitWorkInProgress::rebase}, {"rebase-apply", GitWorkInProgress::rebase},
    {"MERGE_HEAD", GitWorkInProgress::merge},    {"CHERRY_PICK_HEAD", GitWorkInProgress::cherryPick},
    {"REVERT_HEAD", GitWorkInProgress::revert},
};

} // namespace

std::optional<GitWorkInProgress> detectGitWorkInProgress(const std::filesystem::path& gitDirectory) {
    for (const auto& [name, operation] : signs) {
        std::error_code ignored;
        if (std::filesystem::exists(gitDirectory / name, ignored)) return operation;
    }
    return std::nullopt;
}

} // namespace quorvik
