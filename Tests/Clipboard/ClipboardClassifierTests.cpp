#include "Tests/Support/Text.h"

#include "QuorvikCore/Clipboard/ClipboardClassifier.h"
#include "QuorvikCore/Clipboard/ColorLiteral.h"
#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Clipboard/StackTrace.h"

#include <gtest/gtest.h>

namespace quorvik {

using ClipboardClassifier::classify;
using testing::repeated, testing::split;

namespace {

/// "secret", "trace TypeError", "json 3", "color" or nothing.
std::string kind(std::string_view text) {
    const auto action = classify(text);
    if (!action) return "";
    if (const auto* trace = std::get_if<TraceAction>(&*action)) return "trace " + trace->exception;
    if (const auto* json = std::get_if<JSONAction>(&*action)) return "json " + std::to_string(json->count);
    return std::holds_alternative<ColorAction>(*action) ? "color" : "secret";
}

/// "<exception>, <frames left out>: <text>", or nothing for what is no trace.
std::string trace(const std::string& text) {
    const auto action = classify(text);
    const auto* found = action ? std::get_if<TraceAction>(&*action) : nullptr;
    if (!found) return "";
    return found->exception + ", " + std::to_string(found->omittedFrames) + ": " + found->cleaned;
}

const std::string pythonFrame = "  File \"/Users/alice/src/app.py\", line 1, in run\n    work()\n";
const std::string nodeFrame = "    at Object.run (/home/bob/app/index.js:3:7)\n";

} // namespace

TEST(ClipboardClassifier, SecretsComeFirst) {
    const std::string token = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ0123";
    const std::string python =
        "Traceback (most recent call last):\n" + repeated(pythonFrame, 3) + "ValueError: x\n";
    for (const auto& [text, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"", ""},
             {" \n\t\u00A0", ""},
             {"just some words", ""},
             {python, "trace ValueError"},
             {python + "token = " + token, "secret"},
             {R"({"name": "somebody", "colour": "green", "n": 1})", "json 3"},
             {R"({"name": "somebody", "password": "hunter22"})", "secret"},
             {R"({"name": "somebody", "password": "hunter2"})", "json 2"},
             {"  " + token + "\n", "secret"},
             {"ghp_" + token + "\xFF", "secret"},
             {"#abc", "color"},
             {std::string(ClipboardClassifier::maxBytes - 7, ' ') + "#abcdef", "color"},
             {std::string(ClipboardClassifier::maxBytes - 6, ' ') + "#abcdef", ""},
             {token + std::string(ClipboardClassifier::maxBytes / 2, '\xFF'), ""}}) // longer when repaired
        EXPECT_EQ(kind(text), expected) << text.substr(0, 200);
}

TEST(ClipboardClassifier, KnowsCardsAndTokensOfNoKnownMake) {
    // Cards: with blanks and hyphens, another script's digits, 13, 19 digits, 23 characters. Tokens: no hash,
    // no UUID, no dotted name, 24 and 512 characters.
    const auto secrets = split(
        R"(4111 1111 1111 1111|4111-1111-1111-1111|4111111111111111|٤١١١١١١١١١١١١١١١|4222222222222|
6304000000000000000|4111  1111  1111  1111 |4111   1111   1111 1111|0123456789abcdef0123456789abcdef0123456g|
123e4567-e89b-12d3-a456-42661417400z|com.example2.app.widget.more.2name|example2name0.only0twoparts0|abcdefghijklmnopqrstuvw1)");
    // A wrong sum, dots, 12 and 20 digits, 24 characters; hashes, a UUID, a dotted name, no digit, no letter,
    // 23 characters, paths, addresses, white space, other letters.
    const auto others = split(R"(4111 1111 1111 1112|4111.1111.1111.1111|422222222222|00000000000000000000|
4111   1111   1111  1111|0123456789abcdef0123456789abcdef01234567|com.example2.app.widget.more.name|
0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef|123e4567-e89b-12d3-a456-426614174000|
abcdefghijklmnopqrstuvwx|0123456789012345678901234+|abcdefghijklmnopqrstuv1|/usr/lib/x86/some0thing0long|
./lib/x86/some0thing0longer|https0://example.org/a/path/of/some/length|HTTP0example0org0a0path0of0some0length|
a1 cdefghijklmnopqrstuvwxyz|a1écdefghijklmnopqrstuvwxyz)");
    for (const std::string& text : secrets)
        EXPECT_EQ(kind(text), "secret") << text;
    for (const std::string& text : others)
        EXPECT_EQ(kind(text), "") << text;
    EXPECT_EQ(kind("a1" + std::string(510, 'b')), "secret");
    EXPECT_EQ(kind("a1" + std::string(511, 'b')), "");
}

