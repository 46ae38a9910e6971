#include "Tests/Support/RunningApp.h"
#include "Tests/Support/Terminal.h"

#include "QuorvikApp/Model/Memory.h"
#include "QuorvikApp/Model/RequestBoard.h"

#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Platform/LineSocket.h"
#include "QuorvikCore/Platform/ServerSocket.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace quorvik {

using namespace testing;

class AppTests : public AppTest {
  protected:
    static std::string bash(const std::string& session = "s", const std::string& more = "") {
        return R"({"session_id":")" + session +
               R"(","cwd":"/w","hook_event_name":"PermissionRequest","tool_name":"Bash",)"
               R"("tool_input":{"command":"git push"})" +
               more + "}";
    }

    /// The error of an answer; empty when the app took it.
    std::string answer(const std::string& id, const nlohmann::json& members) {
        nlohmann::json params = members;
        params["id"] = id;
        try {
            control().call("answer", params);
            return "";
        } catch (const ControlError& error) {
            return error.what();
        }
    }

    void writeRecord(const std::string& id, SessionState state) {
        SessionRecord record(Source::build, id, "/w", std::chrono::system_clock::now());
        record.state = state;
        std::filesystem::create_directories(sessions);
        SessionStore::write(record, SessionStore::fileURL(Source::build, id, sessions));
    }

    static std::string ids(const Snapshot& snapshot) {
        std::string text;
        for (const SnapshotItem* item : snapshot.items())
            text += (text.empty() ? "" : " ") + item->id();
        return text;
    }
};

TEST_F(AppTests, CarriesRequestsOfEveryAgentAndTheirAnswersBack) {
    startApp();
    const std::string suggestions =
        R"(,"permission_suggestions":[{"type":"setMode","mode":"acceptEdits","destination":"session"}])";
    const std::string asks = R"({"session_id":"s","cwd":"/w","hook_event_name":")";
    const std::string questions = R"("tool_name":"AskUserQuestion","tool_input":{"questions":[)"
                                  R"({"question":"Which?","options":[{"label":"One"},{"label":"Two"}]}]}})";
    const std::string allowed =
        R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})";
    struct Case {
        std::string source, payload, answer, reply;
    };
    for (
        const auto& [source, payload, given, reply] : std::initializer_list<Case>{
            {"claude", bash(), R"({"decision":"allow"})", allowed},
            {"claude", bash("s", suggestions), R"({"decision":"allowAlways"})",
             R"({"hookSpecificOutput":{"decision":{"behavior":"allow","updatedPermissions":)"
             R"([{"type":"setMode","mode":"acceptEdits","destination":"session"}]},)"
             R"("hookEventName":"PermissionRequest"}})"},
            {"claude", bash(), R"({"decision":"ask"})", ""},
            {"claude", asks + R"(PermissionRequest",)" + questions,
             R"({"decision":"allow","answers":["my own words"]})",
             R"({"hookSpecificOutput":{"decision":{"behavior":"allow","updatedInput":{"answers":)"
             R"({"Which?":"my own words"},"questions":[{"question":"Which?","options":[{"label":"One"},)"
             R"({"label":"Two"}]}]}},"hookEventName":"PermissionRequest"}})"},
            {"codex", bash(), R"({"decision":"deny","message":"not today"})",
             R"({"hookSpecificOutput":{"decision":{"behavior":"deny","message":"not today"},)"
             R"("hookEventName":"PermissionRequest"}})"},
            {"devin", bash(), R"({"decision":"allow"})", R"({"decision":"approve"})"},
            {"qwen", bash(), R"({"decision":"allow"})", allowed},
            {"copilot",
             R"({"hookName":"permissionRequest","sessionId":"s","cwd":"/w","toolName":"bash",)"
             R"("toolInput":{"command":"ls"}})",
             R"({"decision":"deny","message":"no"})",
             R"({"behavior":"deny","interrupt":false,"message":"no"})"},
            {"grok", asks + R"(PreToolUse",)" + questions, R"({"decision":"allow","answers":["One"]})",
             R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"deny",)"
             R"("permissionDecisionReason":"The user has already answered in the Quorvik notch, so do not ask )"
             R"(again. Continue with their answer.\nQuestion: Which?\nThe user's answer: One"}})"}}) {
        Program& asking = hook(source, payload);
        const std::string id = waitingRequest();
        EXPECT_EQ(synced().requests.at(0)->request.key(), source + "-s");
        EXPECT_EQ(answer(id, nlohmann::json::parse(given)), "") << source;
        const Program::Result result = asking.finish();
        EXPECT_EQ(result.output.substr(0, result.output.find('\n')), reply) << source << " " << given;
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(synced().requests.empty());
    }
    // Their permissions cannot be answered for these: the hook puts nothing to the app.
    for (const std::string source : {"grok", "commandcode", "kimi", "pi"}) {
        EXPECT_EQ(hook(source, bash()).finish(), (Program::Result{0, "", ""})) << source;
        EXPECT_TRUE(synced().requests.empty()) << source;
    }
}

