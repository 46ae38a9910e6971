#include "Tests/Support/FakeApp.h"
#include "Tests/Support/RunningApp.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <regex>

namespace quorvik {

using namespace testing;

/// The commands that need the app, and those that work with and without it.
class ControlCommandsTests : public AppTest {
  protected:
    void put(const std::string& id, SessionState state,
             const std::function<void(SessionRecord&)>& change = {}) const {
        SessionRecord record(Source::build, id, "/w", std::chrono::system_clock::now());
        record.state = state;
        record.tool = id;
        if (change) change(record);
        std::filesystem::create_directories(sessions);
        SessionStore::write(record, SessionStore::fileURL(record.source, record.sessionID, sessions));
    }
    static std::string line(const Program::Result& result) {
        EXPECT_EQ(result.errors, "");
        return result.output.substr(0, result.output.find('\n'));
    }
};

TEST_F(ControlCommandsTests, NoAppIsOneLine) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"requests"},
                                                  {"alerts"},
                                                  {"acknowledge", "--all"},
                                                  {"pick", "--none"},
                                                  {"open", "x"},
                                                  {"why"},
                                                  {"sync"},
                                                  {"status"},
                                                  {"stop"},
                                                  {"restart"}})
        EXPECT_EQ(island(words), failed(1, "Quorvik is not running")) << words[0];
    for (const auto& [words, why] : std::initializer_list<std::pair<std::vector<std::string>, std::string>>{
             {{"acknowledge"}, "acknowledge: say one key, or --all"},
             {{"acknowledge", "x", "--all"}, "acknowledge: say one key, or --all"},
             {{"pick"}, "pick: say one key, or --none"},
             {{"open"}, "open: say one key"},
             {{"alerts", "pause", "0"}, "alerts: the minutes must be 1 to 1440"},
             {{"overlay", "stop", "--doctor"}, "overlay: say one of stop, --foreground and --doctor"},
             {{"alerts", "resume", "5"}, "alerts: resume takes no minutes"},
             {{"why", "a", "b"}, "why: unexpected argument b"},
             {{"watch", "--json", "--format", "tmux"}, "watch: --json is a format of its own"},
             {{"watch", "--format", "dzen"}, "watch: unknown format dzen"},
             {{"settings", "colour"}, "settings: there is no setting colour"},
             {{"settings", "--default"}, "settings: --default goes with one name"}})
        EXPECT_EQ(island(words), failed(3, why + " (see quorvik-island " + words[0] + " --help)"));
}

TEST_F(ControlCommandsTests, WhatIsSeenGoesAndWhatIsPickedIsKeptInFront) {
    put("broken", SessionState::failed);
    put("busy", SessionState::working);
    startApp();
    ASSERT_EQ(
        Program::run({programPath("quorvik"), "alert", "--title", "Deployed", "--body", "all <b>"}).status,
        0);
    const auto alert = json({"alerts", "--json"}).at(0);
    EXPECT_EQ(alert["title"], "Deployed");
    const std::string key = alert["key"];
    EXPECT_TRUE(std::regex_match(island({"alerts"}).output,
                                 std::regex(key + "\tinfo\t[0-9]+ s\tDeployed\tall <b>\n")));

    const auto primary = [] {
        EXPECT_EQ(island({"sync"}), (Program::Result{0, "", ""}));
        Program watch({programPath("quorvik-island"), "watch"});
        return watch.readLine();
    };
    EXPECT_EQ(primary(), "RUN failed broken +2");
    EXPECT_EQ(island({"pick", "build-busy"}), (Program::Result{0, "", ""}));
    EXPECT_EQ(primary(), "RUN working busy +2");
    EXPECT_EQ(island({"pick", "--none"}).status, 0);
    EXPECT_EQ(primary(), "RUN failed broken +2");
    EXPECT_EQ(line(island({"acknowledge", "build-broken"})), "acknowledged 1");
    EXPECT_EQ(primary(), "RUN working busy +1");
    EXPECT_EQ(island({"pick", "build-none"}).status, 1);
    EXPECT_NE(island({"why", "build-broken"}).output.find("waved away"), std::string::npos);
    EXPECT_EQ(line(island({"acknowledge", "--all"})), "acknowledged 1");
    EXPECT_EQ(island({"alerts"}).output, "");
    EXPECT_TRUE(island({"alerts", "pause"}).output.starts_with("paused until "));
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "Later"}).status, 2);
    EXPECT_EQ(json({"alerts", "resume", "--json"}), nlohmann::json::object());
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "Now", "--ttl", "1"}).status, 0);
    EXPECT_EQ(json({"show", "--json"})["primary"]["id"], "build-busy");
    EXPECT_GT(json({"show", "--json"})["revision"], 0);

    const auto status = json({"status", "--json"});
    EXPECT_EQ(status["running"], true);
    EXPECT_EQ(status["pid"], app().pid());
    EXPECT_TRUE(std::regex_search(island({"status"}).output,
                                  std::regex("^running for [0-9]+ s: version [0-9.]+, process " +
                                             std::to_string(app().pid()) +
                                             ", .*\n"
                                             "folder " +
                                             support.string() + "\n0 requests wait\n")));
    EXPECT_EQ(island({"stop"}), (Program::Result{0, "", ""}));
    EXPECT_EQ(json({"status", "--json"})["running"], false);            // at once: `stop` has waited
    EXPECT_EQ(json({"show", "--json"})["primary"]["id"], "build-busy"); // what was seen stays seen
    EXPECT_EQ(json({"show", "--json"})["revision"], 0);
    expectAppEnds();
}

