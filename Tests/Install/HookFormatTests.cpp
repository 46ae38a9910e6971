#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/Install/SettingsDocument.h"

#include <gtest/gtest.h>

#include <string>

namespace quorvik {

namespace {

using Decision = UserFileEdit::Decision;
using Kind = HookInstaller::Status::Kind;

const std::string hookPath = "/opt/q/quorvik-hook";

std::string installed(const HookTarget& target, const std::optional<std::string>& text) {
    return HookFormat::of(target.kind).installed(target, text, hookPath);
}

Decision uninstalled(const HookTarget& target, const std::string& text) {
    return HookFormat::of(target.kind).uninstalled(target, text);
}

Kind status(const HookTarget& target, const std::string& text) {
    return HookFormat::of(target.kind).status(target, text, hookPath);
}

/// A small target, so that whole documents fit on a page.
HookTarget smallTarget() {
    HookTarget target = HookTarget::codex();
    target.events = {"Ask", "Stop"};
    target.blockingEvents = {"Ask"};
    return target;
}

std::string ours(const std::string& timeout = "5", const std::string& path = hookPath) {
    return R"({"type":"command","command":"QUORVIK_MANAGED=1 ')" + path +
           R"(' --source codex --ppid \"$PPID\"","timeout":)" + timeout + "}";
}

JSONValue json(const std::string& text) {
    return OrderedJSON::parse(text);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return at == text.npos ? text : text.replace(at, from.size(), to);
}

