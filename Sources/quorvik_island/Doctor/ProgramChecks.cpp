#include "quorvik_island/Doctor/ProgramChecks.h"

#include "quorvik_island/Doctor/HookTrial.h"
#include "quorvik_island/Doctor/Sandbox.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace quorvik::Doctor::ProgramChecks {

namespace {

constexpr std::chrono::seconds versionTime(5);
constexpr const char* howToInstall = "install Quorvik again";

using Milliseconds = std::chrono::duration<double, std::milli>;

/// Standard input comes from a file for as long as it lives.
class InputFromFile {
  public:
    explicit InputFromFile(const std::filesystem::path& path)
        : before_(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)),
          file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (!file_ || ::dup2(file_.get(), STDIN_FILENO) < 0) throw FileError("open", path, errno);
    }
    ~InputFromFile() { ::dup2(before_.get(), STDIN_FILENO); }
    InputFromFile(const InputFromFile&) = delete;
    InputFromFile& operator=(const InputFromFile&) = delete;

    void rewind() const { ::lseek(STDIN_FILENO, 0, SEEK_SET); }

  private:
    FileDescriptor before_, file_;
};

/// A variable of our environment has another value for as long as it lives.
class ChangedVariable {
  public:
    ChangedVariable(const char* name, const std::string& value)
        : name_(name), wasSet_(std::getenv(name) != nullptr), before_(Platform::environmentValue(name)) {
        ::setenv(name, value.c_str(), 1);
    }
    ~ChangedVariable() {
        if (wasSet_)
            ::setenv(name_, before_.c_str(), 1);
        else
            ::unsetenv(name_);
    }
    ChangedVariable(const ChangedVariable&) = delete;
    ChangedVariable& operator=(const ChangedVariable&) = delete;

  private:
    const char* name_;
    bool wasSet_;
    std::string before_;
};

struct Percentiles {
    Milliseconds median, ninetyNinth;
};

Percentiles percentiles(std::vector<Milliseconds>& times) {
    std::ranges::sort(times);
    return {times[times.size() / 2], times[times.size() * 99 / 100]};
}

std::string text(Milliseconds time) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.1f", time.count());
    return buffer;
}

} // namespace

void run(Findings& findings) {
    const std::string ownVersion(BuildInfo::version());
    const auto check = [&](const char* name, const std::string& path) {
        const std::string id = std::string("programs.") + name;
        if (!Files::isExecutable(path))
            return findings.bad(id,
                                path + (std::filesystem::exists(path) ? " cannot be run" : " is not there"),
                                howToInstall);
        const auto version = versionOf(path, versionTime);
        if (!version)
            findings.note(id, path + " does not tell its version");
        else if (*version != ownVersion)
            findings.warn(id, path + " is version " + *version + ", not " + ownVersion, howToInstall);
        else
            findings.well(id, path + ", version " + *version);
    };
    const auto own = Platform::runningProgram();
    check("quorvik-island", own.string());
    check("quorvik", commandLineTool.of({}));
    check("quorvik-hook", hookProgram.of({}));
    for (const char* optional : {"quorvik-account", "quorvik-overlay"})
        if (const auto path = own.parent_path() / optional; std::filesystem::exists(path))
            check(optional, path.string());

    if (!Platform::findProgram("quorvik"))
        findings.note("programs.path", "quorvik is not on your PATH",
                      "add " + own.parent_path().string() + " to it");
}

void timeOfHook(Findings& findings) {
    constexpr int runs = 200;
    constexpr Milliseconds tooLong(100); // a person notices
    const std::string hook = hookProgram.of({});
    const auto nothing = Platform::findProgram("true");
    if (!nothing || !Files::isExecutable(hook)) return;
    const TemporarySupport support;
    const InputFromFile input(
        support.write("payload", HookTrial::payload(Source::claude, "quorvik-doctor", "/")));
    const ChangedVariable folder("QUORVIK_HOME", support.folder().string());
    const auto timeOf = [&](const std::vector<std::string>& words) {
        input.rewind();
        const auto start = std::chrono::steady_clock::now();
        Platform::runProgram(words);
        return Milliseconds(std::chrono::steady_clock::now() - start);
    };
    std::vector<Milliseconds> ours, yardstick;
    for (int run = 0; run < runs; ++run) {
        yardstick.push_back(timeOf({nothing->string()}));
        ours.push_back(timeOf({hook, "--source", "claude"}));
    }
    const auto [median, ninetyNinth] = percentiles(ours);
    const auto [emptyMedian, emptyNinetyNinth] = percentiles(yardstick);
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "%.1f", median / emptyMedian);
    const std::string words = "an event costs its agent " + text(median) + " ms, " + ratio +
                              " times an empty process (" + text(emptyMedian) +
                              " ms); the slowest in a hundred " + text(ninetyNinth) + " ms and " +
                              text(emptyNinetyNinth) + " ms";
    if (median > tooLong)
        findings.warn("programs.time", words, "see whether something inspects every program that starts");
    else
        findings.well("programs.time", words);
}

} // namespace quorvik::Doctor::ProgramChecks