TEST_F(ControlCommandsTests, WatchOutlivesTheAppAndNotItsReader) {
    startApp();
    const std::string program = programPath("quorvik-island");
    Program bar({program, "watch", "--format", "tmux"}), whole({program, "watch", "--json"});
    EXPECT_EQ(bar.readLine(), "");                  // the first at once, even if there is nothing
    EXPECT_TRUE(std::filesystem::exists(sessions)); // a folder that is made later is noticed later
    auto first = parseJSON(whole.readLine()).value_or(nullptr);
    put("#(make)\x7F\xE2\x80\xAE", SessionState::working);
    EXPECT_EQ(bar.readLine(), "RUN working ##(make) ");
    nlohmann::json second;
    std::string line;
    for (second = first;
         second["primary"].is_null();) // the bar's arrival is no change, but a trouble would be
        second = parseJSON(line = whole.readLine()).value_or(nullptr);
    for (const std::string& text : {line, island({"show", "--json"}).output}) // nothing that a terminal obeys
        EXPECT_NE(text.find(R"("tool":"#(make)\u007f\u202e")"), text.npos) << text;
    EXPECT_GT(second["revision"], first["revision"]);
    for (const char* member : {"bubbles", "overflow", "corrupt", "unsupported", "requests", "alerts"})
        EXPECT_TRUE(second[member].is_array()) << member;

    EXPECT_EQ(island({"stop"}).status, 0);
    EXPECT_EQ(bar.readLine(), "");
    const auto gone = parseJSON(whole.readLine()).value_or(nullptr);
    EXPECT_TRUE(gone["primary"].is_null());
    EXPECT_EQ(gone["troubles"], nlohmann::json::array({"Quorvik went away"}));
    startApp();
    EXPECT_EQ(bar.readLine(), "RUN working ##(make) ");

    bar.closeOutput();
    whole.closeOutput();
    EXPECT_EQ(bar.finish().status, 0); // nothing has changed meanwhile
    EXPECT_EQ(whole.finish().status, 0);
    EXPECT_TRUE(eventually([] { return json({"status", "--json"})["frontEnds"].empty(); }));
}

TEST_F(ControlCommandsTests, SettingsAreKeptAndTakenOver) {
    EXPECT_EQ(line(island({"settings", "doneLinger"})), "4");
    EXPECT_EQ(line(island({"settings", "doneLinger", "1.5"})), "1.5");
    const auto file = support / "settings.json";
    EXPECT_EQ(contentOf(file), "{\n  \"doneLinger\": 1.5\n}\n");
    EXPECT_EQ(modeOf(file), 0600u);

    startApp();
    write("support/settings.json",
          R"({"later": {"a": 1.50}, "alerts": "off", "maxBubbles": 1, "alerts": "off"})");
    EXPECT_EQ(island({"settings", "alerts", "on"}),
              (Program::Result{0, "on\n", "quorvik-island: settings: there is no setting later\n"}));
    EXPECT_EQ(contentOf(file),
              "{\n  \"later\": {\n    \"a\": 1.50\n  },\n  \"alerts\": \"on\",\n  \"maxBubbles\": 1\n}");
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "a"}).status, 0); // taken over
    EXPECT_EQ(island({"settings", "alerts", "off"}).status, 0);
    EXPECT_EQ(Program::run({programPath("quorvik"), "alert", "--title", "a"}).status, 2);
    EXPECT_EQ(json({"settings", "alerts", "--default", "--json"}), (nlohmann::json{{"alerts", "on"}}));
    EXPECT_EQ(json({"settings", "--json"})["maxBubbles"], 1);

    for (const std::string nonsense : {"x", "86401", "\"4\"", "true", "1e999", ""})
        EXPECT_EQ(island({"settings", "doneLinger", nonsense}),
                  failed(3,
                         "settings: doneLinger must be a number of seconds, 0 to 86400 (see quorvik-island "
                         "settings --help)"))
            << nonsense;
    write("support/settings.json", R"({"doneLinger": -1, "staleAfter": 60})");
    const auto some = island({"settings", "staleAfter"});
    EXPECT_EQ(some.output, "60\n");
    EXPECT_EQ(some.errors, "quorvik-island: settings: doneLinger must be a number of seconds, 0 to 86400\n");
    write("support/settings.json", "{");
    EXPECT_EQ(island({"settings", "alerts", "off"}), failed(1, file.string() + ": Invalid JSON near byte 1"));
    EXPECT_EQ(contentOf(file), "{");
}

