#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/ProcessInspector.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>

namespace quorvik::ProcessInspector {

using namespace testing;

class ProcessInspectorTests : public TemporaryHome {
  protected:
    /// Shells within shells, each of which prints its process number; the last one waits.
    struct Shells {
        Shells(const std::filesystem::path& script, int depth)
            : program({"sh", script.string(), std::to_string(depth)}) {
            for (int i = 0; i < depth; ++i)
                pids.push_back(std::stoi(program.readLine()));
        }
        Program program;
        std::vector<std::int32_t> pids; ///< outermost first
    };

    const std::filesystem::path script =
        write("nest.sh", "echo $$\nif [ $1 -gt 1 ]; then sh \"$0\" $(($1 - 1)); else read x; fi\n:\n");
};

TEST_F(ProcessInspectorTests, KnowsItself) {
    const auto self = info(::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->parentPID, ::getppid());
    EXPECT_EQ(self->name, std::string("QuorvikTests"));
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_LT(self->startTime, now + 1);
    EXPECT_GT(self->startTime, now - 86400); // somebody may be looking with a debugger
    EXPECT_FALSE(info(-1));
    EXPECT_FALSE(info(0x7FFFFFFF));
}

TEST_F(ProcessInspectorTests, WalksUpFromShellsToWhoStartedThem) {
    const Shells two(script, 2);
    EXPECT_EQ(agentProcess(two.pids.back())->pid, ::getpid());
    EXPECT_EQ(agentProcess(::getpid())->pid, ::getpid());

    const Shells four(script, 4);
    EXPECT_EQ(agentProcess(four.pids.back())->pid, ::getpid()); // four steps
    const Shells five(script, 5);
    EXPECT_EQ(agentProcess(five.pids.back())->pid, five.pids.front()); // a fifth is not taken
    EXPECT_FALSE(agentProcess(0x7FFFFFFF));
}

#ifdef __linux__ // macOS names a process after what the link points to
TEST_F(ProcessInspectorTests, NamesAndArgumentsMayHoldAnything) {
    std::filesystem::create_symlink("/bin/sh", home / "a) R 1 (b");
    const std::vector<std::string> words{(home / "a) R 1 (b").string(), "-c", "read x", "", "ü\n"};
    Program program(words);
    eventually([&] { return arguments(program.pid()) == words; });
    EXPECT_EQ(info(program.pid())->name, "a) R 1 (b");
    EXPECT_EQ(info(program.pid())->parentPID, ::getpid());
    EXPECT_TRUE(arguments(0x7FFFFFFF).empty());
}
#endif

TEST_F(ProcessInspectorTests, TellsALiveProcessFromAReusedNumber) {
    Program program({"sleep", "30"});
    const std::int32_t pid = program.pid();
    const double start = info(pid)->startTime;
    for (const double difference : {-1.1, -0.9, 0.9, 1.1})
        EXPECT_EQ(isAlive(pid, start + difference), std::abs(difference) < 1) << difference;
    for (const std::int32_t any : {pid, 1, 0, -1})
        EXPECT_EQ(isAlive(any, std::nullopt), any > 0) << any;
    ::kill(pid, SIGKILL);
    program.finish();
    EXPECT_FALSE(isAlive(pid, std::nullopt));
    EXPECT_FALSE(isAlive(pid, start));
}

TEST_F(ProcessInspectorTests, NeedsNoTerminal) {
    Program without({"sh", "-c", "echo; read x"}, [] { ::setsid(); });
    without.readLine();
    EXPECT_EQ(info(without.pid())->tty, std::nullopt);
    EXPECT_TRUE(isDaemon(*info(without.pid())));
    EXPECT_FALSE(isDaemon(*info(Program({"sleep", "30"}).pid())));
}

} // namespace quorvik::ProcessInspector