/// Why the text is refused; empty when it is not.
std::string refusal(const HookTarget& target, const std::string& text) {
    try {
        installed(target, text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(HookCommand, QuotesThePathAndNamesTheProcessWhereItIsKnown) {
    EXPECT_EQ(HookInstaller::command(Source::claude, "/a b/it's/quorvik-hook"),
              R"(QUORVIK_MANAGED=1 '/a b/it'\''s/quorvik-hook' --source claude --ppid "$PPID")");
    EXPECT_EQ(HookInstaller::command(Source::grok, hookPath),
              "QUORVIK_MANAGED=1 '/opt/q/quorvik-hook' --source grok");
    EXPECT_FALSE(HookInstaller::isManaged("/opt/q/quorvik-hook --source claude"));
    EXPECT_FALSE(HookInstaller::isManaged("QUORVIK_MANAGED=1 mine"));
}

// Copilot's file is written whole and is not taken back to what it was; pi's is generated.
TEST(HookFormat, EveryAgentsFileIsInstalledOnceAndGivenBackAsItWas) {
    for (const Source source : agentSources()) {
        const HookTarget target = *HookTarget::target(source);
        const std::string once = installed(target, std::nullopt);
        EXPECT_EQ(status(target, once), Kind::installed) << once;
        EXPECT_EQ(installed(target, once), once);
        EXPECT_TRUE(once.ends_with('\n'));
        const Decision decision = uninstalled(target, once);
        const bool isRemoved = source == Source::grok || source == Source::pi;
        EXPECT_EQ(decision.kind, isRemoved ? Decision::Kind::remove : Decision::Kind::write);
        if (isRemoved) continue;
        EXPECT_EQ(status(target, decision.text), Kind::notInstalled);
        EXPECT_EQ(uninstalled(target, decision.text), Decision::keep());
    }
}

TEST(JSONHooks, AreAddedAfterTheUsers) {
    const std::string after =
        installed(smallTarget(), R"({"model":"m","hooks":{"Stop":[{"hooks":[]}]},"x":1.50})");
    EXPECT_EQ(json(after), json(R"({"model":"m","hooks":{"Stop":[{"hooks":[]},{"hooks":[)" + ours() +
                                R"(]}],"Ask":[{"hooks":[)" + ours("130") + R"(]}]},"x":1.50})"));
    EXPECT_TRUE(after.starts_with("{\n  \"model\": \"m\",\n") && after.ends_with('}')) << after;
    const JSONValue codex = json(installed(HookTarget::codex(), std::nullopt));
    for (const char* event : {"SessionEnd", "Interrupt"}) // Codex complains about more
        EXPECT_EQ(*codex.valueAt({"hooks", event}), json(R"([{"hooks":[)" + ours("3") + "]}]"));
}

TEST(JSONHooks, LeaveWhatIsTheUsersInEveryPosition) {
    // Documents without hooks of ours, in which install and uninstall change nothing.
    const std::string users[] = {
        R"({"hooks":{}})",
        R"({"hooks":{"Stop":[{"hooks":[{"type":"command","command":"say done","timeout":3}]}]}})",
        R"({"hooks":{"Stop":[{"matcher":"*","hooks":[{"command":"a"},{"command":"b"}],"x":[1.0,{}]}],"Other":[]},"z":null})",
        R"({"hooks":{"Ask":[{"command":"QUORVIK_MANAGED=1 x"},{"bash":"quorvik-hook"},7,null,"s",[],{"hooks":null},{"hooks":{}}],"Stop":[1]}})",
        R"({"a":1,"a":2,"hooks":{"Stop":[0],"Stop":[{"command":"u"}],"Ask":[{}]},"hooks":{"Stop":[]}})",
        R"({"hooks":{"Notification":[{"hooks":[{"command":["QUORVIK_MANAGED=1","quorvik-hook"]}]}]}})",
    };
    for (const std::string& text : users) {
        EXPECT_EQ(uninstalled(smallTarget(), text), Decision::keep());
        const std::string with = installed(smallTarget(), text);
        EXPECT_EQ(status(smallTarget(), with), Kind::installed) << with;
        EXPECT_EQ(json(uninstalled(smallTarget(), with).text), json(text)) << text;
    }
}

TEST(JSONHooks, AreFoundWhereverTheyStand) {
    struct Case {
        std::string events, left;
    };
    const std::string mine = R"({"command":"mine"})";
    const Case cases[] = {
        {R"({"Stop":[{"hooks":[)" + mine + "," + ours() + "," + mine + R"(],"matcher":"x"}]})",
         R"({"Stop":[{"hooks":[)" + mine + "," + mine + R"(],"matcher":"x"}]})"},
        {R"({"Stop":[)" + ours() + "," + mine + R"(,{"hooks":[)" + ours() + "]}]}",
         R"({"Stop":[)" + mine + "]}"},
        {R"({"Old":[{"hooks":[)" + ours() + R"(]}],"Stop":[],"Old":[7]})", R"({"Stop":[],"Old":[7]})"},
        {R"({"Stop":[{"bash":"QUORVIK_MANAGED=1 /x/quorvik-hook"},{"hooks":[]}]})",
         R"({"Stop":[{"hooks":[]}]})"},
        {R"({"Stop":[)" + ours() + R"(],"x":)" + ours() + "}", R"({"x":)" + ours() + "}"},
    };
    for (const auto& [events, left] : cases) {
        const Decision decision = uninstalled(smallTarget(), R"({"hooks":)" + events + R"(,"y":1})");
        ASSERT_EQ(decision.kind, Decision::Kind::write) << events;
        EXPECT_EQ(json(decision.text), json(R"({"hooks":)" + left + R"(,"y":1})")) << decision.text;
    }
}

TEST(JSONHooks, ReadOddShapesAsAbsentAndRefuseWhatIsNoSettingsFile) {
    const std::string fresh = installed(smallTarget(), "{}");
    for (const std::string text : {"", " \n\t ", "{}", R"({"hooks":null})", R"({"hooks":[1]})", "\u00a0"}) {
        EXPECT_EQ(status(smallTarget(), text), Kind::notInstalled) << text;
        EXPECT_EQ(json(installed(smallTarget(), text)), json(fresh));
    }
    EXPECT_EQ(json(installed(smallTarget(), R"({"hooks":{"Ask":"?","Stop":null}})")), json(fresh));
    EXPECT_TRUE(installed(smallTarget(), "{}\n").ends_with("}\n"));

    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    for (const auto& [text, why] : std::initializer_list<std::pair<std::string, std::string>>{
             {"[]", "not a JSON object"},
             {"{\"a\":1,}", "Invalid JSON near byte 7"},
             {"// mine\n{}", "Invalid JSON near byte 0"},
             {R"({"a":)" + deep + "}", "nested too deeply to be written back"}})
        EXPECT_EQ(refusal(smallTarget(), text), why);
}

TEST(JSONHooks, AreStaleForOneReasonAtATime) {
    const std::string current = installed(smallTarget(), std::nullopt);
    const auto with = [&](const std::string& from, const std::string& to) {
        return replaced(current, from, to);
    };
    const std::string both = R"({"hooks":{"Ask":[)" + ours("130") + R"(],"Stop":[)" + ours() + "]";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"installed",
         {current, with("130", "130.0"), with("\"timeout\": 5", "\"timeout\": 60"),
          both + R"(,"Old":[)" + ours() + "]}}"}},
        {"stale",
         {with(hookPath, "/old/quorvik-hook"), with("--ppid", "--pid"), with("130", "60"),
          with("130", "\"130\""), with("\"timeout\": 130", "\"t\": 130"),
          R"({"hooks":{"Ask":[)" + ours("130") + "]}}"}}, // an event is missing
        {"notInstalled", {replaced(with("QUORVIK_MANAGED", "X"), "QUORVIK_MANAGED", "X")}},
    };
    for (const auto& [wanted, texts] : cases)
        for (const std::string& text : texts)
            EXPECT_EQ(rawValue(status(smallTarget(), text)), wanted) << text;

    HookTarget switched = smallTarget();
    switched.enableFlag = {"features", "hooks"};
    EXPECT_EQ(status(switched, current), Kind::stale);
    const std::string on = installed(switched, R"({"features":{"hooks":"no","x":1}})");
    EXPECT_EQ(status(switched, on), Kind::installed);
    EXPECT_EQ(*json(on).valueAt({"features"}), json(R"({"hooks":true,"x":1})"));
}

TEST(CopilotHooks, AreWrittenInTheirOwnLayoutAndKeepTheFile) {
    HookTarget target = HookTarget::copilot();
    target.events = {"permissionRequest", "agentStop"};
    const std::string with = installed(target, R"({"note":"mine"})");
    const std::string command = R"("bash":"QUORVIK_MANAGED=1 '/opt/q/quorvik-hook' --source copilot")";
    EXPECT_EQ(json(with), json(R"({"version":1,"hooks":{"permissionRequest":[{"type":"command",)" + command +
                               R"(,"timeoutSec":130}],"agentStop":[{"type":"command",)" + command +
                               R"(,"timeoutSec":5}]}})"));
    EXPECT_EQ(status(target, replaced(with, "timeoutSec", "timeout")), Kind::stale);
    EXPECT_EQ(json(uninstalled(target, with).text), json(R"({"version":1,"hooks":{}})"));
    EXPECT_THROW(installed(target, "{"), JSONParseError);
}

TEST(GrokHooks, LeaveTheFileToTheUserOnceItHoldsMore) {
    const HookTarget target = HookTarget::grok();
    const std::string with = installed(target, std::nullopt);
    EXPECT_EQ(uninstalled(target, with), Decision::remove());
    const std::string more = replaced(with, "{", R"({"mine":1,)");
    EXPECT_EQ(json(uninstalled(target, more).text), json(R"({"mine":1,"hooks":{}})"));
    EXPECT_EQ(uninstalled(target, R"({"hooks":{}})"), Decision::keep());
}

static const std::string kimiStart = "# >>> quorvik hooks (managed, do not edit) >>>\n";
static const std::string kimiEnd = "# <<< quorvik hooks <<<";

static HookTarget smallKimi() {
    HookTarget target = HookTarget::kimi();
    target.events = {"Stop"};
    return target;
}

TEST(KimiHooks, AppendOneBlockAndGiveTheTextBack) {
    const std::string block = kimiStart + R"([[hooks]]
event = "Stop"
command = "QUORVIK_MANAGED=1 '/o\\p/\"quorvik-hook' --source kimi"
timeout = 5

)" + kimiEnd;
    EXPECT_EQ(
        HookFormat::of(HookTarget::Kind::kimiTOML).installed(smallKimi(), "a = 1\n", R"(/o\p/"quorvik-hook)"),
        "a = 1\n" + block + "\n");

    for (const std::string text :
         {"", "\n", "a = 1", "a = 1\n", "a = 1\r\n[t]\r\n", "a = 1\r\nb = 2", "\n\n\n",
          "[[hooks]]\nevent = \"Stop\"\n", "hooksmith = 1\nx.hooks = 2\n# hooks = 3",
          "[other]\nhooks.x = 1\n", "[[hooks]]\n[hooks.x]\n[[hooks.y]]\n[other.hooks]\n",
          "s = \"\"\"\\\"\n[hooks]\n\"\"\" # [\nt = [\n'''\n]\n[hooks]\n''', # ]\n[\"hooks\"],\n]\n",
          "[hooks\n[[a b]]\nc = ']\n", "s = '''\n# <<< quorvik hooks <<<\n'''\n",
          " # >>> quorvik hooks (managed, do not edit) >>>\nx = 1\n"}) {
        const std::string with = installed(smallKimi(), text);
        EXPECT_EQ(status(smallKimi(), with), Kind::installed) << with;
        EXPECT_EQ(installed(smallKimi(), with), with);
        EXPECT_EQ(uninstalled(smallKimi(), with), Decision::write(text)) << with;
        EXPECT_EQ(uninstalled(smallKimi(), text), Decision::keep());
        // Settings that were added behind the block are not ours.
        const std::string more = with + "\n[more]\nb = 2\n";
        EXPECT_EQ(uninstalled(smallKimi(), more).text.substr(0, text.size()), text);
        EXPECT_TRUE(uninstalled(smallKimi(), more).text.ends_with("\n[more]\nb = 2\n")) << more;
    }
}

