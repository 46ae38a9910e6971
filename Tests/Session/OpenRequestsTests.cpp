#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Session/OpenRequests.h"
#include "QuorvikCore/Session/ProcessInspector.h"

#include <unistd.h>

#include <csignal>

namespace quorvik::OpenRequests {

using namespace testing;

class OpenRequestsTests : public TemporaryHome {
  protected:
    const Path record = sessions / "claude-s.json";
    SessionRecord session{Source::claude, "s", "/w", dateFromSeconds(1)};

    /// A request of the process as another hook leaves it.
    static std::string request(const std::string& id, std::int32_t pid, double startTime) {
        return printJSON({{"id", id}, {"tool", "Bash"}, {"pid", pid}, {"pidStartTime", startTime}});
    }
    void put(const std::string& content) const { write("support/sessions/claude-s.json.asked", content); }
};

TEST_F(OpenRequestsTests, OnlyLivingHooksWait) {
    const double started = ProcessInspector::info(::getpid())->startTime;
    const std::string alive = request("a", ::getpid(), started),
                      reused = request("r", ::getpid(), started - 9);
    Program hook({"sleep", "30"});
    const std::string killed = request("k", hook.pid(), ProcessInspector::info(hook.pid())->startTime);
    ::kill(hook.pid(), SIGKILL); // and nobody asks for its status
    eventually([&] { return !ProcessInspector::isRunning(hook.pid(), {}); });

    EXPECT_FALSE(anyWaiting(session, sessions));
    session.state = SessionState::awaiting;
    EXPECT_TRUE(anyWaiting(session, sessions)); // the agent asks by itself
    struct Case {
        std::string content;
        bool waits, isOpen;
    };
    for (const auto& [content, waits, open] : std::initializer_list<Case>{
             {"[" + alive + "]", true, true},
             {"[" + alive + "," + killed + "]", true, true},
             {"[" + killed + "]", false, false},
             {"[" + reused + "," + killed + "]", false, false},
             {"", true, true}, // being replaced, on a system that shows it: what was open is open
             {"[{}]", true, true},
         }) {
        put(content);
        EXPECT_EQ(anyWaiting(session, sessions), waits) << content;
        EXPECT_EQ(isOpen(record, "a"), open) << content;
    }

    put("[" + killed + "," + alive + "]");
    toolHasRun(record, "Bash", {}); // the oldest one that lives
    EXPECT_FALSE(std::filesystem::exists(record.native() + ".asked"));
    put("[" + killed + "]");
    add(record, "b", "Bash", "x");
    EXPECT_FALSE(strikeOff(record, "b"));
    put("[" + killed + "]");
    strikeOffDead(record);
    EXPECT_TRUE(anyWaiting(session, sessions));
}

} // namespace quorvik::OpenRequests
