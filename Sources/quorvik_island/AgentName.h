#pragma once

#include "QuorvikCore/Session/Source.h"

#include <string>

namespace quorvik {

/// The coding agent that a word of the command line names. Throws UsageError: "unknown agent quen, did you
/// mean qwen?".
Source agentNamed(const std::string& word);

} // namespace quorvik
