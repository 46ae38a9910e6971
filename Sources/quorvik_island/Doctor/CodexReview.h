#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Codex runs no hook before its user has reviewed it, and asks again when it was changed. What it was shown
/// it keeps in its config.toml: a digest of every hook, under a key that names the file, the event and the
/// place in its list.
namespace quorvik::Doctor::CodexReview {

enum class State {
    reviewed,
    pending,    ///< never reviewed
    changed,    ///< it is not as it was when it was reviewed
    switchedOff ///< by the user, in Codex
};

/// What Codex says of one of our hooks.
struct Hook {
    std::string event;
    State state;

    bool operator==(const Hook&) const = default;
};

/// Our hooks in a file of hooks. `path` is that file's, as Codex sees it. Throws as HookInstaller::entries()
/// does when `hooks` cannot be understood. What Codex's settings do not tell in the form in which Codex
/// writes it counts as never told.
std::vector<Hook> hooks(std::string_view hooks, std::string_view config, std::string_view path);

/// Whether the settings switch all hooks off: "hooks" is false in their table "features".
bool areHooksOff(std::string_view config);

} // namespace quorvik::Doctor::CodexReview
