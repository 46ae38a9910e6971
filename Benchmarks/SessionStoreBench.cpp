// Loading 10,000 records: warm against a bare loop of readdir and fstatat, cold against opening and reading
// the files bare.

#include "Benchmarks/Measure.h"

#include "QuorvikCore/Session/SessionStore.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

int main() {
    using namespace quorvik;
    constexpr int recordCount = 10'000;
    char name[] = "/tmp/quorvik-bench-XXXXXX";
    const std::filesystem::path folder = ::mkdtemp(name);
    for (int index = 0; index < recordCount; ++index) {
        SessionRecord record(
            Source::claude, "2f6d2b1c-4f3e-4a5b-9c8d-" + std::to_string(100'000'000'000 + index),
            "/Users/somebody/projects/some-application", dateFromSeconds(1763695000.123456 + index));
        record.state = SessionState::working;
        record.tool = "Bash";
        record.summary = "npm run build && npm test -- --coverage";
        record.title = "Fix the login bug";
        record.turnStartedAt = record.stateSince;
        record.lastEvent = "PreToolUse";
        record.host = {"Apple_Terminal", "6A4B1D0E-9E52",       std::nullopt, false,
                       "/dev/ttys001",   "com.example.terminal"};
        record.pid = 4242;
        record.pidStartTime = 1763694000.5;
        SessionStore::write(record, SessionStore::fileURL(record.source, record.sessionID, folder));
    }

    std::size_t sink = 0;
    const auto bareLoop = [&](bool reading) {
        DIR* listing = ::opendir(folder.c_str());
        while (const dirent* entry = ::readdir(listing)) {
            struct stat status;
            if (reading) {
                char buffer[65536];
                const int file = ::openat(::dirfd(listing), entry->d_name, O_RDONLY | O_CLOEXEC);
                const ssize_t count = ::read(file, buffer, sizeof buffer);
                sink += static_cast<std::size_t>(count > 0 ? count : 0);
                ::close(file);
            } else if (::fstatat(::dirfd(listing), entry->d_name, &status, 0) == 0) {
                sink += static_cast<std::size_t>(status.st_size);
            }
        }
        ::closedir(listing);
    };

    SessionStore::LoadCache cache;
    SessionStore::loadAll(folder, cache);
    bench::compare(
        "loadAll, 10,000 unchanged records, warm cache", 31,
        [&] { sink += SessionStore::loadAll(folder, cache).size(); }, "readdir + fstatat",
        [&] { bareLoop(false); });
    bench::compare(
        "loadAll, 10,000 records, cold", 15, [&] { sink += SessionStore::loadAll(folder).size(); },
        "open + read", [&] { bareLoop(true); });
    std::filesystem::remove_all(folder);
    return sink == 0;
}