TEST(KimiHooks, KnowTheirBlockByBothMarkers) {
    const std::string block = installed(smallKimi(), std::nullopt);
    struct Case {
        std::string text;
        Kind status;
        std::string left; ///< after uninstall
    };
    const std::string crlf =
        "a\r\n# >>> quorvik hooks (managed, do not edit) >>>\r\nx\r\n# <<< quorvik hooks <<<\r\nb\r\n";
    const Case cases[] = {
        {"a\n" + block + "b\n", Kind::installed, "a\nb\n"},
        {kimiStart + "mine = 1\n", Kind::notInstalled, kimiStart + "mine = 1\n"},
        // The end marker of an earlier block was lost: what follows it is not taken for ours.
        {kimiStart + "mine = 1\n" + block, Kind::installed, kimiStart + "mine = 1\n"},
        {block + "a\n" + block, Kind::stale, "a\n"},
        {crlf, Kind::stale, "a\r\nb\r\n"},
        {replaced(block, "Stop", "Start"), Kind::stale, ""},
        {replaced(block, hookPath, "/old/quorvik-hook"), Kind::stale, ""},
    };
    for (const auto& [text, wanted, left] : cases) {
        EXPECT_EQ(status(smallKimi(), text), wanted) << text;
        const Decision decision = uninstalled(smallKimi(), text);
        EXPECT_EQ(decision.kind == Decision::Kind::keep ? text : decision.text, left);
    }
}

