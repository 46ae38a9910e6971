#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvik::ToolWord {

/// One word for what a tool does, whatever its agent calls it: "Edit", "Write", "Read", "Bash", "Search",
/// "Web", "Agent", "Plan", or "MCP" for a tool of an MCP server; of a tool that is not known the first 10
/// characters of its name. Absent without a name.
std::optional<std::string> shortName(std::optional<std::string_view> toolName);

} // namespace quorvik::ToolWord
