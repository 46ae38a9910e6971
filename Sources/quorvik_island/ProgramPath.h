#pragma once

#include "quorvik_island/Arguments.h"

#include "QuorvikCore/Session/QuorvikPaths.h"

#include <filesystem>
#include <string>

namespace quorvik {

/// Which of our programs is written into users' files: what an option says, else the installed one when it
/// can be run, else the one beside the running program.
struct ProgramPath {
    std::string_view option; ///< "--hook-path"
    std::string_view what;   ///< "hook program", in messages
    const char* name;        ///< of the file beside the running program
    std::filesystem::path (*installed)();

    /// The absolute path.
    std::string of(const Arguments& arguments) const;

    /// The same, for an installation: throws EditError when there is no such program.
    std::string runnableOf(const Arguments& arguments) const;

    /// What somebody should know before that program is written into a file of theirs: that it stands in a
    /// build folder, which may be gone tomorrow, unless they chose it. Empty for an installed one.
    std::string warningAbout(const std::string& program, const Arguments& arguments) const;
};

/// Written into agents' settings; without it agents would report an error at every event.
inline constexpr ProgramPath hookProgram = {"--hook-path", "hook program", QuorvikPaths::hookBinaryName,
                                            QuorvikPaths::installedHookBinary};

/// Written into the shell's script; without it the script would do nothing.
inline constexpr ProgramPath commandLineTool = {"--cli", "command-line tool", QuorvikPaths::cliBinaryName,
                                                QuorvikPaths::installedCLIBinary};

} // namespace quorvik
