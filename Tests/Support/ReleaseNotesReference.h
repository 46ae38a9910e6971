#pragma once

#include "QuorvikCore/Text/Regex.h"

#include <optional>
#include <string>

namespace quorvik::testing {

/// All lines of ReleaseNotes::plainText, in other words: the regular expressions that define it, one after
/// the other. Absent when the engine gives up. `html` must be UTF-8.
inline std::optional<std::string> releaseNotesByExpressions(const std::string& html) {
    constexpr struct {
        const char *pattern, *replacement;
    } steps[] = {
        {"(?i)</li>", "\n"},
        {"(?i)</p>", "\n"},
        {"(?i)</h1>", "\n"},
        {"(?i)</h2>", "\n"},
        {"(?i)</h3>", "\n"},
        {"(?i)</h4>", "\n"},
        {"(?i)</div>", "\n"},
        {"(?i)<br>", "\n"},
        {"(?i)<br/>", "\n"},
        {"(?i)<br />", "\n"},
        {"(?i)</ul>", "\n"},
        {"(?i)</ol>", "\n"},
        {"(?i)<li[^>]*>", "• "},
        {R"((?i)<(script|style)[^>]*>.*?</\1>)", ""},
        {"<[^>]+>", ""},
        {"&nbsp;", " "},
        {"&lt;", "<"},
        {"&gt;", ">"},
        {"&quot;", "\""},
        {"&#39;", "'"},
        {"&amp;", "&"},
        {R"(\R)", "\n"},
        {R"((?m)^[\p{Zs}\t]+|[\p{Zs}\t]+$)", ""},
        {"(?m)^[-*] ", "• "},
        {R"(\n+)", "\n"},
        {R"(\A\n|\n\z)", ""},
    };
    std::optional<std::string> text = html;
    for (const auto& [pattern, replacement] : steps) {
        const auto regex = Regex::compile(pattern);
        text = regex && text ? regex->replaceAll(*text, replacement) : std::nullopt;
    }
    return text;
}

} // namespace quorvik::testing
