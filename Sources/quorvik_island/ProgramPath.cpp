#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Text/ShellQuoting.h"

namespace quorvik {

namespace {

/// Package managers keep each version in a folder of its own, and lead to the newest by links. A program of
/// ours by the name of the link, where there is one in the PATH, or where Homebrew has it; else as it is.
std::filesystem::path lasting(const std::filesystem::path& program) {
    std::error_code ignored;
    const auto isSame = [&](const std::filesystem::path& other) {
        return other.is_absolute() && std::filesystem::equivalent(other, program, ignored);
    };
    if (const auto found = Platform::findProgram(program.filename().native()); found && isSame(*found))
        return *found;
    const auto keg = program.parent_path().parent_path(); // …/Cellar/quorvik/0.1.0
    const auto cellar = keg.parent_path().parent_path();
    const auto link =
        cellar.parent_path() / "opt" / keg.parent_path().filename() / "bin" / program.filename();
    return cellar.filename() == "Cellar" && isSame(link) ? link : program;
}

} // namespace

std::string ProgramPath::of(const Arguments& arguments) const {
    if (const std::string* chosen = arguments.value(option))
        return std::filesystem::absolute(*chosen).lexically_normal().string();
    const auto usual = std::filesystem::absolute(installed());
    const auto running = Platform::runningProgram();
    if (Files::isExecutable(usual) || running.empty()) return usual.string();
    return lasting(running.parent_path() / name).string();
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
