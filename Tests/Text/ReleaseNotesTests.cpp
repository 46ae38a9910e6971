#include "Tests/Support/Text.h"

#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/ReleaseNotes.h"
#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace quorvik {

namespace {

/// All lines of ReleaseNotes::plainText, in other words: the regular expressions that define it, one after
/// the other. Absent when the engine gives up. `html` must be UTF-8.
std::optional<std::string> releaseNotesByExpressions(const std::string& html) {
    std::optional<std::string> text = html;
    for (const auto& [pattern, replacement] : std::initializer_list<std::pair<const char*, const char*>>{
             {"(?i)</(li|p|h[1-4]|div|ul|ol)>|<br( ?/)?>", "\n"},
             {"(?i)<li[^>]*>", "• "},
             {R"((?i)<(script|style)[^>]*>.*?</\1>)", ""},
             {"<[^>]+>", ""},
             {"&nbsp;", " "},
             {"&lt;", "<"},
             {"&gt;", ">"},
             {"&quot;", "\""},
             {"&#39;", "'"},
             {"&amp;", "&"},
             {R"(\R)", "\n"},
             {R"((?m)^[ \t]+|[ \t]+$)", ""},
             {"(?m)^[-*] ", "• "},
             {R"(\n+)", "\n"},
             {R"(\A\n|\n\z)", ""}}) {
        const auto regex = Regex::compile(pattern);
        text = regex && text ? regex->replaceAll(*text, replacement) : std::nullopt;
    }
    return text;
}

} // namespace

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
    const auto pieces =
        testing::split("<|>|/|x| |é|\t|\n|\r\n|\v|\u0085|\u2028|\u00A0|<li|<LI>|<link "
                       "y>|</li>|<br| />|</p>|<>|<script|<script>|<ſCRIPT>|"
                       "<style "
                       "a>|</script>|</SCRIPT>|</ſcript>|</ſtyle>|</style>|</"
                       "script|script>|&|&lt;|&amp;|&nbsp;|lt;|#39;|&gt;|- |* |• |\xFF|\xE2\x80");
    std::minstd_rand random(1);
    for (int round = 0; round < 10'000; ++round) {
        std::string html;
        for (auto count = random() % 20; count > 0; --count)
            html += pieces[random() % pieces.size()];
        ASSERT_EQ(ReleaseNotes::plainText(html, INT_MAX), releaseNotesByExpressions(Unicode::repaired(html)))
            << html;
    }
}

TEST(ReleaseNotes, TakeLinearTimeWhateverTheyAre) {
    for (const std::string& piece : testing::split(
             "<|<li|<script|<script>|<script></style>|<style>\n|</script>|&|&amp|<>|-|\n|\xFF|\u2028|<li>"))
        EXPECT_FALSE(ReleaseNotes::plainText("a" + testing::repeated(piece, 300'000), 3).empty()) << piece;
}

} // namespace quorvik