TEST_F(AppTests, TheFirstAnswerWinsAndTheOtherFrontEndIsToldSo) {
    startApp();
    Program& asking = hook("claude", bash());
    const std::string id = waitingRequest();
    EXPECT_EQ(answer(id, {{"decision", "allow"}, {"answers", {"x"}}}),
              "this is no question: it takes no answers");
    EXPECT_EQ(answer(id, {{"decision", "deny"}, {"message", "first"}}), "");
    EXPECT_TRUE(answer(id, {{"decision", "allow"}}).starts_with("answered already, by "));
    EXPECT_NE(asking.finish().output.find("first"), std::string::npos);
    EXPECT_EQ(answer("none", {{"decision", "allow"}}), "there is no such request");
    // Both at the same moment: one is the first.
    Program& again = hook("claude", bash());
    const std::string second = waitingRequest();
    ControlClient other = ControlClient::connect("island", ControlClient::Start::never);
    const nlohmann::json allow = {{"id", second}, {"decision", "allow"}};
    control().send("answer", allow);
    other.send("answer", allow);
    int taken = 0;
    for (ControlClient* client : {&control(), &other})
        eventually([&] {
            const auto message = client->read();
            const auto* reply = message ? std::get_if<ControlClient::Reply>(&*message) : nullptr;
            if (reply) taken += !reply->error;
            return reply != nullptr;
        });
    EXPECT_EQ(taken, 1);
    EXPECT_EQ(again.finish().status, 0);
}

TEST_F(AppTests, WithdrawsWhatItsHookNoLongerWaitsFor) {
    startApp();
    Program& killed = hook("claude", bash());
    const std::string id = waitingRequest();
    ::kill(killed.pid(), SIGKILL);
    killed.finish();
    EXPECT_TRUE(eventually([&] { return synced().requests.empty(); }));
    EXPECT_EQ(answer(id, {{"decision", "allow"}}), "withdrawn");
    // Several of one session, one of which goes.
    hook("claude", bash());
    const std::string first = waitingRequest();
    Program& other = hook("claude", bash());
    ASSERT_TRUE(eventually([&] { return synced().requests.size() == 2; }));
    EXPECT_EQ(synced().requests.at(0)->request.id, first) << "oldest first";
    ::kill(other.pid(), SIGTERM);
    other.finish();
    EXPECT_EQ(waitingRequest(), first);
    EXPECT_EQ(answer(first, {{"decision", "allow"}}), "");
}

TEST_F(AppTests, AHookOutlivesTheAppThatItAsked) {
    startApp();
    Program& unanswered = hook("claude", bash());
    waitingRequest();
    ::kill(app().pid(), SIGKILL);
    EXPECT_EQ(unanswered.finish(), (Program::Result{0, "", ""})) << "the agent asks by itself";
    EXPECT_EQ(app().finish().status, 128 + SIGKILL);
    startApp(); // over the sockets that the killed one left
    Program& again = hook("claude", bash());
    waitingRequest();
    control().call("stop");
    EXPECT_EQ(again.finish(), (Program::Result{0, "", ""}));
    expectAppEnds();
    const std::vector<std::string> left = namesIn(support);
    for (const char* name : {"alert.sock", "approval.sock", "island.sock"})
        EXPECT_EQ(std::ranges::count(left, name), 0) << name;
}

