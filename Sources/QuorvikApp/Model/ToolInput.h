#pragma once

#include "QuorvikApp/Model/RequestCard.h"

#include <string_view>
#include <vector>

/// A tool's input, laid out in lines for somebody who decides about it.
namespace quorvik::ToolInput {

struct Lines {
    std::vector<CardLine> lines;
    bool isWhole = true; ///< everything of the input is in there
    bool hides = false;  ///< a credential
};

/// Any text as lines of that kind. What `secrets` (which may be empty) finds is hidden.
Lines text(std::string_view text, CardLine::Kind kind, const RequestCard::SecretFinder& secrets);

/// `json` is the input of `tool` as the agent wrote it, or the beginning of it: a command as such, an edit as
/// a diff, a patch, a plan; anything else as JSON over several lines. What is no JSON is shown as it is. In
/// removed and added lines every difference is to be seen: blanks at their ends are escapes, and tabs at
/// their beginnings where such lines differ in nothing else.
Lines of(std::string_view json, std::string_view tool, const RequestCard::SecretFinder& secrets);

} // namespace quorvik::ToolInput
