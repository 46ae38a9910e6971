#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace quorvik::SessionStore {

using testing::contentOf;
using testing::namesIn;

class SessionStoreTests : public testing::TemporaryHome {
  protected:
    void increment(std::string_view id = "s") const {
        update(Source::claude, id, sessions, [&](std::optional<SessionRecord>& record) {
            if (!record) record.emplace(Source::claude, std::string(id), "/w", dateFromSeconds(1));
            record->port = record->port.value_or(0) + 1;
        });
    }

    std::optional<std::int64_t> count(std::string_view id = "s") const {
        const LoadResult result = load(fileURL(Source::claude, id, sessions));
        return result.record() ? result.record()->port : std::nullopt;
    }

    /// In a process of its own; does not return there.
    template <typename Work>
    static pid_t inChild(Work work) {
        const pid_t child = ::fork();
        if (child == 0) {
            int status = 0;
            try {
                work();
            } catch (const std::exception&) {
                status = 1;
            }
            ::_exit(status);
        }
        return child;
    }
};

TEST_F(SessionStoreTests, NamesFilesAfterTheSession) {
    struct Case {
        std::string_view id, name;
    };
    for (const auto& [id, name] : std::initializer_list<Case>{
             {"a/b c", "claude-a_b_c.json"},
             {"../x", "claude-___x.json"},
             {"Ünï-5_好٣", "claude-Ünï-5_好٣.json"},
             {"e\u0301!\r\n", "claude-e\u0301__.json"}, // one "_" for a character, however many scalars
             {"👍🏽½\xFF", "claude-___.json"},
             {"", "claude-.json"},
             {"\u0D4E/x", "claude-_x.json"}, // a letter that takes the next character along
         })
        EXPECT_EQ(fileURL(Source::claude, id, "/d").filename(), name) << id;
}

TEST_F(SessionStoreTests, CreatesChangesAndRemoves) {
    increment();
    increment();
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(namesIn(sessions), (std::vector<std::string>{"claude-s.json", "claude-s.json.lock"}));
    for (const auto& [path, mode] : std::initializer_list<std::pair<Path, mode_t>>{
             {sessions, 0700}, {sessions / "claude-s.json", 0600}, {sessions / "claude-s.json.lock", 0600}}) {
        struct stat status;
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, mode) << path;
    }
    update(Source::claude, "s", sessions, [](std::optional<SessionRecord>& record) { record.reset(); });
    EXPECT_EQ(count(), 2);

    remove(*load(sessions / "claude-s.json").record(), sessions);
    EXPECT_EQ(namesIn(sessions), std::vector<std::string>());
    remove(SessionRecord(Source::git, "x", "/", {}), sessions / "nowhere"); // ignored
}

TEST_F(SessionStoreTests, TellsBadFilesApart) {
    increment();
    const std::string good = contentOf(sessions / "claude-s.json");
    const auto padded = [&](std::size_t size) { return good + std::string(size - good.size(), ' '); };
    struct Case {
        const char* name;
        std::string content;
        std::size_t kind; // of the result's variant
    };
    const std::initializer_list<Case> cases = {
        {"good.json", good, 0},
        {"largest.json", padded(maxFileSize), 0},
        {"larger.json", padded(maxFileSize + 1), 2},
        {"newer.json", R"({"schemaVersion":2})", 1},
        {"versionless.json", R"({"source":"git"})", 2},
        {"fraction.json", R"({"schemaVersion":2.5})", 2},
        {"empty.json", "", 2},
        {"array.json", "[]", 2},
        {"deep.json", std::string(100'000, '[') + std::string(100'000, ']'), 2},
        {"latin1.json", "{\"cwd\":\"\xFF\"}", 2},
    };
    for (const auto& [name, content, kind] : cases) {
        write(std::filesystem::path("support/sessions") / name, content);
        EXPECT_EQ(load(sessions / name).value.index(), kind) << name;
    }
    std::filesystem::create_directory(sessions / "folder.json");
    ASSERT_EQ(::mkfifo((sessions / "pipe.json").c_str(), 0600), 0);
    EXPECT_EQ(load(sessions / "pipe.json").value.index(), 2u); // and does not wait for a writer
    std::filesystem::create_symlink("nowhere", sessions / "dangling.json");
    for (const char* ignored :
         {".claude-s.json.1.tmp", ".hidden.json", "claude-x.json.lock", "notes.txt", "json"})
        write(std::filesystem::path("support/sessions") / ignored, good);

    std::array<std::size_t, 3> kinds{};
    for (const LoadResult& result : loadAll(sessions))
        ++kinds[result.value.index()];
    EXPECT_EQ(kinds,
              (std::array<std::size_t, 3>{3, 1, 10})); // claude-s.json too; a folder, a pipe and a dead link
    EXPECT_TRUE(loadAll(home / "nowhere").empty());

    write("support/sessions/claude-s.json", "{}");
    increment();
    EXPECT_EQ(count(), 1); // what cannot be read counts as no record, and is replaced
}

TEST_F(SessionStoreTests, CacheSparesUnchangedFiles) {
    increment("a");
    increment("b");
    LoadCache cache;
    EXPECT_EQ(loadAll(sessions, cache).size(), 2u);

    // Same size and time: not read again, so what was found before stands.
    const Path file = sessions / "claude-a.json";
    const auto time = std::filesystem::last_write_time(file);
    write("support/sessions/claude-a.json", std::string(contentOf(file).size(), 'x'));
    std::filesystem::last_write_time(file, time);
    const auto again = loadAll(sessions, cache);
    EXPECT_TRUE(again[0].record() && again[1].record());

    std::filesystem::last_write_time(file, time + std::chrono::nanoseconds(1));
    std::filesystem::remove(sessions / "claude-b.json");
    const auto changed = loadAll(sessions, cache);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_EQ(changed[0].record(), nullptr);
    EXPECT_EQ(cache.entries.size(), 1u);
}

TEST_F(SessionStoreTests, WritersLoseNoUpdate) {
    std::vector<pid_t> writers;
    for (int i = 0; i < 8; ++i)
        writers.push_back(inChild([&] {
            for (int n = 0; n < 250; ++n)
                increment();
        }));
    for (const pid_t writer : writers) {
        int status = -1;
        ::waitpid(writer, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(count(), 2000);
}

TEST_F(SessionStoreTests, ThreadsQueueOnTheLockToo) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n)
                increment();
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count(), 200);
}

