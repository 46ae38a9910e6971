#pragma once

#include "quorvik_island/CommandLine/CommandTable.h"

#include <array>

/// The parts of the table, a file each, and what they share.
namespace quorvik::Rows {

GroupRow looking();
GroupRow answering();
GroupRow settingUp();
GroupRow theApp();
GroupRow helping();

ProgramRow quorvik();
ProgramRow hook();
ProgramRow account();
ProgramRow overlay();

inline constexpr OptionRow json(std::string_view summary) {
    return {.name = "--json", .summary = summary};
}

inline constexpr ArgumentRow itemKey = {.name = "key",
                                        .summary = "the \"id\" of an item, as `show --json` tells it",
                                        .completes = Completes::item};

/// Exit statuses of every command that has no others.
inline constexpr std::array<StatusRow, 3> usualStatuses = {{
    {"0", "done"},
    {"1", "something failed; one line each on standard error says what"},
    {"3", "the command line makes no sense"},
}};

} // namespace quorvik::Rows
