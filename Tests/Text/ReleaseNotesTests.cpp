#include "Tests/Support/ReleaseNotesReference.h"

#include "QuorvikCore/Text/ReleaseNotes.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace quorvik {

TEST(ReleaseNotes, BecomeLinesForPeople) {
    struct Case {
        std::string_view html, text;
        int maxLines = 9;
    };
    for (const auto& [html, text, maxLines] : std::initializer_list<Case>{
             {"<ul><li>Faster start</li><li>Fix crash</li></ul>", "• Faster start\n• Fix crash", 5},
             {"<H1>New</H1><P class='x'>One<Br>two<BR />three<br / >four</p>", "New\nOne\ntwo\nthreefour"},
             {"<p>&amp;lt;b&gt; &quot;it&#39;s&quot;&nbsp;&copy; &LT;</p>", "&lt;b> \"it's\" &copy; &LT;"},
             {"<p>News:\n- one\r\n* two\u2028-three\n -  four</p>", "News:\n• one\n• two\n-three\n•  four"},
             {"<p> \t</p><p>&nbsp;</p><p>\u00A0 </p><p>x</p>", "\u00A0\nx"},
             {"1\n2\n3\n4\n5\n6\n7\n8", "1\n2\n3\n…", 3},
             {"1", "…", 0},
             {"1", "…", INT_MIN},
             {"a<script>if (a < b) c();</script>b<STYLE x>y</style>c", "abc"},
             {"a<script>\nb\n</script>c", "a\nb\nc"}, // only on one line
             {"<link rel=x>a", "• a"},
             {"<li <br>y", "<li\ny"}, // line ends first
             {"<p>\xFF</p>", "\uFFFD"}})
        EXPECT_EQ(ReleaseNotes::plainText(html, maxLines), text) << html;
}

TEST(ReleaseNotes, AreWhatTheExpressionsSay) {
    constexpr std::string_view pieces[] = {
        "<",        ">",        "/",        "x",         " ",         "é",         "\t",
        "\n",       "\r\n",     "\v",       "\u0085",    "\u2028",    "\u00A0",    "<li",
        "<LI>",     "<link y>", "</li>",    "<br",       " />",       "</p>",      "<>",
        "<script",  "<script>", "<ſCRIPT>", "<style a>", "</script>", "</SCRIPT>", "</ſcript>",
        "</ſtyle>", "</style>", "</script", "script>",   "&",         "&lt;",      "&amp;",
        "&nbsp;",   "lt;",      "#39;",     "&gt;",      "- ",        "* ",        "• "};
    std::minstd_rand random(1);
    for (int round = 0; round < 10'000; ++round) {
        std::string html;
        for (auto count = random() % 20; count > 0; --count)
            html += pieces[random() % std::size(pieces)];
        ASSERT_EQ(ReleaseNotes::plainText(html, INT_MAX), testing::releaseNotesByExpressions(html)) << html;
    }
}

TEST(ReleaseNotes, TakeLinearTimeWhateverTheyAre) {
    for (const std::string_view piece :
         {"<", "<li", "<script", "<script>", "<script></style>", "<style>\n", "</script>", "&", "&amp", "<>",
          "-", "\n", "\xFF", "\u2028", "<li>"}) {
        std::string html = "a";
        while (html.size() < 1'000'000)
            html += piece;
        EXPECT_FALSE(ReleaseNotes::plainText(html, 3).empty()) << piece;
    }
}

} // namespace quorvik