TEST_F(ControlCommandsTests, TheOverlayIsStartedAndEnded) {
    const std::string why = "could not start the overlay: ";
    for (const auto& [script, result] : std::initializer_list<std::pair<std::string, Program::Result>>{
             {"env >\"$HOME/env\"; echo ready >&3", {0, "", ""}},
             {"echo 'running an overlay runs already (process 123)' >&3",
              {0, "", "quorvik-island: an overlay runs already (process 123)\n"}},
             {"echo 'there is\x1B"
              "no display' >&3",
              failed(1, why + "there is no display")},
             {"exit 0",
              failed(1, why + "it ended at once (see " + (support / "overlay.log").string() + ")")}}) {
        const auto program = writeProgram("overlay", "#!/bin/sh\n" + script + "\n").string();
        ::setenv("CLAUDECODE", "1", 1);
        ::setenv("QT_SCALE_FACTOR", "2", 1);
        EXPECT_EQ(island({"overlay", "--program", program}), result) << script;
        ::unsetenv("CLAUDECODE");
        ::unsetenv("QT_SCALE_FACTOR");
    }
    const std::string environment = contentOf(home / "env");
    EXPECT_NE(environment.find("QT_SCALE_FACTOR=2\n"), environment.npos);
    EXPECT_EQ(environment.find("CLAUDECODE"), environment.npos) << "it is nobody's but the user's";
    const auto program = writeProgram("overlay", "#!/bin/sh\necho \"in our place: $*\"; exit 7\n").string();
    EXPECT_EQ(island({"overlay", "--doctor", "--program", program}),
              (Program::Result{7, "in our place: --doctor\n", ""}));
    EXPECT_EQ(island({"overlay", "--foreground", "--program", program}),
              (Program::Result{7, "in our place: \n", ""}));
    EXPECT_EQ(island({"overlay", "--program", "/nowhere"}),
              failed(1, "there is no overlay program at /nowhere"));
    if (!std::filesystem::exists(programPath("quorvik-overlay"))) {
        EXPECT_EQ(
            island({"overlay"}),
            failed(1, "the overlay is not installed; it is the Debian package quorvik-overlay, or part of a "
                      "build that finds Qt 6"));
    }

    EXPECT_EQ(island({"overlay", "stop"}),
              failed(0, "the app does not run, which knows of the overlay; there is nothing to end"));
    startApp();
    EXPECT_EQ(island({"overlay", "stop"}), failed(0, "no overlay runs"));
    Program overlay({"python3", "-uc", R"(
import os, socket, time
s = socket.socket(socket.AF_UNIX)
s.connect(os.environ["QUORVIK_HOME"] + "/island.sock")
s.sendall(b'{"jsonrpc":"2.0","id":1,"method":"hello","params":{"protocol":1,"role":"overlay"}}\n')
print(len(s.recv(1)))
time.sleep(1000))"});
    EXPECT_EQ(overlay.readLine(), "1");
    EXPECT_EQ(island({"overlay", "stop"}), (Program::Result{0, "", ""}));
    EXPECT_EQ(overlay.finish().status, 128 + SIGTERM);
}

TEST_F(ControlCommandsTests, OpensTheFirstPlaceThatIsThere) {
    const std::string path = ::getenv("PATH");
    const auto bin = writeProgram("bin/xdg-open", "#!/bin/sh\nprintf '%s|' opened \"$@\"\n").parent_path();
    writeProgram("bin/open", contentOf(bin / "xdg-open"));
    ::setenv("PATH", (bin.string() + ":" + path).c_str(), 1);
    ::setenv("PAGER", "printf '%s|' 'my pager'", 1);
    const std::string log = write("a log; $(reboot)", "").string();
    put("log", SessionState::failed, [&](SessionRecord& record) {
        record.logPath = log;
        record.openURL = "https://example.com";
        record.host = {.tmux = true, .tty = "/dev/pts/none"};
    });
    put("page", SessionState::failed, [](SessionRecord& record) {
        record.logPath = "/nowhere/log";
        record.openURL = "javascript:x";
        record.webURL = "http://localhost:1/;$(reboot)";
    });
    put("none", SessionState::failed);
    startApp();
    EXPECT_EQ(island({"open", "build-log"}).output, "my pager|" + log + "|");
    EXPECT_EQ(island({"open", "build-page"}).output, "opened|http://localhost:1/;$(reboot)|");
    EXPECT_EQ(island({"open", "build-none"}),
              failed(1, "build-none has no terminal in tmux, no log and no page"));
    EXPECT_EQ(island({"open", "build-x"}), failed(1, "no item has the key build-x"));
    ::setenv("PAGER", "exit 3;", 1);
    EXPECT_EQ(island({"open", "build-log"}), failed(1, "the pager ended with status 3"));

    ::setenv("PATH", path.c_str(), 1);
    ::unsetenv("PAGER");

    if (Program::run({"sh", "-c", "command -v tmux"}).status != 0) GTEST_SKIP() << "there is no tmux";
    ::setenv("TMUX_TMPDIR", home.c_str(), 1);
    ::unsetenv("TMUX");
    const auto tmux = [](std::vector<std::string> words) {
        words.insert(words.begin(), "tmux");
        return line(Program::run(words));
    };
    const std::string tty = tmux({"new-session", "-dPF", "#{pane_tty}", "cat"});
    tmux({"new-window", "cat"});
    EXPECT_EQ(tmux({"display-message", "-p", "#{window_index}"}), "1");
    put("pane", SessionState::failed, [&](SessionRecord& record) {
        record.logPath = log;
        record.host = {.tmux = true, .tty = tty};
    });
    EXPECT_EQ(island({"sync"}).status, 0);
    EXPECT_EQ(island({"open", "build-pane"}), (Program::Result{0, "", ""}));
    EXPECT_EQ(tmux({"display-message", "-p", "#{window_index}"}), "0");
    tmux({"kill-server"});
    ::unsetenv("TMUX_TMPDIR");
}

TEST_F(ControlCommandsTests, AnOlderAppMakesRoomForANewerOneOnceNothingWaits) {
    const auto socket = support / "island.sock";
    std::atomic<bool> waits = true;
    const FakeApp older(socket, [&](std::string line, int connection) {
        while (!line.empty()) {
            const auto call = nlohmann::json::parse(line);
            nlohmann::json reply = {{"id", call["id"]}, {"result", nlohmann::json::object()}};
            if (call["method"] == "hello") {
                reply["result"] = {{"version", "0.0.9"}, {"program", "/old/quorvik-island"}};
            } else if (waits) {
                reply.erase("result");
                reply["error"] = {{"code", 15}, {"message", "1 request waits"}};
            } else {
                EXPECT_EQ(call["params"]["replacedBy"], BuildInfo::version());
                std::filesystem::remove(socket); // it ends
            }
            FakeApp::says(reply.dump() + "\n")("", connection);
            line.clear();
            for (char c; ::read(connection, &c, 1) == 1 && c != '\n';)
                line += c;
        }
    });
    ::unsetenv("QUORVIK_NO_START");
    const std::string why =
        "an older Quorvik (0.0.9, /old/quorvik-island) still runs, where 1 request waits: "
        "once that is settled, run quorvik-island restart";
    EXPECT_EQ(island({"update"}).errors, "quorvik-island: app: " + why + "\n");
    waits = false;
    const std::string newer(BuildInfo::version());
    EXPECT_EQ(island({"update"}), (Program::Result{0, "app: version 0.0.9 replaced by " + newer + "\n", ""}));
    ::setenv("QUORVIK_NO_START", "1", 1);
    EXPECT_NE(island({"status"}).output.find("version " + newer + ", "), std::string::npos);

    hook("claude", R"({"session_id":"s","cwd":"/","hook_event_name":"PermissionRequest","tool_name":"Bash",)"
                   R"("tool_input":{"command":"ls"}})");
    waitingRequest();
    try {
        control().call("stop", {{"replacedBy", "99.0"}});
        ADD_FAILURE() << "its agent would not get the answer";
    } catch (const ControlError& error) {
        EXPECT_STREQ(error.what(), "1 request waits");
    }
    EXPECT_EQ(island({"stop"}).status, 0);
}

} // namespace quorvik
