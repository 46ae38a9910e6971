#include "QuorvikCore/Activity/ErrorScanner.h"
#include "QuorvikCore/Text/Unicode.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

struct Chunk {
    std::string text;
    bool isStderr = false;
};

ErrorScanner scanned(std::initializer_list<Chunk> chunks) {
    ErrorScanner scanner;
    for (const auto& [text, isStderr] : chunks)
        scanner.feed(text, isStderr);
    scanner.finish();
    return scanner;
}

std::string letters(std::size_t count) {
    return std::string(count, 'x');
}

} // namespace

TEST(ErrorScanner, KeepsTheMostTellingLine) {
    struct Case {
        std::initializer_list<Chunk> chunks;
        std::optional<std::string> best;
    };
    for (const auto& [chunks, best] : std::initializer_list<Case>{
             {{}, std::nullopt},
             {{{"\n \n\t\n"}}, std::nullopt},
             {{{"Compiling\nerror: x\nWarning: y\n"}}, "error: x"},
             {{{"npm WARN something\n", true}, {"one\ndone\n"}}, "npm WARN something"},
             {{{"one\n\n  two \n \n"}}, "two"},
             {{{"no end"}}, "no end"},
             {{{"a\nERR"}, {"OR b\nfatal: c\n"}}, "ERROR b"},
             {{{"fine\n", true}, {"1 failed\n"}, {"error\n", true}},
              "1 failed"},                                    // the first of either stream
             {{{"late: error"}, {"fatal\n", true}}, "fatal"}, // complete lines come before unfinished ones
             {{{"x\r\nerror 1\r\nerror 2\r\n"}}, "xerror 1error 2"}, // CR LF ends no line: all one
             {{{"a\r"}, {"\nb\n"}}, "ab"},                           // CR LF over two chunks
             {{{"a\r"}, {"\n\nb"}}, "b"},
             {{{"er\x1B[1mr\x1B[0mor\nlast\n"}}, "error"}, // coloured within the word
             {{{"er\bror\nlast\n"}}, "error"},
             {{{"suite\nFAIL\r\n 3 tests\nbye\n"}}, "FAIL 3 tests"},
             {{{"\x1B[2mone\x1B[0m\ntwo\n3 fail x\n\t fail\x1B[0m \x1B[1mx\nbye\n"}}, "fail x"},
             {{{"\x1B[2m\xE2\x9C\x1B[m\x96\nlast\n"}}, "last"},          // bytes that make no ✖ together
             {{{"error\rfine\nlast\n"}}, "last"},                        // overwritten on the screen
             {{{letters(200) + " error\nlast\n"}}, "last"},              // beyond what is kept of a line
             {{{"caf\xC3"}, {"\xA9 error\n"}}, "caf\uFFFD\uFFFD error"}, // each chunk is decoded by itself
         })
        EXPECT_EQ(scanned(chunks).best(), best);
}

TEST(ErrorScanner, FindsAnErrorAmongManyLines) {
    // At every place relative to the 64-byte blocks in which lines are passed over.
    for (const std::string word : {"ERROR", "Failed", "fAtal", "Assertion", "✖", "✗", "fail x"}) {
        for (std::size_t offset = 0; offset < 130; ++offset) {
            std::string lines = offset % 2 == 0 ? "" : "\x1B[2mfrom here on coloured\n";
            for (int i = 0; i < 20; ++i)
                lines += "class farm narrow fa ss rr ✓\n";
            lines += letters(offset) + "\n" + word + "\n";
            for (int i = 0; i < 20; ++i)
                lines += "a late error that must not win\n";
            EXPECT_EQ(scanned({{lines}}).best(), word) << offset;
        }
    }
}

TEST(ErrorScanner, CleansLinesAsATerminalWould) {
    for (const auto& [line, cleaned] : std::initializer_list<std::pair<std::string, std::string>>{
             {"\x1B[31mError\x1B[0m: boom", "Error: boom"},
             {"downloading 10%\r50%\r100%", "100%"},
             {"a\r\nb", "ab"},
             {"\x1B[38;5;1mx\x1B[Ky\x1B(Bz", "xyBz"},
             {"x\x1B", "x"},
             {"x\x1B[31", "x"},
             {"x\x1B[é~y", "xy"},
             {"\x1B\x1B[1mx", "[1mx"}, // the second ESC is what the first one drops
             {"a\tb\b\x07\x7Fz", "a\tb\x7Fz"},
             {" \t a \t ", "a"},
             {"bad\xFF", "bad\uFFFD"},
             {letters(200), letters(200)},
             {letters(201), letters(200) + "…"},
         })
        EXPECT_EQ(ErrorScanner::clean(line), cleaned) << line;
}

TEST(ErrorScanner, KnowsWhatLooksLikeAnError) {
    for (const std::string_view line :
         {"0 errors", "FATAL", "Assertion `x'", "✗ 2 tests", "a ✖️ b", "FAIL src/x", "Build FAILED"})
        EXPECT_TRUE(ErrorScanner::looksLikeError(line)) << line;
    for (const std::string_view line :
         {"", "fail", "failing", "a fail b", "err", "terrible", "✓ ok", "fai\u0307led"})
        EXPECT_FALSE(ErrorScanner::looksLikeError(line)) << line;
}

TEST(ErrorScanner, KeepsTheEndOfALongLine) {
    ErrorScanner scanner;
    scanner.feed("A" + letters(4999), false);
    EXPECT_EQ(scanner.pending(false), letters(4096));
    scanner.feed("é\r\n", true);
    EXPECT_EQ(scanner.pending(true), "é\r\n");
    scanner.finish();
    EXPECT_EQ(scanner.lastLine, "é");
    EXPECT_EQ(scanner.pending(true), "");

    // A complete line is judged whole when it comes in one chunk, by its last 4096 characters when it does
    // not.
    EXPECT_EQ(scanned({{"error " + letters(5000) + "\n"}}).best(), "error " + letters(194) + "…");
    EXPECT_EQ(scanned({{"error " + letters(5000)}, {"\n"}}).best(), letters(200) + "…");
}

TEST(ErrorScanner, MemoryStaysBoundedWhateverComes) {
    for (const std::string& piece :
         {std::string("x"), std::string("é"), std::string("\u0301"), std::string("\xFF"),
          std::string(1, '\0'), std::string("\r"), std::string("🇩🇪")}) {
        std::string chunk;
        while (chunk.size() < 16384)
            chunk += piece;
        ErrorScanner scanner;
        for (int i = 0; i < 60; ++i)
            scanner.feed(chunk, false);
        const std::string kept = scanner.pending(false);
        EXPECT_LE(kept.size(), 64u * 1024 * 4) << piece;
        EXPECT_LE(Unicode::characterCount(kept), 4096u) << piece;
    }
}

} // namespace quorvik
