#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace quorvik::SessionStore {

using namespace testing;

class SessionStoreTests : public TemporaryHome {
  protected:
    void increment(std::string_view id = "s") const {
        update(Source::claude, id, sessions, [&](std::optional<SessionRecord>& record) {
            if (!record) record.emplace(Source::claude, std::string(id), "/w", dateFromSeconds(1));
            record->port = record->port.value_or(0) + 1;
        });
    }

    std::optional<std::int64_t> count(std::string_view id = "s") const {
        const auto record = recordIn(fileURL(Source::claude, id, sessions));
        return record ? record->port : std::nullopt;
    }
    Path put(const std::string& name, std::string_view content) const {
        return write("support/sessions/" + name, content);
    }

    /// In a process of its own; does not return there.
    static pid_t inChild(const std::function<void()>& work) {
        const pid_t child = ::fork();
        if (child != 0) return child;
        try {
            work();
        } catch (const std::exception&) {
            ::_exit(1);
        }
        ::_exit(0);
    }

    const Path file = sessions / "claude-s.json";
    const std::vector<std::string> recordAndLock{"claude-s.json", "claude-s.json.lock"};
};

TEST_F(SessionStoreTests, NamesFilesAfterTheSession) {
    for (const auto& [id, name] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
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
    EXPECT_EQ(namesIn(sessions), recordAndLock);
    EXPECT_EQ(modeOf(sessions), 0700u);
    EXPECT_EQ(modeOf(file), 0600u);
    EXPECT_EQ(modeOf(sessions / "claude-s.json.lock"), 0600u);
    update(Source::claude, "s", sessions, [](std::optional<SessionRecord>& record) { record.reset(); });
    EXPECT_EQ(count(), 2);

    remove(*recordIn(file), sessions);
    EXPECT_EQ(namesIn(sessions), std::vector<std::string>());
    remove(SessionRecord(Source::git, "x", "/", {}), sessions / "nowhere"); // ignored
}

TEST_F(SessionStoreTests, TellsBadFilesApart) {
    increment();
    const std::string good = contentOf(file);
    const auto padded = [&](std::size_t size) { return good + std::string(size - good.size(), ' '); };
    // The kind is that of the result's variant.
    for (const auto& [name, content, kind] :
         std::initializer_list<std::tuple<const char*, std::string, std::size_t>>{
             {"largest.json", padded(maxFileSize), 0},
             {"larger.json", padded(maxFileSize + 1), 2},
             {"newer.json", R"({"schemaVersion":2})", 1},
             {"versionless.json", R"({"source":"git"})", 2},
             {"fraction.json", R"({"schemaVersion":2.5})", 2},
             {"empty.json", "", 2},
             {"array.json", "[]", 2},
             {"deep.json", std::string(100'000, '[') + std::string(100'000, ']'), 2},
             {"latin1.json", "{\"cwd\":\"\xFF\"}", 2},
         })
        EXPECT_EQ(load(put(name, content)).value.index(), kind) << name;
    std::filesystem::create_directory(sessions / "folder.json");
    ASSERT_EQ(::mkfifo((sessions / "pipe.json").c_str(), 0600), 0);
    EXPECT_EQ(load(sessions / "pipe.json").value.index(), 2u); // and does not wait for a writer
    std::filesystem::create_symlink("nowhere", sessions / "dangling.json");
    for (const char* ignored :
         {".claude-s.json.1.tmp", ".hidden.json", "claude-x.json.lock", "notes", "json"})
        put(ignored, good);

    std::array<std::size_t, 3> kinds{};
    for (const LoadResult& result : loadAll(sessions))
        ++kinds[result.value.index()];
    // claude-s.json too; a folder, a pipe and a dead link
    EXPECT_EQ(kinds, (std::array<std::size_t, 3>{2, 1, 10}));
    EXPECT_TRUE(loadAll(home / "nowhere").empty());

    put("claude-s.json", "{}");
    increment();
    EXPECT_EQ(count(), 1); // what cannot be read counts as no record, and is replaced
}

TEST_F(SessionStoreTests, CacheSparesUnchangedFiles) {
    increment("a");
    increment("b");
    LoadCache cache;
    EXPECT_EQ(loadAll(sessions, cache).size(), 2u);

    // Same size and time: not read again, so what was found before stands.
    const Path a = sessions / "claude-a.json";
    const auto time = std::filesystem::last_write_time(a);
    put("claude-a.json", std::string(contentOf(a).size(), 'x'));
    std::filesystem::last_write_time(a, time);
    const auto again = loadAll(sessions, cache);
    EXPECT_TRUE(again[0].record() && again[1].record());

    std::filesystem::last_write_time(a, time + std::chrono::nanoseconds(1));
    std::filesystem::remove(sessions / "claude-b.json");
    const auto changed = loadAll(sessions, cache);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_EQ(changed[0].record(), nullptr);
    EXPECT_EQ(cache.entries.size(), 1u);
}

TEST_F(SessionStoreTests, WritersLoseNoUpdate) {
    const auto incrementOften = [&] {
        for (int n = 0; n < 200; ++n)
            increment();
    };
    std::vector<pid_t> processes;
    for (int i = 0; i < 8; ++i)
        processes.push_back(inChild(incrementOften));
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&] { EXPECT_NO_THROW(incrementOften()); });
    for (const pid_t process : processes)
        EXPECT_EQ(statusOf(process), 0);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count(), 2000);
}

TEST_F(SessionStoreTests, KilledWritersLeaveAWholeRecord) {
    increment();
    for (int round = 0; round < 60; ++round) {
        const pid_t writer = inChild([&] {
            for (;;)
                increment();
        });
        const auto before = count();
        eventually([&] { return count() != before; });
        ::kill(writer, SIGKILL);
        statusOf(writer);
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
        eventually([] { return contentOf("/proc/locks").find("-> FLOCK") != std::string::npos; });
#endif
        std::filesystem::remove(lockFile); // as remove() does while it holds the lock
    }
    waiting.join();
    EXPECT_TRUE(std::filesystem::exists(lockFile)); // the writer locked a file that others find
    EXPECT_EQ(count(), 2);
}

TEST_F(SessionStoreTests, WhatCannotBeWrittenLeavesTheOldRecord) {
    increment();
    const std::string before = contentOf(file);
    const pid_t writer = inChild([&] {
        limitFileSize(100);
        ::signal(SIGXFSZ, SIG_IGN); // as the programs do
        increment();
    });
    EXPECT_EQ(statusOf(writer), 1); // it threw
    const auto fill = [](std::optional<SessionRecord>& record) {
        record->summary = std::string(maxFileSize, 'x');
    };
    EXPECT_THROW(update(Source::claude, "s", sessions, fill), FileError); // nobody would read it
    EXPECT_EQ(contentOf(file), before);
    EXPECT_EQ(namesIn(sessions), recordAndLock);

    std::filesystem::remove_all(support);
    write("support", "a file in the way");
    try {
        increment();
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(), "could not create the folder " + sessions.string() + ": Not a directory");
    }
}

#ifdef __linux__
TEST_F(SessionStoreTests, ANotificationTouchesAFile) {
    postChangeNotification(); // no folder yet: ignored
    increment();
    postChangeNotification();
    const Path touched = support / "com.quorvik.state-changed";
    const auto past = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time(touched, past);
    postChangeNotification();
    EXPECT_GT(std::filesystem::last_write_time(touched), past);

    std::filesystem::remove(touched);
    ASSERT_EQ(::mkfifo(touched.c_str(), 0600), 0);
    postChangeNotification(); // whatever stands there, nobody waits
}
#endif

} // namespace quorvik::SessionStore