TEST(ClipboardClassifier, TidiesPythonTraces) {
    const std::string header = "Traceback (most recent call last):\n";
    const auto frames = [](std::size_t count) { return repeated(pythonFrame, count); };
    const auto kept = [](std::size_t count) {
        return repeated("  File \"~/src/app.py\", line 1, in run\n    work()\n", count);
    };
    for (const auto& [text, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"some log\n" + header + frames(8) + "\nmod.BadError: no\nmore",
              "more, 3: " + header + "  ... (3 earlier frames left out)\n" + kept(5) +
                  "mod.BadError: no\nmore"},
             {header + frames(5) + "KeyError: 'x'", "KeyError, 0: " + header + kept(5) + "KeyError: 'x'"},
             // Of a chain the last; once its tail has begun, nothing is a frame; what introduces another
             // exception is none.
             {header + frames(1) + "KeyError: 1\n\nDuring handling of …\n\n" + header + frames(1) +
                  "os.OSError: 2\n  File \"x\", line 2\nThe above exception was…",
              "File, 0: " + header + kept(1) +
                  "os.OSError: 2\n  File \"x\", line 2\nThe above exception was…"},
             {header + frames(2) + "During handling of X",
              "During, 0: " + header + kept(2) + "During handling of X"},
             {header + frames(2), "Trace, 0: " + header + kept(2).substr(0, kept(2).size() - 1)},
             {frames(2) + header + "nothing but words\nand words", ""}})
        EXPECT_EQ(trace(text), expected);
}

TEST(ClipboardClassifier, TidiesTracesOfTheOtherKind) {
    const std::string kept = "    at Object.run (~/app/index.js:3:7)\n",
                      message = "Uncaught app.TypeError: x is no function";
    for (const auto& [text, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"\n" + message + "\r\n\r\n" + repeated(nodeFrame, 7) + "end",
              "app.TypeError, 2: " + message + "\n" + repeated(kept, 5) + "    ... (2 more frames left out)"},
             {"Error: boom\r\n\tat a (C:\\Users\\bob\\x.js:1)\r\n\tat b\r\nbye",
              "Error, 0: Error: boom\n\tat a (~\\x.js:1)\n\tat b"},
             {"File \"a\", line 1\nFile \"b\", line 2\nIOError",
              "Trace, 0: File \"a\", line 1\nFile \"b\", line 2"},
             {"TypeError\n  at a", ""},
             {"Err\n  at a\n  at b\n", ""},
             {"Error\nat a\nat b", ""},
             {"Error\n  at \n  at\n at  ", ""},
             {"Error\n  at a\nin between", ""},
             {"Error\n  File \"x\", line\n  File x\", line 3", ""}})
        EXPECT_EQ(trace(text), expected);
}

TEST(StackTrace, NamesTheException) {
    for (const auto& [line, name] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"java.lang.IllegalStateException: no", "java.lang.IllegalStateException"},
             {"Caused by: a.b$c.FooErrorHandlerException2", "a.b$c.FooErrorHandlerException"},
             {"3.xError", "xError"},
             {"éError", "éError"}, // no name of ASCII letters has anything before "Error"
             {"no: MyErr", "no"},
             {"Error", "Error"},
             {"_Error", "_Error"},
             {": :", "Trace"},
             {"", "Trace"}})
        EXPECT_EQ(StackTrace::exceptionName(line), name) << line;
}

TEST(StackTrace, WritesHomeFoldersAsTildes) {
    for (const auto& [text, expected] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"/Users/a/x /home/b/y (/Users/c/z)", "~/x ~/y (~/z)"},
             {"/Users//x /home/a b/ /Users/\"a/ /home/end", "/Users//x /home/a b/ /Users/\"a/ /home/end"},
             {"/Users/Users/a /home/home/", "~/a ~/"},
             {"C:\\Users\\a\\x d:\\Users\\b c\\ 1:\\Users\\b\\ :\\Users\\b\\",
              "~\\x d:\\Users\\b c\\ 1:\\Users\\b\\ :\\Users\\b\\"},
             {"/mnt/home/a/x", "/mnt~/x"}})
        EXPECT_EQ(StackTrace::withoutHome(text), expected);
}

