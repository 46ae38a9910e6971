#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <string>

namespace quorvik {

/// What a session is doing: an agent's tool in one word, and with what. The tool is left out where the label
/// names it, and where the summary is a sentence of its own. May hold anything that the record holds.
std::string activity(const SessionRecord& record);

} // namespace quorvik
