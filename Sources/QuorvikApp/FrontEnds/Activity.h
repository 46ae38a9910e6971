#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <string>
#include <string_view>

namespace quorvik {

/// What a session is doing: the agent's tool in one word, and the summary of what it works on. The tool is
/// left out where the label (itemLabel) names it already, and where the summary is a sentence by itself. The
/// text is as the record holds it: not yet safe for a terminal.
std::string activity(const SessionRecord& record, std::string_view label);

} // namespace quorvik
