#include "quorvik_island/Doctor/ShellChecks.h"

#include "quorvik_island/Doctor/Sandbox.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Install/ShellIntegration.h"
#include "QuorvikCore/Platform/RunProgram.h"

namespace quorvik::Doctor::ShellChecks {

namespace {

constexpr std::chrono::seconds zshTime(10); // some have a lot in their .zshrc
constexpr std::string_view install = "quorvik-island shell install";

/// Whether a new interactive shell has the functions of our script.
void loads(Findings& findings) {
    if (!Platform::findProgram("zsh"))
        return findings.warn("shell.loaded",
                             "zsh is not on your PATH, although your .zshrc loads Quorvik's script",
                             "install zsh, or: quorvik-island shell uninstall");
    constexpr std::string_view mark = "quorvik-script-loaded";
    const auto shell = Doctor::run(
        {"zsh", "-i", "-c", "(( $+functions[_quorvik_precmd] )) && print -r -- " + std::string(mark)},
        zshTime);
    if (shell.output.find(mark) != shell.output.npos)
        return findings.well("shell.loaded", "a new zsh loads Quorvik's script");
    if (!shell.failure.empty())
        return findings.warn("shell.loaded",
                             "a new zsh, asked whether it has loaded Quorvik's script, did not answer: " +
                                 shell.failure,
                             "see what your .zshrc waits for: zsh -i -c true");
    findings.warn("shell.loaded", "a new zsh does not load Quorvik's script",
                  "see what in your .zshrc ends it before Quorvik's block, or: " + std::string(install));
}

void zsh(Findings& findings) {
    const auto rc = ShellIntegration::zshrcURL();
    try {
        const int minimum = ShellIntegration::installedMinimum(ShellIntegration::scriptURL()).value_or(1);
        const auto status =
            ShellIntegration::status(commandLineTool.of({}), minimum, rc, ShellIntegration::scriptURL());
        if (!status.installed)
            return findings.note("shell.zsh", "zsh does not report long commands", std::string(install));
        for (const std::string& difference : status.differences)
            findings.warn("shell.zsh", difference, std::string(install));
        if (status.differences.empty())
            findings.well("shell.zsh", rc.string() + " has Quorvik's block, and its script is up to date");
        loads(findings);
    } catch (const std::exception& error) {
        findings.bad("shell.zsh", error.what(), "make that file readable for you");
    }
}

} // namespace

void run(Findings& findings) {
    zsh(findings);
    if (const auto tmux = Platform::findProgram("tmux"))
        findings.well("shell.tmux", "tmux is there: quorvik-island open goes to sessions in it");
    else
        findings.note("shell.tmux",
                      "tmux is not on your PATH: quorvik-island open cannot go to sessions in it");
}

} // namespace quorvik::Doctor::ShellChecks
