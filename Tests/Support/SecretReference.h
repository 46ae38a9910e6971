#pragma once

#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Text/Regex.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quorvik::testing {

/// What the regular-expression engine makes of the secret patterns, in its own time: for short texts. One
/// that it gives up on counts as found.
inline bool engineFindsSecret(const std::string& text) {
    static const std::vector<Regex> patterns = [] {
        std::vector<Regex> compiled;
        for (const std::string_view pattern : SecretScanner::secretPatterns)
            compiled.push_back(Regex::compile(pattern).value());
        return compiled;
    }();
    return std::ranges::any_of(patterns, [&](const Regex& pattern) {
        return pattern.replaceAll(text, "") != text; // no match is empty
    });
}

} // namespace quorvik::testing
