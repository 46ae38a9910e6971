#pragma once

#include "QuorvikCore/Text/Regex.h"

#include <optional>
#include <string>
#include <utility>

namespace quorvik::testing {

/// All lines of ReleaseNotes::plainText, in other words: the regular expressions that define it, one after
/// the other. Absent when the engine gives up. `html` must be UTF-8.
inline std::optional<std::string> releaseNotesByExpressions(const std::string& html) {
    std::optional<std::string> text = html;
    for (const auto& [pattern, replacement] : std::initializer_list<std::pair<const char*, const char*>>{
             {"(?i)</(li|p|h[1-4]|div|ul|ol)>|<br( ?/)?>", "\n"},
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
             {R"((?m)^[ \t]+|[ \t]+$)", ""},
             {"(?m)^[-*] ", "• "},
             {R"(\n+)", "\n"},
             {R"(\A\n|\n\z)", ""}}) {
        const auto regex = Regex::compile(pattern);
        text = regex && text ? regex->replaceAll(*text, replacement) : std::nullopt;
    }
    return text;
}

} // namespace quorvik::testing
