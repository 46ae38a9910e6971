#include "Tests/Terminal/ExampleSnapshots.h"

#include "quorvik_island/Terminal/View.h"

#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

namespace quorvik {

using testing::exampleNow;
using testing::exampleSnapshot;
using testing::itemOf;
using testing::requestOf;

namespace {

View viewOf(Snapshot snapshot) {
    View view({.secrets = {}, .home = "/home/u"});
    view.show(std::make_shared<const Snapshot>(std::move(snapshot)));
    return view;
}

std::string textOf(const View& view, std::size_t columns, std::size_t rows) {
    return "\n" + draw(view, {rows, columns}, exampleNow).text();
}

} // namespace

TEST(FrameTests, TheExampleInAllSizes) {
    const View view = viewOf(exampleSnapshot());
    EXPECT_EQ(textOf(view, 80, 11), R"(
>◆ CC  awaiting       8 s  Fix the login bug  Bash: git push --force origin main
   ╭ Claude Code asks to run Bash in ~/work/app ───────────────────────────────╮
   │ git push --force origin main                                              │
   │ A allow Bash commands that match git push:* in this project               │
   ╰ a allow   A always   d deny…   t in its terminal ────────────── 1 of 2 ──╯
 • RUN failed       2 min  make               src/app.cpp:41:2: error: expected…
 • CX  working      5 min  Write the docs     git log --oneline v1.4..
   SVC done           1 h  :5173              vite, ~/work/app


 2 wait · 1 failed · 1 works                                   ? help   q quit
)");
    EXPECT_EQ(textOf(view, 40, 10), R"(
>◆ CC  awaiting       8 s  Fix the logi…
╭ Claude Code asks to run Bash in ~/wo…╮
│ git push --force origin main         │
│ A allow Bash commands that match git │
│   push:* in this project             │
╰ a allow  A always  d deny…  ─ 1 of 2 ─╯
)");
    EXPECT_EQ(textOf(view, 20, 3), "");
    EXPECT_EQ(textOf(view, 1, 1), "");
}

} // namespace quorvik
