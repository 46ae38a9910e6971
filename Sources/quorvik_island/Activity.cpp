#include "quorvik_island/Activity.h"

#include "QuorvikCore/Agents/ToolWord.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

/// Tools of agents that put a question to the user.
constexpr std::string_view questionTools[] = {"AskUserQuestion", "ask_user_question"};

} // namespace

std::string activity(const SessionRecord& record, std::string_view label) {
    const std::string none;
    const std::string& summary = record.summary ? *record.summary : none;
    if (!isAgent(record.source) || !record.tool || record.lastEvent == "Notification") return summary;
    if (label ==
        (Unicode::isPrintableASCII(*record.tool) ? *record.tool : Unicode::terminalLine(*record.tool)))
        return summary;
    const bool asks = std::ranges::find(questionTools, *record.tool) != std::end(questionTools);
    const std::string word = asks ? "Question" : ToolWord::shortName(*record.tool).value_or("");
    return summary.empty() || word.empty() ? word + summary : word + " " + summary;
}

} // namespace quorvik
