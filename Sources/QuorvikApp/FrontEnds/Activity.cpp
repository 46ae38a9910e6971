#include "QuorvikApp/FrontEnds/Activity.h"

#include "QuorvikCore/Agents/ToolWord.h"
#include "QuorvikCore/Approvals/Question.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik {

std::string activity(const SessionRecord& record, std::string_view label) {
    const std::string none;
    const std::string& summary = record.summary ? *record.summary : none;
    if (!isAgent(record.source) || !record.tool || record.lastEvent == "Notification") return summary;
    if (label ==
        (Unicode::isPrintableASCII(*record.tool) ? *record.tool : Unicode::terminalLine(*record.tool)))
        return summary;
    const std::string word =
        Question::isTool(*record.tool) ? "Question" : ToolWord::shortName(*record.tool).value_or("");
    return summary.empty() || word.empty() ? word + summary : word + " " + summary;
}

} // namespace quorvik
