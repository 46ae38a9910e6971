#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/ProcessTable.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <charconv>
#include <ctime>
#include <filesystem>
#include <string_view>

namespace quorvik::Platform {

namespace {

double seconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// When the machine started, by the wall clock, in seconds since 1970 (what /proc/stat calls "btime", but
/// finer and without the cost of that file).
double bootTime() {
    // Two clocks cannot be read at one moment: when too much time passed between the two, they are read
    // again.
    for (int attempt = 1;; ++attempt) {
        const double before = seconds(CLOCK_BOOTTIME), wall = seconds(CLOCK_REALTIME),
                     after = seconds(CLOCK_BOOTTIME);
        if (after - before < 0.001 || attempt == 10) return wall - (before + after) / 2;
    }
}

/// Device numbers as the kernel's "devices.txt" assigns them; others are asked for in sysfs.
std::optional<std::string> terminalName(unsigned device) {
    if (device == 0) return std::nullopt;
    const unsigned majorNumber = (device >> 8) & 0xfff;
    const unsigned minorNumber = (device & 0xff) | ((device >> 12) & 0xfff00);
    if (majorNumber >= 136 && majorNumber <= 143)
        return "/dev/pts/" + std::to_string((majorNumber - 136) * 256 + minorNumber);
    const auto properties = Files::read(
        "/sys/dev/char/" + std::to_string(majorNumber) + ":" + std::to_string(minorNumber) + "/uevent", 4096);
    constexpr std::string_view key = "DEVNAME=";
    const auto start = properties ? properties->find(key) : std::string::npos;
    if (start == std::string::npos) return std::nullopt;
    const auto from = start + key.size();
    return "/dev/" + properties->substr(from, properties->find('\n', from) - from);
}

} // namespace

std::optional<ProcessInfo> processInfo(std::int32_t pid) {
    // "pid (name) state ppid pgrp session tty_nr …"; the name may hold blanks and brackets, so its end is the
    // last one.
    const auto line = Files::read("/proc/" + std::to_string(pid) + "/stat", 4096);
    if (!line) return std::nullopt;
    const auto open = line->find('(');
    const auto close = line->rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open) return std::nullopt;

    constexpr int fieldCount = 22; // numbered from 1 as in proc(5); 4 ppid, 7 tty_nr, 22 starttime
    long long fields[fieldCount + 1] = {};
    const char* cursor = line->data() + close + 1;
    const char* const end = line->data() + line->size();
    for (int field = 3; field <= fieldCount; ++field) {
        while (cursor < end && *cursor == ' ')
            ++cursor;
        const char* word = cursor;
        while (cursor < end && *cursor != ' ')
            ++cursor;
        if (word == cursor) return std::nullopt;
        std::from_chars(word, cursor, fields[field]); // the state is a letter and stays 0
    }

    ProcessInfo info;
    info.pid = pid;
    info.parentPID = static_cast<std::int32_t>(fields[4]);
    info.name = line->substr(open + 1, close - open - 1);
    static const double ticksPerSecond = static_cast<double>(::sysconf(_SC_CLK_TCK));
    constexpr std::size_t stateOffset = 2; // after the bracket
    info.isZombie = line->compare(close + stateOffset, 1, "Z") == 0;
    info.startTime = bootTime() + static_cast<double>(fields[22]) / ticksPerSecond;
    info.tty = terminalName(static_cast<unsigned>(fields[7]));
    return info;
}

std::vector<std::string> processArguments(std::int32_t pid) {
    constexpr std::size_t mostBytes = 8u << 20; // the kernel takes 6 MB at most
    const auto words = Files::read("/proc/" + std::to_string(pid) + "/cmdline", mostBytes);
    std::vector<std::string> arguments;
    for (std::size_t start = 0; words && start < words->size();) {
        arguments.emplace_back(words->c_str() + start); // each ends with a NUL
        start += arguments.back().size() + 1;
    }
    return arguments;
}

std::optional<std::string> workingFolder(std::int32_t pid) {
    const std::string link = "/proc/" + std::to_string(pid) + "/cwd";
    std::error_code error;
    const auto folder = std::filesystem::read_symlink(link, error);
    if (error || !std::filesystem::is_directory(folder, error)) return std::nullopt;
    return folder.string();
}

} // namespace quorvik::Platform
