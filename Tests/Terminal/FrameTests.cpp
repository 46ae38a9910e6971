#include "Tests/Terminal/ExampleSnapshots.h"
#include "quorvik_island/Terminal/View.h"

#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

namespace quorvik {

using testing::exampleNow;
using testing::itemOf;
using testing::requestOf;

namespace {

View viewOf(Snapshot snapshot) {
    View view({.secrets = {}, .home = "/home/u"});
    view.show(std::make_shared<const Snapshot>(std::move(snapshot)));
    return view;
}

std::string textOf(const View& view, std::size_t rows, std::size_t columns) {
    return "\n" + draw(view, {rows, columns}, exampleNow).text();
}

Moment at(double seconds) {
    return {exampleNow + std::chrono::duration<double>(seconds), seconds};
}

void show(View& view, ScreenSize size, double seconds) {
    view.drawn(draw(view, size, at(seconds).wall), at(seconds));
}

} // namespace

TEST(FrameTests, TheSameInAllSizes) {
    const View view = viewOf(testing::exampleSnapshot());
    EXPECT_EQ(textOf(view, 10, 80), R"(
>◆ CC  awaiting     8 s  Fix the login bug  Bash git push --force origin main
   ╭ Claude Code asks to run Bash in ~/work/app ───────────────────────────────╮
   │ git push --force origin main                                              │
   │ A allow Bash commands that match git push:* in this project               │
   ╰ a allow   A always   d deny…   t in its terminal ─────────────── 1 of 2 ──╯
 • RUN failed     2 min  make               src/app.cpp:41:2: error: expected ‘…
 • CX  working    5 min  Write the docs     git log --oneline v1.4..
   SVC done         1 h  :5173              vite, ~/work/app

 2 wait · 1 failed · 1 works                                   ? help   q quit
)");
    EXPECT_EQ(textOf(view, 7, 40), R"(
>◆ CC  awaiting     8 s  Fix the login …
╭ Claude Code asks to run Bash in ~/… ─╮
│ git push --force origin main         │
│ A allow Bash commands that match     │
╰ PgDn 1 more lines  d deny… ──────────╯
 • RUN failed     2 min  make
 2 wait · 1 failed · 1 works
)");
    EXPECT_EQ(textOf(view, 3, 20), "\n>◆ CC  awaiting\n • RUN failed     2…\n 2 wait · 1 failed …\n");
    EXPECT_EQ(textOf(view, 1, 1), "\n>\n");
    EXPECT_EQ(textOf(viewOf({}), 2, 30), "\n   d  show an example\n             ? help   q quit\n");
}

TEST(FrameTests, WhateverTheTextsHold) {
    Snapshot snapshot;
    const char* hostile[] = {"漢字かな交じり文がここに続く",
                             "e\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81 \xCC\x88x",
                             "👨‍👩‍👧 \xE2\x9D\xA4\xEF\xB8\x8F 🇩🇪",
                             "\x1b[2J\x07\r\n\t\xC2\x9B"
                             "31m",
                             "\xE2\x80\xAE"
                             "abc\xE2\x80\x8B",
                             "\xFF\xFE",
                             "%s%n \\x1b"};
    for (const char* text : hostile)
        snapshot.overflow.push_back(
            itemOf(Source::codex, text, DisplayState::working, 5, [&](SessionRecord& record) {
                record.title = text;
                record.summary = std::string(text) + text;
                record.cwd = text;
            }));
    snapshot.requests = {requestOf("r", "s", "漢\x1b", "{\"command\":\"漢字かな\xE2\x80\xAE\\u001b[2J\"}")};
    View view = viewOf(std::move(snapshot));
    view.key({"Enter"}, at(0));
    for (const ScreenSize size : {ScreenSize{24, 80}, {12, 31}, {12, 30}, {6, 24}, {5, 9}, {3, 2}, {2, 1}}) {
        const Frame frame = draw(view, size, exampleNow);
        ASSERT_EQ(frame.rows.size(), size.rows);
        EXPECT_LT(frame.cursorRow, size.rows);
        EXPECT_LT(frame.cursorColumn, size.columns);
        for (const FrameRow& row : frame.rows) {
            EXPECT_LE(Unicode::columnCount(row.text), size.columns) << row.text;
            EXPECT_EQ(Unicode::terminalLine(row.text), row.text);
            EXPECT_EQ(row.spans.empty() ? 0 : row.spans.back().end, row.text.size());
        }
    }
    const std::string text = textOf(view, 24, 80);
    EXPECT_NE(text.find("│ 漢字かな\\u{202E}\\x1b[2J"), text.npos) << text; // what is decided upon
    EXPECT_NE(text.find("👨 ❤"), text.npos) << text;
}

TEST(FrameTests, TheSelectedRowStaysInView) {
    Snapshot snapshot;
    for (int index = 0; index < 1000; ++index)
        snapshot.overflow.push_back(
            itemOf(Source::build, "b" + std::to_string(index), DisplayState::working, 600));
    View view = viewOf(std::move(snapshot));
    const auto cursorAfter = [&](const char* key) {
        view.key({key}, at(1));
        const Frame frame = draw(view, {10, 60}, exampleNow);
        EXPECT_TRUE(frame.rows[frame.cursorRow].text.starts_with(">")) << frame.text();
        return view.entries().at(frame.entryOfRow[frame.cursorRow]).key();
    };
    EXPECT_EQ(cursorAfter("G"), "build-b999");
    EXPECT_EQ(cursorAfter("k"), "build-b998");
    EXPECT_EQ(cursorAfter("Enter"), "build-b998");
    EXPECT_EQ(cursorAfter("g"), "build-b0");
}

TEST(FrameTests, TellsWhenItDiffersByItself) {
    Snapshot snapshot;
    snapshot.primary = itemOf(Source::build, "a", DisplayState::working, 0.25);
    snapshot.bubbles = {itemOf(Source::build, "b", DisplayState::working, 3601)};
    const View view = viewOf(std::move(snapshot));
    // Ages change together, two seconds apart at least, and never much later than they should.
    Date now = exampleNow;
    for (int step = 0; step < 80; ++step) {
        const Frame frame = draw(view, {5, 80}, now);
        ASSERT_TRUE(frame.nextChange);
        const double wait = (*frame.nextChange - now).count();
        EXPECT_GT(wait, step == 0 ? 0 : 1.99);
        EXPECT_LE(wait, step < 30 ? 3.01 : 65.0);
        EXPECT_NE(draw(view, {5, 80}, *frame.nextChange).text(), frame.text());
        now = *frame.nextChange;
    }
    EXPECT_FALSE(draw(viewOf({}), {5, 80}, exampleNow).nextChange);
}

TEST(FrameTests, AllowNeedsTheWholeInputInView) {
    std::string lines;
    for (int line = 0; line < 30; ++line)
        lines += "echo " + std::to_string(line) + "\\n";
    Snapshot snapshot;
    snapshot.requests = {requestOf("r", "s", "Bash", R"({"command":")" + lines + R"("})")};
    View view = viewOf(std::move(snapshot));
    constexpr ScreenSize size{12, 80};
    show(view, size, 0);
    EXPECT_TRUE(view.key({"a"}, at(1)).empty());
    EXPECT_EQ(view.message(), "read it to its end first (PgDn)");
    view.key({"PgDn"}, at(1)); // and again before anything was drawn: no row is passed over
    view.key({"PgDn"}, at(1));
    show(view, size, 1);
    for (int page = 0; page < 2; ++page) {
        EXPECT_TRUE(view.key({"a"}, at(2)).empty());
        view.key({"PgDn"}, at(2));
        show(view, size, 2);
    }
    show(view, {12, 40}, 3); // wrapped anew: read anew
    EXPECT_TRUE(view.key({"a"}, at(4)).empty());
    for (int page = 0; page < 5; ++page) {
        view.key({"PgDn"}, at(5));
        show(view, size, 5);
    }
    EXPECT_EQ(view.key({"a"}, at(6)).size(), 1);
    EXPECT_TRUE(view.key({"a"}, at(6)).empty()); // sent already
    view.refused("r", "an agent may not answer");
    EXPECT_EQ(view.key({"d"}, at(7)).size(), 0);
    view.key({"n"}, at(7));
    EXPECT_EQ(view.key({"Enter"}, at(7)).at(0).response.message, "n");
}

TEST(FrameTests, TheSameIdAgainIsAnotherCard) {
    Snapshot snapshot;
    auto asked = requestOf("r", "s", "Bash", R"({"command":"ls"})");
    snapshot.requests = {asked};
    View view = viewOf(snapshot);
    constexpr ScreenSize size{8, 80};
    show(view, size, 0);
    EXPECT_EQ(draw(view, size, exampleNow).rows[0].text.substr(1, 4), "◆ ");
    asked = std::make_shared<WaitingRequest>(*asked);
    asked->receivedAt += std::chrono::seconds(1);
    snapshot.requests = {asked};
    snapshot.primary = itemOf(Source::build, "b", DisplayState::failed, 9);
    view.show(std::make_shared<const Snapshot>(snapshot));
    EXPECT_TRUE(view.key({"a"}, at(1)).empty());
    show(view, size, 1);
    EXPECT_TRUE(view.key({"a"}, at(1.1)).empty());
    EXPECT_EQ(view.key({"a"}, at(2)).size(), 1);
    const std::string text = textOf(view, 8, 80); // the item in the notch alone bears this sign
    EXPECT_EQ(text.find("◆"), text.rfind("◆")) << text;
}

TEST(FrameTests, WhatIsHiddenIsShownBeforeItIsAllowed) {
    Snapshot snapshot;
    snapshot.requests = {requestOf("r", "s", "Bash", R"({"command":"CC=gcc make --token=t0p"})")};
    View view({.secrets = RequestCard::credentials, .home = ""});
    view.show(std::make_shared<const Snapshot>(std::move(snapshot)));
    constexpr ScreenSize size{8, 80};
    show(view, size, 0);
    EXPECT_NE(textOf(view, 8, 80).find("CC=gcc make --token=⟦hidden, 3 bytes⟧ "), std::string::npos);
    EXPECT_TRUE(view.key({"a"}, at(1)).empty());
    view.key({"v"}, at(1));
    EXPECT_TRUE(view.key({"a"}, at(2)).empty()); // nobody has seen it yet
    show(view, size, 2);
    EXPECT_NE(textOf(view, 8, 80).find("CC=gcc make --token=t0p "), std::string::npos);
    EXPECT_NE(textOf(view, 8, 80).find("v hide again"), std::string::npos);
    EXPECT_EQ(view.key({"a"}, at(3)).size(), 1);
}

} // namespace quorvik