TEST(KimiHooks, RefuseInlineHooksAndWhatIsNotText) {
    for (const std::string text :
         {"hooks = []\n", "a = 1\n \thooks\t = [", "hooks=", "'hooks' = 1", "\"hooks\".x = 1",
          "hooks . x = 1", "[hooks]\n", "[ \"hooks\".x ]", "[[hooks.x]]\n[[hooks]]\n", "[[hooks]]\n[hooks]\n",
          "\"h\\u006foks\".x = 1", "a = [\n1]\nhooks.x = 1", "[other]\nhooks = 1",
          "s = \"\"\"'\"\"\"\n['hooks'.x]"}) {
        EXPECT_EQ(refusal(smallKimi(), text),
                  "config.toml already sets `hooks = …` inline; convert it to [[hooks]] tables first.");
        EXPECT_EQ(status(smallKimi(), text), Kind::notInstalled);
    }
    EXPECT_THROW(installed(smallKimi(), "a = \"\xff\""), EditError);
    EXPECT_THROW(uninstalled(smallKimi(), "\xc3"), EditError);
}

TEST(PiExtension, IsOursOrLeftAlone) {
    const HookTarget target = HookTarget::pi();
    const std::string ours = installed(target, std::nullopt);
    EXPECT_EQ(status(target, ours + "// edited\n"), Kind::stale);
    EXPECT_NE(HookFormat::of(target.kind)
                  .installed(target, ours, R"(/a\b/"quorvik-hook)")
                  .find(R"(const HOOK = "/a\\b/\"quorvik-hook";)"),
              std::string::npos);
    const std::string theirs = "export default function (pi) {}\n";
    EXPECT_EQ(uninstalled(target, theirs), Decision::keep());
    EXPECT_THROW(status(target, ours + "\xff"), EditError);
    EXPECT_EQ(refusal(target, theirs), "quorvik.ts already exists and was not written by Quorvik.");
    EXPECT_THROW(status(target, theirs), EditError);
}

} // namespace quorvik
