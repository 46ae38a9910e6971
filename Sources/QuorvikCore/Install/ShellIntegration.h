#pragma once

#include "QuorvikCore/Install/UserFileEdit.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A small zsh script of ours that reports long commands, and failed git commands, to `quorvik shell`, and
/// the marked block in the user's .zshrc that loads it. All timing is done in the shell; a short command
/// starts nothing that outlives it. Exit status and output of the user's commands stay as they are.
namespace quorvik::ShellIntegration {

using Path = std::filesystem::path;

// The lines around our block.
inline constexpr std::string_view beginMarker = "# >>> quorvik shell integration >>>";
inline constexpr std::string_view endMarker = "# <<< quorvik shell integration <<<";

Path scriptURL(); ///< "shell/quorvik.zsh" in the support folder
Path zshrcURL();  ///< ".zshrc" in $ZDOTDIR when that is set and not empty, else in the home folder

/// Seconds that a command must take to be reported, unless the user says otherwise.
inline constexpr int defaultMinimum = 10;

/// The script. `cli` is the path of the program `quorvik`; commands that take less than `minSeconds` (at
/// least 1) are not reported.
std::string script(std::string_view cli, int minSeconds);

/// Writes the script, whatever it was, and adds the block to `rc` unless its marker is there already. The old
/// content of `rc` is copied to the backups first; a copy that fails stops nothing. Returns what was done to
/// `rc`. Throws FileError or EditError (UserFileEdit::edit); `rc` is then as it was.
EditOutcome install(std::string_view cli, int minSeconds, const Path& rc, const Path& script);

/// The minimum that an installed script has; absent when there is no such script, or it was edited there.
std::optional<int> installedMinimum(const Path& script);

/// Whether the marker is in `rc`; false when that cannot be read.
bool isInstalled(const Path& rc);

/// Whether `rc` loads that script, and not one that stands elsewhere. False when `rc` cannot be read.
bool loads(const Path& rc, const Path& script);

/// Takes the block out of `rc` (backed up as above) and deletes the script. Shells that run already go on
/// reporting. Throws EditError and changes nothing when `rc` holds the first marker but not, on lines of
/// their own, both: where the block ends is then for the user to say.
EditOutcome remove(const Path& rc, const Path& script);

/// The state of the installation, compared with what install() with the same arguments would leave. Throws
/// FileError when one of the two files is there and cannot be read.
struct Status {
    bool installed = false;
    std::vector<std::string> differences; ///< a line each; only when installed
};
Status status(std::string_view cli, int minSeconds, const Path& rc, const Path& script);

} // namespace quorvik::ShellIntegration
