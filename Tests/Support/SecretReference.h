#pragma once

#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

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

/// Whether the engine, whose Unicode tables are of another version than ours, takes the same scalars of the
/// text for letters and numbers as we do.
inline bool engineKnowsLettersOf(std::string_view text) {
    static const Regex word = Regex::compile(R"(\w)").value();
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        const std::string alone(text.substr(0, scalar.length));
        if (scalar.value >= 0x80 && (word.replaceAll(alone, "") != alone) != Regex::isWord(scalar.value))
            return false;
        text.remove_prefix(scalar.length);
    }
    return true;
}

} // namespace quorvik::testing
