#pragma once

#include <optional>
#include <string>
#include <string_view>

/// A short human title for a turn, taken from the user's prompt.
namespace quorvik::TaskTitle {

/// The first non-empty line of the prompt, without markdown marks, blanks collapsed, redacted. Absent when
/// the line says nothing about the task: no prompt, a bare slash command ("/clear"), an answer such as "ok"
/// or "继续", fewer than three letters or digits (two in CJK and later scripts), or a prompt expanded from a
/// slash command (`source` "slash_command_expansion").
std::optional<std::string> make(std::optional<std::string_view> prompt,
                                std::optional<std::string_view> source,
                                std::optional<std::string_view> projectDir);

} // namespace quorvik::TaskTitle
