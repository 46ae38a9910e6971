#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/JSON/RecordCoding.h"

#include <algorithm>
#include <map>
#include <memory>
#include <regex>

namespace quorvik {

using namespace testing;

namespace {

std::string replaced(std::string text, std::string_view part, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += by.size())
        text.replace(at, part.size(), by);
    return text;
}

/// Whether the text is as the pattern says, and a line feed; or both are empty.
::testing::AssertionResult matches(const std::string& text, const std::string& pattern) {
    const bool isSo = std::regex_match(text, std::regex(pattern + (pattern.empty() ? "" : "\n")));
    return (isSo ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
           << "\"" << text << "\" and \"" << pattern << "\"";
}

} // namespace

/// `quorvik-island doctor`, with the real hook and stand-ins for agents.
class DoctorTests : public TemporaryHome {
  protected:
    DoctorTests() {
        ::setenv("PATH", (home / "bin:/usr/bin:/bin").c_str(), 1);
        for (const char* variable :
             {"CLAUDE_CONFIG_DIR", "CODEX_HOME", "QWEN_HOME", "COPILOT_HOME", "ZDOTDIR"})
            ::unsetenv(variable);
    }

    static Program::Result island(std::vector<std::string> words) {
        words.insert(words.begin(), programPath("quorvik-island"));
        return Program::run(words);
    }
    static void hook(const std::string& payload, const std::string& agent = "claude") {
        EXPECT_EQ(Program::run({programPath("quorvik-hook"), "--source", agent}, payload),
                  (Program::Result{0, "", ""}));
    }

    /// "state: words" of every check, by its id; a line each where several have one id.
    static std::map<std::string, std::string> report(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {"doctor", "--json"});
        const auto result = island(words);
        std::map<std::string, std::string> lines;
        bool isAllWell = true;
        for (const auto& check : parseJSON(result.output).value_or(nullptr)) {
            const std::string state = check["state"];
            const bool hasToDo = state == "warn" || state == "bad";
            isAllWell = isAllWell && !hasToDo;
            EXPECT_TRUE(check.contains("advice") || !hasToDo) << check;
            lines[check["id"]] += state + ": " + check["words"].get<std::string>() + "\n";
        }
        EXPECT_EQ(result.status, isAllWell ? 0 : 1) << result.errors;
        return lines;
    }
    static std::string checks(const std::string& id, const std::vector<std::string>& words) {
        return report(words)[id];
    }

    /// What the hooks of a fresh install are in Claude Code's settings.
    std::string installed() const {
        EXPECT_EQ(island({"hooks", "install", "claude"}).status, 0);
        return contentOf(home / ".claude/settings.json");
    }
};

TEST_F(DoctorTests, EveryAgentsHookReportsWhenItIsRunAsTheAgentWould) {
    const auto folder = home / R"(a 'b' "c" \d $x `y`)"; // every format has escapes of its own
    std::filesystem::create_directory(folder);
    std::filesystem::create_symlink(programPath("quorvik-hook"), folder / "quorvik-hook");
    ASSERT_EQ(island({"hooks", "install", "--all", "--hook-path", folder / "quorvik-hook"}).status, 0);
    for (const Source agent : agentSources()) {
        const std::string name(rawValue(agent)), id = "agents." + name + ".";
        auto found = report({name});
        EXPECT_TRUE(matches(found[id + "fires"], "well: .*reports, in [0-9]+ ms"));
        EXPECT_TRUE(matches(found[id + "settings"], "well: .* are up to date"));
        EXPECT_TRUE(found[id + "program"].ends_with(" point to " + folder.string() + "/quorvik-hook\n"))
            << found[id + "program"];
    }
    EXPECT_TRUE(namesIn(sessions).empty()); // nothing of it is seen
    const auto people = island({"doctor", "claude", "pi"});
    EXPECT_EQ(people.status, 0);
    EXPECT_EQ(people.errors, "");
    EXPECT_NE(people.output.find("✓ Claude Code: our hooks in ~/.claude/settings.json are up to date\n"),
              std::string::npos);
    EXPECT_NE(people.output.find(" s ago\n    start a session of pi, "), std::string::npos) << people.output;
}

