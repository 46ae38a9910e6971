#pragma once

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Session/QuorvikPaths.h"

#include <filesystem>
#include <string>

namespace quorvik {

/// Finds the program of ours whose path is written into users' files: the one that an option names, else the
/// installed one when it can be run, else the one beside the running program, by a name that outlives an
/// upgrade.
struct ProgramPath {
    std::string_view option; ///< "--hook-path"
    std::string_view what;   ///< "hook program", in messages
    const char* name;        ///< of the file beside the running program
    std::filesystem::path (*installed)();

    /// The absolute path.
    std::string of(const Arguments& arguments) const;

    /// The absolute path of a program that can be run, to be written into a user's file. Throws EditError
    /// when there is none. Warns when it stands in a build folder, which may not stay, unless an option names
    /// it.
    std::string runnableOf(const Arguments& arguments, Console& console) const;
};

/// Written into agents' settings; without it agents would report an error at every event.
inline constexpr ProgramPath hookProgram = {"--hook-path", "hook program", QuorvikPaths::hookBinaryName,
                                            QuorvikPaths::installedHookBinary};

/// Written into the shell's script; without it the script would do nothing.
inline constexpr ProgramPath commandLineTool = {"--cli", "command-line tool", QuorvikPaths::cliBinaryName,
                                                QuorvikPaths::installedCLIBinary};

/// Written into the unit that starts the app.
inline constexpr ProgramPath appProgram = {"--program", "program", QuorvikPaths::appBinaryName,
                                           QuorvikPaths::installedAppBinary};

/// The island at the top of the screen; there is none where Qt was not there when Quorvik was built.
inline constexpr ProgramPath overlayProgram = {
    "--program", "overlay program", QuorvikPaths::overlayBinaryName, QuorvikPaths::installedOverlayBinary};

} // namespace quorvik
