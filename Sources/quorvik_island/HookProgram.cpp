#include "quorvik_island/HookProgram.h"

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

namespace quorvik::HookProgram {

std::string path(const Arguments& arguments) {
    if (const auto chosen = arguments.values.find(option); chosen != arguments.values.end())
        return std::filesystem::absolute(chosen->second).lexically_normal().string();
    const auto installed = std::filesystem::absolute(QuorvikPaths::installedHookBinary());
    const auto running = Platform::runningProgram();
    if (Files::isExecutable(installed) || running.empty()) return installed.string();
    return (running.parent_path() / QuorvikPaths::hookBinaryName).string();
}

std::string runnablePath(const Arguments& arguments) {
    std::string program = path(arguments);
    if (!Files::isExecutable(program))
        throw EditError("there is no hook program at " + program + "; name one with --hook-path");
    return program;
}

} // namespace quorvik::HookProgram