TEST_F(DoctorTests, ToldIsWhatKeepsAHookFromReporting) {
    const std::string settings = installed(), path = programPath("quorvik-hook");
    const std::string stop = R"("Stop": [)";
    const std::string another = R"({"hooks": [{"command": "QUORVIK_MANAGED=1 ')" + path + R"('"}]})";
    const auto silent = writeProgram("a 'quoted'/quorvik-hook", "#!/bin/sh\n").native();
    const auto talks = writeProgram("talks/quorvik-hook", "#!/bin/sh\necho '{}'\n").native();
    const auto fails = writeProgram("fails/quorvik-hook", "#!/bin/sh\nexit 3\n").native();
    const struct {
        std::string settings, check, expected;
    } rows[] = {
        {settings, "doubled", ""},
        {settings, "off", ""},
        {replaced(settings, "\"Stop\"", "\"Gone\""), "settings", "warn: .* out of date: none for Stop"},
        {replaced(settings, "\"Stop\"", "\"Gone\""), "events", "warn: .* registered for Gone, .*"},
        {replaced(settings, "130", "5"), "settings", "warn: .* not as this version writes them"},
        {replaced(settings, stop, stop + another + ","), "doubled", "warn: .* our hook twice for Stop"},
        {replaced(settings, path, "/nowhere/quorvik-hook"), "program",
         "bad: .* point to /nowhere/quorvik-hook, which cannot be run"},
        {replaced(settings, path, "/nowhere/quorvik-hook"), "fires", ""}, // it cannot
        {replaced(settings, "'" + path + "'", "$(quorvik-hook)"), "program", "bad: .* not as we write it"},
        {replaced(settings, path, replaced(silent, "'", R"('\\'')")), "program", "well: .*a 'quoted'.*"},
        {replaced(settings, path, replaced(silent, "'", R"('\\'')")), "fires", "bad: .* no record appeared"},
        {replaced(settings, path, talks), "fires", "bad: .* it printed something, .*"},
        {replaced(settings, path, fails), "fires", "bad: .* it ended with status 3"},
        {"[1", "settings", "bad: .* cannot be read: Invalid JSON near byte 2"},
        {"{\"disableAllHooks\": true," + settings.substr(1), "off", "bad: .* disableAllHooks .*"},
        {R"({"statusLine":{"command":"'/nowhere/quorvik-hook' --statusline"}})", "statusline",
         "bad: .* status line points to /nowhere/quorvik-hook, .*"},
        {"{}", "settings", "note: Claude Code: not connected with Quorvik"},
    };
    for (const auto& [text, check, expected] : rows) {
        write(".claude/settings.json", text);
        EXPECT_TRUE(matches(checks("agents.claude." + check, {"claude"}), expected)) << text;
    }
    write(".claude/settings.json", settings);
    const std::pair<std::string, std::string> versions[] = {
        {"echo '2.1.77 (Claude Code)'", "bad: .* does not know StopFailure, and takes no hook .*"},
        {"echo 'Claude v2.1.328.'", "note: Claude Code 2.1.328 is older than .*"},
        {"echo 10.0.1", "well: Claude Code 10.0.1"},
        {"echo 2.1.329; exit 1", "warn: .* does not tell its version"},
        {"kill -9 $$", "warn: .* ended by signal 9"},
    };
    for (const auto& [script, expected] : versions) {
        writeProgram("bin/claude", "#!/bin/sh\n" + script + "\n");
        EXPECT_TRUE(matches(checks("agents.claude.version", {"claude"}), expected)) << script;
    }
    const auto other =
        writeProgram("other/quorvik-hook", "#!/bin/sh\necho 'quorvik-hook 9.9.9 (Linux x86_64)'\n");
    island({"hooks", "install", "claude", "--hook-path", other.string()});
    EXPECT_TRUE(matches(checks("agents.claude.program", {"claude"}),
                        "warn: .*/other/quorvik-hook, which is version 9.9.9, not .*"));
    ::setenv("CLAUDE_CONFIG_DIR", "/elsewhere", 1);
    EXPECT_TRUE(matches(checks("agents.claude.folder", {"claude"}), "warn: .* is /elsewhere, .*"));
}