TEST_F(SessionStoreTests, KilledWritersLeaveAWholeRecord) {
    increment();
    for (int round = 0; round < 60; ++round) {
        const pid_t writer = inChild([&] {
            for (;;)
                increment();
        });
        const auto before = count();
        testing::eventually([&] { return count() != before; });
        ::kill(writer, SIGKILL);
        ::waitpid(writer, nullptr, 0);
        ASSERT_TRUE(count().has_value()) << "torn in round " << round;
        increment(); // nobody holds the lock
    }
}

TEST_F(SessionStoreTests, AWaitingWriterSurvivesTheRemovalOfItsLockFile) {
    increment();
    const Path lockFile = sessions / "claude-s.json.lock";
    std::thread waiting;
    {
        const FileLock lock = FileLock::acquire(lockFile);
        waiting = std::thread([&] { increment(); });
#ifdef __linux__
        testing::eventually([] { return contentOf("/proc/locks").find("-> FLOCK") != std::string::npos; });
#endif
        std::filesystem::remove(lockFile); // as remove() does while it holds the lock
    }
    waiting.join();
    EXPECT_TRUE(std::filesystem::exists(lockFile)); // the writer locked a file that others find
    EXPECT_EQ(count(), 2);
}

TEST_F(SessionStoreTests, AFullDiskLeavesTheOldRecord) {
    increment();
    const std::string before = contentOf(sessions / "claude-s.json");
    const pid_t writer = inChild([&] {
        const rlimit limit{100, 100}; // bytes of any file
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, SIG_IGN); // as the programs do
        increment();
    });
    int status = -1;
    ::waitpid(writer, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 1); // it threw
    EXPECT_EQ(contentOf(sessions / "claude-s.json"), before);
    EXPECT_EQ(namesIn(sessions), (std::vector<std::string>{"claude-s.json", "claude-s.json.lock"}));
}

TEST_F(SessionStoreTests, WritesNothingThatNobodyWouldRead) {
    increment();
    EXPECT_THROW(
        update(Source::claude, "s", sessions,
               [](std::optional<SessionRecord>& record) { record->summary = std::string(maxFileSize, 'x'); }),
        FileError);
    EXPECT_EQ(count(), 1);
}

TEST_F(SessionStoreTests, SaysWhatWentWrong) {
    write("support", "a file in the way");
    try {
        increment();
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(std::string(error.what()),
                  "could not create the folder " + sessions.string() + ": Not a directory");
    }
}

#ifdef __linux__
TEST_F(SessionStoreTests, ANotificationTouchesAFile) {
    postChangeNotification(); // no folder yet: ignored
    increment();
    postChangeNotification();
    const Path file = support / "com.quorvik.state-changed";
    const auto past = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time(file, past);
    postChangeNotification();
    EXPECT_GT(std::filesystem::last_write_time(file), past);

    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    postChangeNotification(); // whatever stands there, nobody waits
}
#endif

} // namespace quorvik::SessionStore