TEST_F(AppTests, AgentsDoNotAnswerForThemselves) {
    startApp();
    Program& asking = hook("claude", bash());
    const std::string id = waitingRequest();
    const std::string python = "import json,os,socket;s=socket.socket(socket.AF_UNIX);"
                               "s.connect(os.environ['QUORVIK_HOME']+'/island.sock');f=s.makefile('rw');"
                               "say=lambda m,p:(f.write(json.dumps({'jsonrpc':'2.0','id':1,'method':m,"
                               "'params':p})+'\\n'),f.flush(),json.loads(f.readline()))[2];"
                               "say('hello',{'protocol':1});"
                               "print(say('answer',{'id':'" +
                               id + "','decision':'allow'})['error']['code'])";
    EXPECT_EQ(Program::run({"env", "CLAUDECODE=1", "python3", "-c", python}).output, "14\n");
    // A process of an agent: the session's record names this test, which starts another one.
    SessionRecord record(Source::codex, "me", "/w", std::chrono::system_clock::now());
    record.pid = ::getpid();
    record.state = SessionState::working;
    SessionStore::write(record, SessionStore::fileURL(Source::codex, "me", sessions));
    synced();
    EXPECT_EQ(Program::run({"python3", "-c", python}).output, "14\n");
    EXPECT_EQ(synced().troubles.size(), 2U);
    EXPECT_EQ(synced().requests.size(), 1U);
    ::kill(asking.pid(), SIGTERM);
}

TEST_F(AppTests, AnswersEveryAlertAsTheValidatorWould) {
    startApp();
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "Hi", "--open", "/tmp/x"}),
              (Program::Result{0, "", ""}));
    EXPECT_EQ(synced().primary->record->openURL, "/tmp/x");
    struct Case {
        std::string line, reply;
    };
    const std::string rest = R"(,"body":"","level":"info","ttl":0})";
    for (const auto& [line, reply] : std::initializer_list<Case>{
             {R"({"title":"ok")" + rest, R"({"status":"ok"})"},
             {R"({"title":"much too long for it")" + rest,
              R"({"message":"title is longer than 16 characters","status":"rejected"})"},
             {R"({"title":"x","open":"/etc/passwd")" + rest,
              R"({"message":"open must be under your home folder or /tmp","status":"rejected"})"},
             {"{}", R"({"message":"no alert: title is missing","status":"rejected"})"},
             {"nonsense", R"({"message":"no alert: not JSON","status":"rejected"})"}}) {
        auto connected = LineSocket::connect((support / "alert.sock").string(), std::chrono::seconds(5));
        auto& socket = std::get<LineSocket>(connected);
        ASSERT_TRUE(socket.sendLine(line));
        const auto got = socket.receiveLine(std::chrono::seconds(5), {.lineBytes = 4096, .chunkBytes = 512});
        EXPECT_EQ(std::get<std::string>(got), reply) << line;
    }
    write(support / "settings.json", R"({"alerts":"off"})");
    synced();
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "Hi"}).status, 2);
    // Approvals likewise: what waits is sent away at once, and so is who comes.
    write(support / "settings.json", "{}");
    synced();
    Program& waiting = hook("claude", bash());
    waitingRequest();
    write(support / "settings.json", R"({"approvals":"off","doneLinger":"soon"})");
    EXPECT_EQ(waiting.finish(), (Program::Result{0, "", ""}));
    EXPECT_EQ(hook("claude", bash()).finish(), (Program::Result{0, "", ""}));
    const auto wrong =
        std::vector<std::string>{"settings: doneLinger must be a number of seconds, 0 to 86400"};
    EXPECT_EQ(synced().troubles, wrong);
    // A file that cannot be read for a while: what was in force stays so, and the same file is read again.
    std::filesystem::copy_file(support / "settings.json", home / "aside");
    std::filesystem::create_symlink(home, home / "folder");
    std::filesystem::rename(home / "folder", support / "settings.json");
    EXPECT_EQ(synced().troubles,
              (std::vector<std::string>{"settings: could not read " + (support / "settings.json").string() +
                                        ": Is a directory"}));
    EXPECT_EQ(hook("claude", bash()).finish(), (Program::Result{0, "", ""}));
    std::filesystem::rename(home / "aside", support / "settings.json");
    EXPECT_TRUE(eventually([&] { return control().snapshot().troubles == wrong; })) << "without being asked";
    ::kill(app().pid(), SIGTERM);
    const auto end = app().finish();
    EXPECT_NE(end.errors.find("doneLinger must be"), std::string::npos);
}