/// The digests were made by Codex 0.169.0, when all of these were trusted there.
TEST_F(DoctorTests, CodexRunsWhatItsUserHasReviewed) {
    const std::string hook =
        R"({"type":"command","command":"QUORVIK_MANAGED=1 '/x/quorvik-hook' --source codex --ppid \"$PPID\"","timeout":)";
    const std::string file =
        write(".codex/hooks.json",
              R"({"hooks":{"SessionStart":[{"hooks":[)" + hook + R"(5}]}],"SessionEnd":[{"hooks":[)" + hook +
                  R"(3}]}],"PermissionRequest":[{"hooks":[)" + hook +
                  R"(130}]}],"PreToolUse":[{"matcher":"","hooks":[{"type":"command","command":"true"}]},)"
                  R"({"matcher":"Bash","hooks":[{"type":"command","command":"false"},)" +
                  hook + "5}]}]}}");
    const auto state = [&](const std::string& place, const std::string& member) {
        return "[hooks.state.\"" + file + ":" + place + "\"]\n" + member + "\n";
    };
    const auto trusted = [&](const std::string& place, const std::string& digest) {
        return state(place, "trusted_hash = \"sha256:" + digest + "\"");
    };
    const std::string start =
        trusted("session_start:0:0", "dbc5edbb2960121a856325846981e3e3b959aad31a05f7c271f3a6cb32c5b4c8");
    const std::string all =
        "model = \"m\" # [hooks]\n" + start +
        trusted("session_end:0:0", "c87fb3588705f99647de67fd7b51763e5b312765f4d88ab30a8639a968f19c0f") +
        trusted("permission_request:0:0",
                "3d4a55c4af8fc8d928bfea1728484c33361a834a5df4955ae8852765397ed0e0") +
        trusted("pre_tool_use:1:1", "8b9ae8bc0179dd34af0b6634970e81da125a0ee847735a973d1b245d408c39ce");
    const struct {
        std::string config, check, expected;
    } rows[] = {
        {"", "review", "bad: Codex: 4 of 4 hooks wait for your review.*"},
        {all, "review", "well: .*"},
        {all, "off", ""},
        {replaced(all, start, ""), "review", "bad: Codex: 1 of 4 hooks wait .*"},
        {replaced(all, "c87f", "0000"), "review", "bad: Codex: 1 of 4 hooks have changed .*"},
        {replaced(replaced(all, "c87f", "0000"), start, ""), "review",
         "bad: .* 2 of 4 hooks are new or changed .*"},
        {replaced(all, start, start + "enabled = false # for now\n"), "review",
         "bad: .* 1 hook of ours switched off .*"},
        {"[features]\nhooks = false\n" + all, "off", "bad: .* features.hooks .*"},
        {all + "[[hooks.Stop]]\ncommand = \"QUORVIK_MANAGED=1 quorvik-hook\"\n", "doubled",
         "warn: .*config.toml holds hooks of ours as well.*"},
    };
    for (const auto& [config, check, expected] : rows) {
        write(".codex/config.toml", config);
        EXPECT_TRUE(matches(checks("agents.codex." + check, {"codex"}), expected)) << config;
    }
}

TEST_F(DoctorTests, FixRemovesWhatKilledProgramsLeftAndNothingElse) {
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
    const std::vector<std::string> ours = {
        "support/sessions/.claude-a.json.4711.tmp", "support/sessions/claude-a.json.asked.tmp",
        "support/usage/.claude.json.4711.tmp",      "support/shell/quorvik.zsh.4711.quorvik.tmp",
        ".claude/settings.json.4711.quorvik.tmp",   ".zshrc.4711.quorvik.tmp"};
    const std::vector<std::string> others = {"support/sessions/claude-a.json.before",
                                             "support/notes.tmp",
                                             "support/.notes.4711.tmp",
                                             "support/backups/.zshrc.2026-11-21T053512Z.bak",
                                             ".claude/settings.json.tmp",
                                             ".claude/other.json.4711.quorvik.tmp",
                                             ".zshrc.quorvik.tmp"};
    for (const auto* names : {&ours, &others})
        for (const std::string& name : *names)
            std::filesystem::last_write_time(write(name, "x"), old);
    const auto young = write("support/sessions/.claude-b.json.4711.tmp", "x");
    const auto link = sessions / ".claude-c.json.4711.tmp";
    std::filesystem::create_symlink(home / "nowhere", link);

    EXPECT_TRUE(report()["folder.left"].starts_with("warn: 6 files left behind by killed programs: "));
    for (const std::string& name : ours)
        EXPECT_TRUE(std::filesystem::exists(home / name)) << name;
    EXPECT_EQ(checks("folder.left", {"--fix"}),
              "well: 6 files that killed programs had left behind: removed\n");
    for (const std::string& name : ours)
        EXPECT_FALSE(std::filesystem::exists(home / name)) << name;
    for (const std::string& name : others)
        EXPECT_TRUE(std::filesystem::exists(home / name)) << name;
    EXPECT_TRUE(std::filesystem::exists(young) && std::filesystem::is_symlink(link));
    EXPECT_EQ(report()["folder.left"], "well: nothing was left behind by killed programs\n");
}