TEST(ClipboardClassifier, FormatsJSON) {
    const JSONAction expected = {
        true, 4, "[\n  1,\n  2.50,\n  {\n    \"b\": [],\n    \"a\": null\n  },\n  \"four\"\n]", 0};
    EXPECT_EQ(ClipboardClassifier::formatJSON("[1,2.50,{\"b\":[],\"a\":null},   \"four\"     ]   "),
              expected);
    EXPECT_TRUE(ClipboardClassifier::formatJSON("[" + repeated("1,", 19) + "1]")); // 41 characters
    for (const std::string& none :
         {std::string("{}"), "[" + repeated("1,", 18) + "11]", "\"" + std::string(50, 'x') + "\"",
          "[" + std::string(50, ' ') + ",]", std::string(50, '[')})
        EXPECT_FALSE(ClipboardClassifier::formatJSON(none)) << none;

    // Around the one member's value stand `[\n  "` and `"\n]`: 8 bytes. The last two end in half a character.
    for (const auto& [value, formatted, dropped] :
         std::initializer_list<std::tuple<std::string, std::size_t, std::int64_t>>{
             {std::string(8192 - 8, 'x'), 8192, 0},
             {std::string(8193 - 8, 'x'), 8192, 1},
             {std::string(9000 - 8, 'x'), 8192, 808},
             {std::string(8192 - 6, 'x') + "é" + std::string(100, 'y'), 8191 + 3, 102},
             {std::string(8192 - 6, 'x') + "é", 8191 + 3, 2}}) {
        const auto json = ClipboardClassifier::formatJSON("[\"" + value + "\"]");
        ASSERT_TRUE(json);
        EXPECT_EQ(json->formatted.size(), formatted) << value.size();
        EXPECT_EQ(json->droppedBytes, dropped) << value.size();
    }

    const std::string deep = std::string(400'000, '[') + std::string(400'000, ']');
    const auto nested = ClipboardClassifier::formatJSON(deep);
    ASSERT_TRUE(nested);
    EXPECT_EQ(nested->formatted.size(), ClipboardClassifier::jsonLimit);
    EXPECT_GT(nested->droppedBytes, 300'000'000'000);
}

TEST(ClipboardClassifier, ReadsColours) {
    for (const auto& [text, rgba] : std::initializer_list<std::pair<std::string, std::array<double, 4>>>{
             {"#abc", {170 / 255.0, 187 / 255.0, 204 / 255.0, 1}},
             {"#ABC8", {170 / 255.0, 187 / 255.0, 204 / 255.0, 136 / 255.0}},
             {"#ff0080", {1, 0, 128 / 255.0, 1}},
             {"#12345678", {18 / 255.0, 52 / 255.0, 86 / 255.0, 120 / 255.0}},
             {"rgb(255, 0, 51)", {1, 0, 0.2, 1}},
             {"RGBA(255 0 0 / 50%)", {1, 0, 0, 0.5}},
             {"rgb(300,-5,.5%,2)", {1, 0, 0.005, 1}},
             {"rgba( 50%\t100%\n0deg , .25 )", {0.5, 1, 0, 0.25}},
             {"hsl(120deg 50% 25%)", {0.125, 0.375, 0.125, 1}},
             {"hsl(-120, 100%, 50%)", {0, 0, 1, 1}},
             {"hsl(600 100 50)", {0, 0, 1, 1}},
             {"hsla(60, 100%, 75%, 0)", {1, 1, 0.5, 0}},
             {"hſL(7, 0%, 40%)", {0.4, 0.4, 0.4, 1}},
             {"rgb(" + std::string(400, '9') + ",-" + std::string(400, '9') + ",0)", {1, 0, 0, 1}}}) {
        const auto color = ColorLiteral::parseColor(text);
        ASSERT_TRUE(color) << text;
        EXPECT_EQ(color->original, text);
        const std::array<double, 4> found = {color->red, color->green, color->blue, color->alpha};
        for (std::size_t part = 0; part < 4; ++part)
            EXPECT_NEAR(found[part], rgba[part], 1e-12) << text << part;
    }
    for (const std::string& none : split("#12345|#12|#ggg|#|#-1-1-1|#-0-0-0|rgb(1,2)|rgb(1 2 3 "
                                         "4)|rgb(1,,2,3)|rgb(1,2,3|rgb(1,2,3)x|rgb (1,2,3)|"
                                         "rgbb(1,2,3)|hsl(1.,2,3)|rgb(1e2,2,3)|rgb(+1,2,3)|rgb(1/2/"
                                         "3)|rgb(1,2,3/)|hwb(1,2,3)|rgb(--1,2,3)|rgb(1 deg,2,3)"))
        EXPECT_FALSE(ColorLiteral::parseColor(none)) << none;
}

} // namespace quorvik
