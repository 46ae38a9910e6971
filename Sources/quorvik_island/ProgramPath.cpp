#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Text/ShellQuoting.h"

namespace quorvik {

std::string ProgramPath::of(const Arguments& arguments) const {
    if (const std::string* chosen = arguments.value(option))
        return std::filesystem::absolute(*chosen).lexically_normal().string();
    const auto usual = std::filesystem::absolute(installed());
    const auto running = Platform::runningProgram();
    if (Files::isExecutable(usual) || running.empty()) return usual.string();
    return (running.parent_path() / name).string();
}

std::string ProgramPath::runnableOf(const Arguments& arguments, Console& console) const {
    std::string program = of(arguments);
    if (!Files::isExecutable(program))
        throw EditError("there is no " + std::string(what) + " at " + program + "; name one with " +
                        std::string(option));
    const auto folder = std::filesystem::path(program).parent_path().parent_path(); // of "bin/quorvik-hook"
    std::error_code ignored;
    if (!arguments.value(option) && std::filesystem::exists(folder / "CMakeCache.txt", ignored))
        console.note("your settings will point into a build folder, at " + program +
                     "; to install, run cmake --install " + shellQuoted(folder.native()) +
                     " and then this again");
    return program;
}

} // namespace quorvik