TEST_F(AppTests, ShowsRecordsAsTheyChangeAndKeepsWhatTheUserChose) {
    writeRecord("old", SessionState::failed);
    startApp();
    EXPECT_EQ(ids(synced()), "build-old");
    ControlClient watcher = ControlClient::connect("watch", ControlClient::Start::never);
    watcher.subscribe();
    writeRecord("new", SessionState::failed);
    std::shared_ptr<const Snapshot> newest;
    EXPECT_TRUE(eventually([&] { // told by the system, without anybody asking
        while (const auto message = watcher.read())
            if (const auto* state = std::get_if<std::shared_ptr<const Snapshot>>(&*message)) newest = *state;
        return newest && newest->items().size() == 2;
    }));
    EXPECT_EQ(control().call("acknowledge", {{"key", "build-old"}}).at("acknowledged"), 1);
    EXPECT_EQ(ids(synced()), "build-new");
    EXPECT_THROW(control().call("acknowledge", {{"key", "build-old"}}), ControlError);
    ::kill(app().pid(), SIGKILL);
    app().finish();
    startApp();
    EXPECT_EQ(ids(synced()), "build-new") << "what was waved away stays so, whatever ended the app";
    std::filesystem::remove_all(sessions);
    EXPECT_EQ(ids(synced()), "");
    writeRecord("again", SessionState::failed); // in a folder that is another one now
    EXPECT_TRUE(eventually([&] { return ids(control().snapshot()) == "build-again"; }));
}

TEST_F(AppTests, OneAppPerFolderHoweverManyStart) {
    for (const bool stale : {false, true}) {
        std::filesystem::create_directories(support);
        if (stale)
            for (const char* name : {"island.sock", "approval.sock", "alert.sock"})
                ServerSocket::publish(support / name); // and nobody listens any more
        std::list<Program> starters;
        for (int index = 0; index < 24; ++index)
            starters.emplace_back(std::vector<std::string>{programPath("quorvik-island"), "serve"});
        const auto serving = [] {
            try {
                return ControlClient::connect("command", ControlClient::Start::never)
                    .hello()
                    .at("pid")
                    .get<pid_t>();
            } catch (const NoApp&) {
                return pid_t{0};
            }
        };
        ASSERT_TRUE(eventually([&] { return serving() != 0; }));
        const pid_t app = serving();
        int ended = 0;
        for (Program& starter : starters) {
            if (starter.pid() == app) continue;
            EXPECT_EQ(starter.finish(),
                      (Program::Result{0, "", "quorvik-island: Quorvik is running already\n"}));
            ++ended;
        }
        EXPECT_EQ(ended, 23);
        ControlClient::connect("command", ControlClient::Start::never).call("stop");
        for (Program& starter : starters)
            EXPECT_TRUE(starter.pid() != app || starter.finish().status == 0);
    }
}

TEST_F(AppTests, StartsInTheBackgroundOnDemandOnly) {
    EXPECT_THROW(ControlClient::connect("island", ControlClient::Start::ifMissing), NoApp); // forbidden here
    ::unsetenv("QUORVIK_NO_START");
    ControlClient client = ControlClient::connect("island", ControlClient::Start::ifMissing);
    const auto pid = client.hello().at("pid").get<pid_t>();
    EXPECT_EQ(::getsid(pid), pid) << "in a session of its own";
    EXPECT_EQ(ControlClient::connect("watch", ControlClient::Start::ifMissing).hello().at("pid"), pid);
    EXPECT_EQ(modeOf(support / "app.log"), 0600U);
    // Nor does it matter what stands where the log should be.
    const auto log = support / "app.log";
    const std::function<void()> obstacles[] = {[&] { std::filesystem::create_directory(log); },
                                               [&] { ASSERT_EQ(::mkfifo(log.c_str(), 0600), 0); }};
    for (const auto& block : obstacles) {
        client.call("stop");
        EXPECT_TRUE(eventually([&] { return FileLock::tryAcquire(support / "app.lock").has_value(); }));
        std::filesystem::remove(log);
        block();
        client = ControlClient::connect("island", ControlClient::Start::ifMissing);
    }
    client.call("stop");
    EXPECT_TRUE(eventually([&] { return FileLock::tryAcquire(support / "app.lock").has_value(); }));
    // What stands in the way is said to whoever wanted it.
    std::filesystem::permissions(support, std::filesystem::perms(0777));
    try {
        ControlClient::connect("island", ControlClient::Start::ifMissing);
        ADD_FAILURE();
    } catch (const NoApp& error) {
        EXPECT_EQ(error.what(),
                  "could not start Quorvik: others may write into " + support.string() + ": chmod go-w it");
    }
    std::filesystem::permissions(support, std::filesystem::perms(0700));
    ::setenv("QUORVIK_NO_START", "1", 1);
}

