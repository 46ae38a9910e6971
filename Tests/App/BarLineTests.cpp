#include "QuorvikApp/Model/BarLine.h"

#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

using BarLine::Format;

SnapshotItem item(const std::string& title, DisplayState display = DisplayState::awaiting) {
    SessionRecord record(Source::claude, title, "/w", dateFromSeconds(0));
    record.title = title;
    record.summary = "<i>&";
    return {std::make_shared<const SessionRecord>(record), display, false};
}

} // namespace

TEST(BarLineTests, HostileTextsAreShownAndDoNothing) {
    struct Case {
        std::string title, plain, waybar, polybar, tmux; ///< what follows "CC awaiting "
    };
    const std::string kilobytes(10'000, 'x'), cut = std::string(47, 'x') + "…";
    for (const auto& [title, plain, waybar, polybar, tmux] : std::initializer_list<Case>{
             {"a & <b>", "a & <b>", "a &amp; &lt;b&gt;", "a & <b>", "a & <b>"},
             {"'\"", "'\"", "&#39;&quot;", "'\"", "'\""},
             {"%{A1:reboot:}x%%{", "%{A1:reboot:}x%%{", "%{A1:reboot:}x%%{", "%\u2060{A1:reboot:}x%%\u2060{",
              "%{A1:reboot:}x%%{"},
             {"#(reboot)##[fg=red]#", "#(reboot)##[fg=red]#", "#(reboot)##[fg=red]#", "#(reboot)##[fg=red]#",
              "##(reboot)####[fg=red]## "}, // at its end one would change what the status line has next
             {"--- | bash=reboot", "--- | bash=reboot", "--- | bash=reboot", "--- | bash=reboot",
              "--- | bash=reboot"},
             {"two\nlines\x1b[2J\u202E", "two lines [2J", "two lines [2J", "two lines [2J", "two lines [2J"},
             {"broken \xff\xc3", "broken \uFFFD\uFFFD", "broken \uFFFD\uFFFD", "broken \uFFFD\uFFFD",
              "broken \uFFFD\uFFFD"},
             {kilobytes, cut, cut, cut, cut},
             {std::string(46, 'x') + "&&&", std::string(46, 'x') + "&…", std::string(46, 'x') + "&amp;…",
              std::string(46, 'x') + "&…", std::string(46, 'x') + "&…"}}) {
        Snapshot snapshot;
        snapshot.primary = item(title);
        const std::string start = "CC awaiting ";
        const auto of = [&](Format format) { return BarLine::of(format, snapshot); };
        const auto bar = [&](Format format, const char* member) {
            return parseJSON(of(format)).value()[member].get<std::string>();
        };
        EXPECT_EQ(of(Format::plain), start + plain);
        EXPECT_EQ(of(Format::sketchybar), start + plain);
        EXPECT_EQ(of(Format::polybar), start + polybar);
        EXPECT_EQ(of(Format::tmux), start + tmux);
        EXPECT_EQ(bar(Format::i3blocks, "full_text"), start + plain);
        EXPECT_EQ(bar(Format::waybar, "text"), start + waybar);
        EXPECT_TRUE(bar(Format::waybar, "tooltip").ends_with(title == kilobytes ? "x…" : ": &lt;i&gt;&amp;"));
        for (const auto format : {Format::waybar, Format::i3blocks})
            EXPECT_TRUE(Unicode::terminalLine(of(format)) == of(format)) << of(format);
    }
}

TEST(BarLineTests, SaysWhatIsMostUrgent) {
    Snapshot snapshot;
    EXPECT_EQ(BarLine::of(Format::plain, snapshot), "");
    EXPECT_EQ(BarLine::of(Format::waybar, snapshot),
              R"({"alt":"idle","class":["idle"],"text":"","tooltip":""})");
    EXPECT_EQ(BarLine::of(Format::i3blocks, snapshot),
              R"({"full_text":"","markup":"none","short_text":"","urgent":false})");

    snapshot.primary = item("Build", DisplayState::failed);
    snapshot.bubbles = {item("Docs", DisplayState::working), item("Tests", DisplayState::working)};
    EXPECT_EQ(
        BarLine::of(Format::waybar, snapshot),
        R"({"alt":"failed","class":["failed","attention"],"text":"CC failed Build +2","tooltip":)"
        R"("CC failed Build: &lt;i&gt;&amp;\rCC working Docs: &lt;i&gt;&amp;\rCC working Tests: &lt;i&gt;&amp;"})");
    EXPECT_EQ(BarLine::of(Format::i3blocks, snapshot),
              R"({"full_text":"CC failed Build +2","markup":"none","short_text":"failed","urgent":true})");

    WaitingRequest waiting; // of a session that reports nothing yet
    waiting.request.source = Source::codex;
    waiting.request.tool = "Bash";
    waiting.request.summary = "git push\nnow";
    snapshot.requests = {std::make_shared<const WaitingRequest>(waiting)};
    EXPECT_EQ(BarLine::of(Format::plain, snapshot), "CX asks Bash git push now +3");
    snapshot.primary->display = DisplayState::awaiting;
    EXPECT_EQ(BarLine::of(Format::plain, snapshot), "CC awaiting Build +2");

    snapshot.overflow.assign(30, item("Many", DisplayState::working));
    EXPECT_TRUE(BarLine::of(Format::waybar, snapshot).ends_with(R"(\r13 more"})"));
}

} // namespace quorvik
