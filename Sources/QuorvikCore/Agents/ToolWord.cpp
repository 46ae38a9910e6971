#include "QuorvikCore/Agents/ToolWord.h"

#include "QuorvikCore/Text/Unicode.h"

#include <span>

namespace quorvik::ToolWord {

namespace {

constexpr std::size_t maxCharacters = 10;

constexpr std::string_view edit[] = {"edit",           "multiedit",  "notebookedit", "notebook_edit",
                                     "apply_patch",    "applypatch", "edit_file",    "strreplacefile",
                                     "search_replace", "replace"};
constexpr std::string_view write[] = {"write", "write_file", "writefile", "create"};
constexpr std::string_view read[] = {"read", "read_file", "readfile", "view", "notebook_read"};
constexpr std::string_view bash[] = {"bash",          "bashoutput",        "shell",
                                     "exec",          "exec_command",      "local_shell",
                                     "shell_command", "run_shell_command", "run_terminal_command",
                                     "powershell",    "get_output"};
constexpr std::string_view search[] = {"grep",     "glob",           "ls",          "find",
                                       "list_dir", "list_directory", "grep_search", "readmediafile"};
constexpr std::string_view web[] = {"webfetch",   "web_fetch", "websearch",
                                    "web_search", "fetchurl",  "searchweb"};
constexpr std::string_view agent[] = {"agent",       "task",           "run_subagent",
                                      "spawn_agent", "spawn_subagent", "subagent"};
constexpr std::string_view plan[] = {"todowrite", "todo_write", "settodolist"};

struct Group {
    std::string_view word;
    std::span<const std::string_view> tools; ///< lower-cased
};
constexpr Group groups[] = {{"Edit", edit},     {"Write", write}, {"Read", read},   {"Bash", bash},
                            {"Search", search}, {"Web", web},     {"Agent", agent}, {"Plan", plan}};

} // namespace

std::optional<std::string> shortName(std::optional<std::string_view> toolName) {
    if (!toolName || toolName->empty()) return std::nullopt;
    if (toolName->starts_with("mcp__")) return "MCP";
    const std::string lowercased = Unicode::lowercased(*toolName);
    for (const Group& group : groups)
        for (const std::string_view tool : group.tools)
            if (tool == lowercased) return std::string(group.word);
    return std::string(Unicode::firstCharacters(*toolName, maxCharacters));
}

} // namespace quorvik::ToolWord