TEST_F(AppTests, PublishesItsSocketsAgainWhenSomebodyTakesThemAway) {
    startApp();
    Program& asking = hook("claude", bash());
    const std::string id = waitingRequest();
    for (const char* name : {"island.sock", "approval.sock", "alert.sock"})
        std::filesystem::remove(support / name);
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(support / "island.sock"); }));
    EXPECT_NO_THROW(ControlClient::connect("command", ControlClient::Start::never).call("sync"));
    EXPECT_EQ(answer(id, {{"decision", "allow"}}), "") << "who was connected stays so";
    EXPECT_EQ(asking.finish().status, 0);
    std::filesystem::remove(support / "app.lock"); // the folder is somebody else's now
    std::filesystem::remove(support / "island.sock");
    EXPECT_EQ(app().finish().status, 0);
}

TEST_F(AppTests, ManyAtOnceEachGetTheirOwn) {
    startApp();
    // Front ends that never read cost the others nothing.
    std::vector<ControlClient> silent;
    for (int index = 0; index < 20; ++index) {
        silent.push_back(ControlClient::connect("watch", ControlClient::Start::never));
        silent.back().subscribe();
    }
    constexpr int count = 40;
    std::vector<FileDescriptor> asking;
    for (int index = 0; index < count; ++index) {
        int error = 0;
        asking.push_back(
            connectedSocket((support / "approval.sock").string(), std::chrono::seconds(5), error));
        const std::string line = R"({"id":"r)" + std::to_string(index) +
                                 R"(","source":"claude","sessionID":"s","cwd":"/w","input":")" +
                                 std::string(30'000, 'x') + "\"}\n";
        ASSERT_TRUE(writeAll(asking.back().get(), line.data(), line.size()));
    }
    EXPECT_EQ(synced().requests.size(), static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index)
        EXPECT_EQ(
            answer("r" + std::to_string(index), {{"decision", "deny"}, {"message", std::to_string(index)}}),
            "");
    for (int index = 0; index < count; ++index) {
        char reply[256] = {};
        EXPECT_GT(::recv(asking[static_cast<std::size_t>(index)].get(), reply, sizeof reply - 1, 0), 0);
        EXPECT_NE(std::string(reply).find("\"" + std::to_string(index) + "\""), std::string::npos);
    }
    asking.clear();
    silent.clear();
#ifdef __linux__ // nobody's descriptor stays
    const auto descriptors = [&] { return namesIn("/proc/" + std::to_string(app().pid()) + "/fd").size(); };
    synced();
    EXPECT_TRUE(eventually([&] { return descriptors() < 40; })) << descriptors();
#endif
}

TEST_F(AppTests, GivesANewFrontEndEveryRequestThatWaitsHoweverLarge) {
    constexpr int most = RequestBoard::mostWaiting;
    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = std::min<rlim_t>(descriptors.rlim_max, 4096);
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    startApp();
    std::vector<FileDescriptor> asking;
    const auto ask = [&](int number) {
        std::string line = R"({"id":"r)" + std::to_string(number) +
                           R"(","source":"claude","sessionID":"s","cwd":"/w","input":")";
        const std::size_t size =
            number % 16 == 0 ? ApprovalWire::maxLine : 1000; // sanitizers take their time
        line += std::string(size - 3 - line.size(), 'x') + "\"}\n";
        int error = 0;
        asking.push_back(
            connectedSocket((support / "approval.sock").string(), std::chrono::seconds(20), error));
        ASSERT_TRUE(writeAll(asking.back().get(), line.data(), line.size()));
    };
    for (int index = 0; index < most; ++index)
        ask(index);
    EXPECT_TRUE(eventually([&] { return control().call("status").at("requests") == most; }));
    ask(most);
    char byte;
    EXPECT_EQ(::recv(asking.back().get(), &byte, 1, 0), 0) << "turned away, and its agent asks by itself";
    const std::string shown = island({"requests", "--json"}).output; // not parsed: that takes seconds here
    EXPECT_GT(shown.size(), most / 16 * (ApprovalWire::maxLine - 100));
    std::size_t at = 0; // the oldest is the first
    for (int index = 0; index < most && at != shown.npos; ++index)
        at = shown.find("\"id\":\"r" + std::to_string(index) + "\"", at);
    EXPECT_NE(at, shown.npos);
    EXPECT_EQ(answer("r500", {{"decision", "deny"}}), "");
    EXPECT_GT(::recv(asking[500].get(), &byte, 1, 0), 0);
}

