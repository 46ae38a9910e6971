#pragma once

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Install/HookTarget.h"

/// `quorvik-island hooks`: our hooks in the settings of coding agents.
namespace quorvik::HooksCommand {

/// Takes what came after "hooks" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

/// Adds our hooks to one agent, or renews them, and reports that: lines, and the members "file", "changed",
/// "backup" and "note" of `result`. Throws as HookInstaller::install does.
void install(const HookTarget& target, const std::string& hookPath, Console& console, nlohmann::json& result);

} // namespace quorvik::HooksCommand
