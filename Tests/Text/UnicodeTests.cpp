#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

namespace quorvik::Unicode {

TEST(Unicode, RepairsEachMaximalSubpart) {
    for (const auto& [bytes, text] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"grün 好 😀", "grün 好 😀"},
             {"a\xFFz", "a\uFFFDz"},
             {"\xC3", "\uFFFD"},       // cut short
             {"\xE2\x9C", "\uFFFD"},   // cut short, one part
             {"\xE2\x9Cx", "\uFFFDx"}, // broken off, what follows survives
             {"\xF0\x9F\x98z\xF0\x9F", "\uFFFDz\uFFFD"},
             {"\xC0\xAF", "\uFFFD\uFFFD"},                     // overlong
             {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},           // a surrogate
             {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last scalar
         })
        EXPECT_EQ(repaired(bytes), text);
}

TEST(Unicode, CountsWhatPeopleSee) {
    for (const auto& [text, count] : std::initializer_list<std::pair<std::string_view, std::size_t>>{
             {"", 0},
             {"abc", 3},
             {"\r\n", 1},
             {"\n\r", 2},
             {"e\u0301e\u0301", 2},            // combining accents
             {"👩‍👩‍👧‍👦", 1}, // joined by zero-width joiners
             {"🇩🇪🇫🇷", 2},                      // pairs of regional indicators
             {"👍🏽", 1},                  // skin tone
             {"\u1112\u1161\u11AB", 1},        // a Hangul syllable in parts
             {"a\xFF\xFF", 3},                 // each bad byte is one
             {"\u0600x", 1},                   // a prefix sign takes the letter along
         }) {
        EXPECT_EQ(characterCount(text), count) << text;
        EXPECT_EQ(firstCharacters(text, count), text);
        EXPECT_EQ(lastCharacters(text, count), text);
    }
    EXPECT_EQ(characterCount("abcdef", 3), 3u);
}

TEST(Unicode, CutsAtTheFrontAndAtTheBackAlike) {
    // The quick way back over ASCII must agree with counting from the front.
    const std::string text = "x\r\n\u0600ab🇩🇪🇫🇷c\u0301\r\ndef\n\re\u0301gh\r\n";
    const std::size_t total = characterCount(text);
    for (std::size_t count = 0; count <= total; ++count)
        EXPECT_EQ(std::string(firstCharacters(text, total - count)) +
                      std::string(lastCharacters(text, count)),
                  text)
            << count;
}

TEST(Unicode, KnowsTheSetsOfTheUsersSystem) {
    EXPECT_TRUE(isControl(0x200D) && !isControl(0xA0)); // zero-width joiner; no-break space
    EXPECT_TRUE(isNewline(0x2028) && !isNewline(' '));
    EXPECT_TRUE(isWhitespace(0x3000) && !isWhitespace('\n'));
    EXPECT_TRUE(isWhitespaceOrNewline(0x85));
    EXPECT_TRUE(isPunctuation(0x3002) && !isPunctuation('+')); // that is a symbol
    EXPECT_TRUE(isDigit(0x0663) && !isDigit(0xBD));            // ½ is numeric, not a digit
    EXPECT_TRUE(isLetter(0x597D));
    EXPECT_EQ(trimmed("\u3000\t x y \u00A0", isWhitespace), "x y");
    EXPECT_EQ(lowercased("ÀÉ İ Σ ẞ K"), "àé i\u0307 σ ß k");
}

TEST(Unicode, MeasuresTerminalColumns) {
    for (const auto& [text, columns, fittingIntoThree] :
         std::initializer_list<std::tuple<std::string_view, std::size_t, std::string_view>>{
             {"", 0, ""},
             {"abcd", 4, "abc"},
             {"e\u0301e\u0301", 2, "e\u0301e\u0301"},
             {"日本", 4, "日"},
             {"a日本", 5, "a日"},
             {"👨‍👩‍👧x", 3, "👨‍👩‍👧x"},
             {"🇩🇪🇫🇷", 4, "🇩🇪"},
             {"❤\uFE0F1", 3, "❤\uFE0F1"},
             {"\u0301\a\n", 0, "\u0301\a\n"}}) {
        EXPECT_EQ(columnCount(text), columns) << text;
        EXPECT_EQ(firstColumns(text, 3), fittingIntoThree) << text;
    }
}

} // namespace quorvik::Unicode