TEST_F(AppTests, ALogThatNobodyReadsHoldsNothingUp) {
    const auto complain = [&] {
        nlohmann::json settings;
        for (int index = 0; index < 100; ++index)
            settings[std::string(2'000, 'x') + std::to_string(index)] = 1;
        write("support/settings.json", settings.dump());
        EXPECT_EQ(synced().troubles.size(), 100U);
        control().call("stop");
    };
    startApp(); // with a pipe for what it says, which is not read here before its end
    complain();
    const auto end = app().finish();
    EXPECT_EQ(end.status, 0);
    EXPECT_GT(end.errors.size(), 30'000U); // what the pipe held

    std::filesystem::remove(support / "settings.json");
    Terminal window({programPath("quorvik-island"), "serve"});
    ASSERT_TRUE(connects());
    complain();
    EXPECT_EQ(window.finish(), 0);
}

TEST_F(AppTests, FrontEndsAreToldWhatTheyDoWrong) {
    startApp();
    int error = 0;
    const FileDescriptor socket =
        connectedSocket((support / "island.sock").string(), std::chrono::seconds(5), error);
    std::string received;
    const auto say = [&](const std::string& line) {
        const std::string text = line + "\n";
        if (!writeAll(socket.get(), text.data(), text.size())) return std::string("closed");
        while (received.find('\n') == received.npos)
            if (!readMore(socket.get(), received)) return std::string("closed");
        const std::string reply = received.substr(0, received.find('\n'));
        received.erase(0, reply.size() + 1);
        const auto value = nlohmann::json::parse(reply);
        return value.contains("error") ? value.at("error").at("code").dump() + " " + value.at("id").dump()
                                       : "ok " + value.at("id").dump();
    };
    const std::string call = R"({"jsonrpc":"2.0","id":1,"method":)";
    for (const auto& [line, reply] : std::initializer_list<std::pair<std::string, std::string>>{
             {call + R"("snapshot"})", "1 1"}, // hello first
             {call + R"("hello"})", "-32602 1"},
             {call + R"("hello","params":{"protocol":2}})", "1 1"},
             {R"({"jsonrpc":"2.0","id":"a","method":"hello","params":{"protocol":1,"new":[]}})", "ok \"a\""},
             {call + R"("fly"})", "-32601 1"},
             {call + R"("answer","params":{"id":"x"}})", "-32602 1"},
             {call + R"("answer","params":[]})", "-32602 1"},
             {call + R"("acknowledge","params":{"key":"x"}})", "12 1"},
             {call + R"("pick","params":{"key":null}})", "ok 1"},
             {call + R"("pauseAlerts","params":{"seconds":86400}})", "ok 1"},
             {call + R"("pauseAlerts","params":{"seconds":86400.5}})", "-32602 1"},
             {call + R"("pauseAlerts","params":{"seconds":-1}})", "-32602 1"},
             {call + R"("pauseAlerts","params":{"seconds":"1"}})", "-32602 1"},
             {R"([{"jsonrpc":"2.0"}])", "-32600 null"},
             {R"({"id":{},"method":"x"})", "-32600 null"},
             {"{", "-32700 null"},
             {std::string(R"({"a":")") + '\0' + "\"}", "-32700 null"},
             {std::string(100'000, '['), "-32700 null"},
             {call + R"("sync"})", "closed"}}) // three times no JSON
        EXPECT_EQ(say(line), reply) << line.substr(0, 100);
    EXPECT_NO_THROW(synced());

    // Who says all of it at once and stops speaking, as a program in a pipeline does, gets every reply.
    const FileDescriptor hasty =
        connectedSocket((support / "island.sock").string(), std::chrono::seconds(5), error);
    const std::string all = call + R"("hello","params":{"protocol":1}}
)" + call + R"("sync"}
)";
    ASSERT_TRUE(writeAll(hasty.get(), all.data(), all.size()));
    ::shutdown(hasty.get(), SHUT_WR);
    received.clear();
    while (readMore(hasty.get(), received)) {
    }
    EXPECT_EQ(std::ranges::count(received, '\n'), 2) << received;
}

TEST_F(AppTests, TakesOneOverlayAtATime) {
    startApp();
    using Start = ControlClient::Start;
    {
        const ControlClient first = ControlClient::connect("overlay", Start::never);
        EXPECT_THROW(ControlClient::connect("overlay", Start::never), RoleTaken);
        EXPECT_NO_THROW(ControlClient::connect("island", Start::never));
    }
    EXPECT_TRUE(eventually([&] {
        try {
            ControlClient::connect("overlay", Start::never);
            return true;
        } catch (const RoleTaken&) {
            return false;
        }
    }));
}

TEST_F(AppTests, TheExampleOfTheDocumentationRuns) {
    startApp();
    hook("claude", bash());
    const std::string id = waitingRequest();
    const std::string page = contentOf(QUORVIK_SOURCE_DIR "/docs/control.md");
    const std::size_t start = page.find("```python\n") + 10;
    ASSERT_NE(start, std::string::npos + 10);
    write("example.py", page.substr(start, page.find("```", start) - start));
    const Program::Result result = Program::run({"python3", (home / "example.py").string()});
    EXPECT_TRUE(result.output.starts_with(id + " Bash ")) << result.output << result.errors;
}

TEST_F(AppTests, AFullDiskKeepsNobodyFromAnswering) {
    writeRecord("f", SessionState::failed);
    startApp();
    Program& asking = hook("claude", bash());
    const std::string id = waitingRequest();
    // Nothing can be written where memory.json is to stand.
    std::filesystem::remove(support / "memory.json");
    std::filesystem::create_directories(support / "memory.json/x");
    EXPECT_EQ(control().call("acknowledge", {{"key", "build-f"}}).at("acknowledged"), 1);
    EXPECT_EQ(answer(id, {{"decision", "allow"}}), "");
    EXPECT_EQ(asking.finish().status, 0);
    const auto troubles = synced().troubles;
    ASSERT_EQ(troubles.size(), 1U);
    EXPECT_TRUE(troubles.front().starts_with("what you wave away and pick is not kept: "))
        << troubles.front();

    // A file that cannot be read when the app starts is not written over: its choices come back with it.
    const auto file = support / "memory.json", aside = home / "aside";
    std::filesystem::remove_all(file);
    EXPECT_TRUE(synced().troubles.empty());
    ::kill(app().pid(), SIGTERM);
    app().finish();
    std::filesystem::rename(file, aside);
    std::filesystem::create_directory(file);
    writeRecord("g", SessionState::failed);
    startApp();
    EXPECT_EQ(synced().troubles.size(), 1U);
    EXPECT_EQ(control().call("acknowledge", {{"key", "build-g"}}).at("acknowledged"), 1);
    EXPECT_EQ(ids(synced()), "build-f claude-s");
    std::filesystem::remove(file);
    std::filesystem::rename(aside, file);
    EXPECT_EQ(ids(synced()), "claude-s");
    EXPECT_EQ(Memory::parse(contentOf(file)).acknowledged.size(), 2U);
}

TEST_F(AppTests, TellsTheDesktopOfWhatNobodySees) {
    // Stands for the desktop's own program: notes what it is told, and presses what the test says.
    const auto told = home / "told", pressed = home / "pressed";
    writeProgram("bin/notify-send", "#!/bin/sh\ntrap 'echo closed >>" + told.string() +
                                        "; exit 0' INT\necho \"$@\" >>" + told.string() + "\nuntil [ -s " +
                                        pressed.string() + " ]; do sleep 0.02; done\necho 7; cat " +
                                        pressed.string() + "\n");
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", ((home / "bin").string() + ":" + path).c_str(), 1);
    write("support/settings.json", R"({"notifyAfter":0})");
    write("told", "");
    startApp();
    ::setenv("PATH", path.c_str(), 1);
    const auto says = [&](const std::string& text) {
        return eventually([&] { return contentOf(told).find(text) != std::string::npos; });
    };
    Program& settled = hook("claude", bash());
    const std::string first = waitingRequest();
    EXPECT_TRUE(says("Claude Code asks to run Bash"));
    EXPECT_EQ(contentOf(told).find("allow"), std::string::npos) << "it has no room for the whole input";
    EXPECT_EQ(answer(first, {{"decision", "allow"}}), "");
    EXPECT_TRUE(says("closed")); // answered elsewhere
    EXPECT_EQ(settled.finish().status, 0);

    Program& denied = hook("codex", bash());
    EXPECT_TRUE(says("Codex asks to run Bash"));
    write("pressed", "deny\n");
    EXPECT_NE(denied.finish().output.find(R"("behavior":"deny")"), std::string::npos);
    write("pressed", "");
    ControlClient island = ControlClient::connect("island", ControlClient::Start::never);
    write("told", "");
    write("support/settings.json", R"({"notifyAfter":3600})");
    hook("claude", bash("other"));
    const std::string seen = waitingRequest();
    island.call("shown", {{"requests", {seen}}});
    write("support/settings.json", R"({"notifyAfter":0})");
    synced();
    EXPECT_EQ(contentOf(told), "") << "it is in front of the user already";
}

TEST_F(AppTests, SaysThatItIsReadyAndWhatStandsInItsWay) {
    // As a service manager would start it.
    const FileDescriptor manager(::socket(AF_UNIX, SOCK_DGRAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (home / "notify").string();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(::bind(manager.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    startApp();
    ::unsetenv("NOTIFY_SOCKET");
#ifdef __linux__
    char ready[32] = {};
    EXPECT_GT(::recv(manager.get(), ready, sizeof ready - 1, 0), 0);
    EXPECT_STREQ(ready, "READY=1");
#endif
    control().call("stop");
    expectAppEnds();

    // A file or a folder of the user's, where a socket should be: the rest works, they stay, and it is said
    // once. Nor is there a folder where sessions should be, of which the reason is told, not what follows
    // from it.
    write("support/alert.sock", "mine");
    std::filesystem::create_directory(support / "approval.sock");
    std::filesystem::remove_all(sessions);
    std::filesystem::create_symlink(home / "nowhere", sessions);
    startApp();
    EXPECT_EQ(synced().troubles,
              (std::vector<std::string>{"could not create the folder " + sessions.string() +
                                            ": No such file or directory",
                                        "requests of agents cannot arrive: could not listen at " +
                                            (support / "approval.sock").string() + ": File exists",
                                        "alerts cannot arrive: could not listen at " +
                                            (support / "alert.sock").string() + ": File exists"}));
    std::filesystem::remove(sessions);
    EXPECT_EQ(contentOf(support / "alert.sock"), "mine");
    std::filesystem::remove(support / "approval.sock");
    write("support/other", ""); // a change there makes it look again
    EXPECT_EQ(synced().troubles.size(), 2U);
    ::kill(app().pid(), SIGTERM);
    const auto end = app().finish();
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(std::ranges::count(end.errors, '\n'), 2) << end.errors;
    if (::geteuid() != 0) return; // only root can be two users

    // With a long path the sockets stand in /tmp, where another user may have been first.
    ::setenv("QUORVIK_HOME", (home / std::string(90, 'l')).c_str(), 1);
    const std::string taken = "/tmp/quorvik-0-alert.sock";
    std::filesystem::remove(taken);
    Program squatter({"python3", "-c",
                      "import os,socket\nos.setuid(65534)\ns=socket.socket(socket.AF_UNIX)\ns.bind('" +
                          taken + "')\ns.listen()\nprint(1,flush=True)\ninput()"});
    ASSERT_EQ(squatter.readLine(), "1");
    startApp();
    const auto troubles = synced().troubles;
    // Root may replace it; what matters is that whoever listens there is the app, or it is said.
    if (troubles.empty()) {
        EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "x"}).status, 0);
    } else {
        EXPECT_NE(troubles.front().find("belongs to user 65534"), std::string::npos);
    }
    // The app of another such folder would have the same names: it does not take them away.
    ::setenv("QUORVIK_HOME", (home / std::string(91, 'm')).c_str(), 1);
    const auto second = island({"serve"});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.errors.find("/tmp/quorvik-0-island.sock: Address already in use"), std::string::npos)
        << second.errors;
    ::kill(app().pid(), SIGTERM);
    app().finish();
    std::filesystem::remove(taken);
    ::setenv("QUORVIK_HOME", support.c_str(), 1);
}

TEST_F(AppTests, AKilledAppLeavesItsFilesWhole) {
    for (int index = 0; index < 20; ++index)
        writeRecord(std::to_string(index), SessionState::failed);
    std::string before;
    for (int round = 0; round < 8; ++round) {
        startApp();
        for (int index = round * 2; index < round * 2 + 2; ++index)
            control().send("acknowledge", {{"key", "build-" + std::to_string(index)}});
        if (round % 2 == 0) control().call("sync");
        ::kill(app().pid(), SIGKILL);
        app().finish();
        const std::string now = contentOf(support / "memory.json");
        const Memory memory = Memory::parse(now);
        EXPECT_EQ(memory.text(), now) << "neither old nor new";
        EXPECT_GE(now.size(), before.size());
        EXPECT_TRUE(round % 2 != 0 || now.size() > before.size());
        before = now;
    }
}

} // namespace quorvik