TEST_F(DoctorTests, TheHookCountsWhatItDoesNotUnderstand) {
    installed();
    const auto ledger = support / "hooks.json";
    const auto kinds = [&] { return parseJSON(contentOf(ledger)).value_or(nullptr)["notUnderstood"]; };
    const auto event = [](const std::string& name) {
        return R"({"session_id":"s","cwd":"/w","prompt":"secret","hook_event_name":")" + name + "\"}";
    };
    std::filesystem::remove(ledger);
    hook(event("SessionStart"));
    hook(event("Notification")); // known, although it tells nothing
    hook(R"({"sessionId":"s","parentAgentId":"p","toolName":"x"})", "copilot"); // dropped on purpose
    EXPECT_FALSE(std::filesystem::exists(ledger));

    write("support/hooks.json", "{\"notUnderstood\":[{}]"); // is started over
    for (const std::string& payload :
         {event("SessionTwist"), std::string("{\"secret"), event("SessionTwist"),
          std::string("{\"session_id\":\"s\"}"), event("a\\n\\u001b[31m" + std::string(100, 'x'))})
        hook(payload);
    EXPECT_EQ(contentOf(ledger).find("secret"), std::string::npos);
    std::vector<std::pair<std::string, int>> counts;
    for (const auto& kind : kinds())
        counts.emplace_back(kind["event"], kind["count"]);
    EXPECT_EQ(counts, (std::vector<std::pair<std::string, int>>{{"SessionTwist", 2},
                                                                {"(unreadable)", 1},
                                                                {"(incomplete)", 1},
                                                                {"a___31m" + std::string(33, 'x'), 1}}));
    EXPECT_TRUE(
        matches(checks("agents.claude.understood", {"claude"}),
                "warn: .* the event SessionTwist is not known: 2 times since [0-9]+ s ago, .*\n(.*\n){2}.*"));

    std::vector<std::unique_ptr<Program>> many;
    for (int index = 0; index < 12; ++index)
        many.push_back(std::make_unique<Program>(
            std::vector<std::string>{programPath("quorvik-hook"), "--source", "qwen"}));
    for (auto& program : many)
        program->giveInput(event("AtOnce"));
    for (auto& program : many)
        EXPECT_EQ(program->finish(), (Program::Result{0, "", ""}));
    EXPECT_EQ(kinds().back()["event"], "AtOnce");
    EXPECT_EQ(kinds().back()["count"], 12);

    for (int index = 0; index < 55; ++index)
        hook(event("Kind" + std::to_string(index)));
    EXPECT_EQ(kinds().size(), 50u);
    EXPECT_EQ(kinds().back()["event"], "Kind54");
}

TEST_F(DoctorTests, TheLastEventIsKnownWhenItsRecordIsGone) {
    installed();
    const auto fired = [] { return checks("agents.claude.fired", {"claude"}); };
    EXPECT_TRUE(
        fired().starts_with("note: Claude Code: no event of it has come since its hooks were installed "));
    hook(R"({"session_id":"s","cwd":"/w","hook_event_name":"SessionStart"})");
    EXPECT_TRUE(matches(fired(), "well: Claude Code: the last event of it came [0-9]+ s ago"));
    EXPECT_EQ(island({"clear"}).output, "removed 1\n");
    EXPECT_TRUE(fired().starts_with("well: Claude Code: the last event of it came "));
    island({"hooks", "install", "claude"}); // changes nothing
    EXPECT_TRUE(fired().starts_with("well: "));
    island({"hooks", "uninstall", "claude"});
    installed();
    EXPECT_TRUE(matches(fired(), "note: .* the last event of it came .* ago, none since .*"));
}

TEST_F(DoctorTests, LooksAtShellFolderAndApp) {
    ASSERT_EQ(island({"shell", "install", "--min-seconds", "30"}).status, 0);
    const std::string rc = contentOf(home / ".zshrc");
    write("support/sessions/claude-x.json", "{}");
    std::filesystem::permissions(support, std::filesystem::perms(0750));
    auto found = report();
    EXPECT_TRUE(matches(found["folder.support"], "warn: .*its permissions are 0750."));
    EXPECT_TRUE(matches(found["folder.records"], "warn: .*claude-x.json holds no readable .*"));
    EXPECT_TRUE(matches(found["app.running"], "note: the app does not run.*"));
    EXPECT_TRUE(matches(found["programs.time"], "well: .* ms, .* times an empty process .*"));
    EXPECT_TRUE(matches(found["shell.zsh"], "well: .*/.zshrc has Quorvik's block, .* up to date"));
    EXPECT_TRUE(matches(found["shell.loaded"], "well: a new zsh loads Quorvik's script"));
    write(".zshrc", "return\n" + rc);
    EXPECT_TRUE(matches(report()["shell.loaded"], "warn: a new zsh does not load Quorvik's script"));
}

} // namespace quorvik
