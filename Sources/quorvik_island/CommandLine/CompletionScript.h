#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <span>
#include <string>
#include <string_view>

namespace quorvik {

enum class Shell { zsh, bash, fish };

template <>
inline constexpr std::array<std::string_view, 3> rawValues<Shell> = {"zsh", "bash", "fish"};

/// The script by which that shell completes the programs. Everything that it offers it asks of
/// `quorvik-island complete <shell> …`, which is told
///
///   zsh, fish   the words of the command line up to the cursor, the last one as far as it is typed
///   bash        the command line up to the cursor as one text, and $COMP_WORDBREAKS
///
/// and answers with nothing, or with a line that says what is wanted ("values"; "files", which the shell
/// knows itself; "command 2", somebody else's command line that begins with the word of that number), and
/// then the values: a line each, for zsh and fish with a tab and a description behind where there is one.
std::string completionScript(Shell shell, std::span<const std::string_view> programs);

} // namespace quorvik
