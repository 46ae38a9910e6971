#include "QuorvikCore/Clipboard/ClipboardClassifier.h"
#include "QuorvikCore/Clipboard/ColorLiteral.h"
#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Clipboard/StackTrace.h"

#include <gtest/gtest.h>

namespace quorvik {

using ClipboardClassifier::classify;

namespace {

std::string repeated(std::string_view piece, std::size_t bytes) {
    std::string text;
    while (text.size() + piece.size() <= bytes)
        text += piece;
    return text;
}

/// "secret", "trace TypeError", "json 3", "color" or nothing.
std::string kind(std::string_view text) {
    const auto action = classify(text);
    if (!action) return "";
    if (const auto* trace = std::get_if<TraceAction>(&*action)) return "trace " + trace->exception;
    if (const auto* json = std::get_if<JSONAction>(&*action)) return "json " + std::to_string(json->count);
    return std::holds_alternative<ColorAction>(*action) ? "color" : "secret";
}

std::optional<TraceAction> trace(std::string_view text) {
    const auto action = classify(text);
    const auto* found = action ? std::get_if<TraceAction>(&*action) : nullptr;
    return found ? std::optional(*found) : std::nullopt;
}

constexpr std::string_view pythonFrame = "  File \"/Users/alice/src/app.py\", line 1, in run\n    work()\n";
constexpr std::string_view nodeFrame = "    at Object.run (/home/bob/app/index.js:3:7)\n";

} // namespace

TEST(ClipboardClassifier, SecretsComeFirst) {
    const std::string token = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ0123";
    const std::string python =
        "Traceback (most recent call last):\n" + repeated(pythonFrame, 200) + "ValueError: x\n";
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
             {"ghp_" + token + std::string(ClipboardClassifier::maxBytes / 2, '\xFF'),
              ""}}) // longer, repaired
        EXPECT_EQ(kind(text), expected) << text.substr(0, 200);
}

TEST(ClipboardClassifier, KnowsCardsAndTokensOfNoKnownMake) {
    struct Case {
        std::string text;
        bool isSecret;
    };
    for (const auto& [text, isSecret] : std::initializer_list<Case>{
             {"4111 1111 1111 1111", true},
             {"4111-1111-1111-1111", true},
             {"4111 1111 1111 1112", false},
             {"4111111111111111", true},
             {"٤١١١١١١١١١١١١١١١", true}, // digits of another script
             {"4111.1111.1111.1111", false},
             {"4222222222222", true},                             // 13 digits
             {"422222222222", false},                             // 12
             {"6304000000000000000", true},                       // 19
             {"00000000000000000000", false},                     // 20
             {"4111  1111  1111  1111 ", true},                   // trimmed to 22 characters
             {"4111   1111   1111  1111", false},                 // 24
             {"0123456789abcdef0123456789abcdef01234567", false}, // a Git hash
             {"0123456789abcdef0123456789abcdef0123456g", true},  // no hash
             {"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef", false}, // SHA-256
             {"123e4567-e89b-12d3-a456-426614174000", false},                             // a UUID
             {"123e4567-e89b-12d3-a456-42661417400z", true},
             {"com.example2.app.widget.more.name", false},
             {"com.example2.app.widget.more.2name", true},
             {"example2name0.only0twoparts0", true},
             {"abcdefghijklmnopqrstuvwx", false}, // no digit
             {"0123456789012345678901234+", false},
             {"abcdefghijklmnopqrstuvw1", true},
             {"abcdefghijklmnopqrstuv1", false}, // 23
             {"a1" + std::string(510, 'b'), true},
             {"a1" + std::string(511, 'b'), false},
             {"/usr/lib/x86/some0thing0long", false},
             {"./lib/x86/some0thing0longer", false},
             {"https0://example.org/a/path/of/some/length", false},
             {"HTTP0example0org0a0path0of0some0length", false},
             {"a1 cdefghijklmnopqrstuvwxyz", false},
             {"a1écdefghijklmnopqrstuvwxyz", false}})
        EXPECT_EQ(kind(text), isSecret ? "secret" : "") << text;
}

TEST(ClipboardClassifier, TidiesPythonTraces) {
    const std::string header = "Traceback (most recent call last):\n";
    const auto eight = trace("some log\n" + header + repeated(pythonFrame, 8 * pythonFrame.size()) +
                             "\nmod.BadError: no\nmore");
    ASSERT_TRUE(eight);
    EXPECT_EQ(eight->exception, "more");
    EXPECT_EQ(eight->omittedFrames, 3);
    std::string kept;
    for (int frame = 0; frame < 5; ++frame)
        kept += "  File \"~/src/app.py\", line 1, in run\n    work()\n";
    EXPECT_EQ(eight->cleaned,
              header + "  ... (3 earlier frames left out)\n" + kept + "mod.BadError: no\nmore");

    const auto five = trace(header + repeated(pythonFrame, 5 * pythonFrame.size()) + "KeyError: 'x'");
    ASSERT_TRUE(five);
    EXPECT_EQ(five->omittedFrames, 0);
    EXPECT_EQ(five->cleaned, header + kept + "KeyError: 'x'");

    // Of a chain the last; what introduces another exception is not the exception.
    const auto chained =
        trace(header + std::string(pythonFrame) +
              "KeyError: 1\n\nDuring handling of the above exception, another…\n\n" + header +
              std::string(pythonFrame) + "os.OSError: 2\n  File \"x\", line 2\nThe above exception was…");
    ASSERT_TRUE(chained);
    EXPECT_EQ(chained->exception, "File"); // the tail has begun: nothing after it is a frame
    EXPECT_EQ(chained->cleaned.find("KeyError"), std::string::npos);

    const auto silent =
        trace(header + std::string(pythonFrame) + std::string(pythonFrame) + "During handling of X");
    ASSERT_TRUE(silent);
    EXPECT_EQ(silent->exception, "During");
    const auto cut = trace(header + repeated(pythonFrame, 2 * pythonFrame.size()));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->exception, "Trace");
    EXPECT_FALSE(
        trace(std::string(pythonFrame) + std::string(pythonFrame) + header + "nothing but words\nand words"));
}

TEST(ClipboardClassifier, TidiesTracesOfTheOtherKind) {
    const auto seven = trace("\nUncaught app.TypeError: x is not a function\r\n\r\n" +
                             repeated(nodeFrame, 7 * nodeFrame.size()) + "end");
    ASSERT_TRUE(seven);
    EXPECT_EQ(seven->exception, "app.TypeError");
    EXPECT_EQ(seven->omittedFrames, 2);
    std::string kept;
    for (int frame = 0; frame < 5; ++frame)
        kept += "\n    at Object.run (~/app/index.js:3:7)";
    EXPECT_EQ(seven->cleaned,
              "Uncaught app.TypeError: x is not a function" + kept + "\n    ... (2 more frames left out)");

    const auto windows = trace("Error: boom\r\n\tat a (C:\\Users\\bob\\x.js:1)\r\n\tat b\r\nbye");
    ASSERT_TRUE(windows);
    EXPECT_EQ(windows->cleaned, "Error: boom\n\tat a (~\\x.js:1)\n\tat b");
    EXPECT_EQ(windows->exception, "Error"); // a name has something before "Error"

    const auto bare = trace("File \"a\", line 1\nFile \"b\", line 2\nIOError");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->exception, "Trace");
    for (const std::string_view none :
         {"TypeError\n  at a", "Err\n  at a\n  at b\n", "Error\nat a\nat b", "Error\n  at \n  at\n at  ",
          "Error\n  at a\nin between", "Error\n  File \"x\", line\n  File x\", line 3"})
        EXPECT_FALSE(trace(none)) << none;
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
    const auto array =
        ClipboardClassifier::formatJSON("[1,2.50,\"three\",{\"b\":[],\"a\":null},[true,false]]");
    ASSERT_TRUE(array);
    const JSONAction expected = {true, 5,
                                 "[\n  1,\n  2.50,\n  \"three\",\n  {\n    \"b\": [],\n    \"a\": null\n  "
                                 "},\n  [\n    true,\n    false\n  ]\n]",
                                 0};
    EXPECT_EQ(*array, expected);
    EXPECT_TRUE(ClipboardClassifier::formatJSON("[" + repeated("1,", 38) + "1]")); // 41 characters
    for (const std::string& none :
         {std::string("{}"), "[" + repeated("1,", 36) + "11]", "\"" + std::string(50, 'x') + "\"",
          "[" + std::string(50, ' ') + ",]", std::string(50, '[')})
        EXPECT_FALSE(ClipboardClassifier::formatJSON(none)) << none;

    struct Case {
        std::string value; // of the one member of an array
        std::size_t formatted;
        std::int64_t dropped;
    };
    // Around the value stand `[\n  "` and `"\n]`: 8 bytes.
    for (const auto& [value, formatted, dropped] :
         std::initializer_list<Case>{{std::string(8192 - 8, 'x'), 8192, 0},
                                     {std::string(8193 - 8, 'x'), 8192, 1},
                                     {std::string(9000 - 8, 'x'), 8192, 808},
                                     {std::string(8192 - 6, 'x') + "é" + std::string(100, 'y'), 8191 + 3,
                                      102}, // half a character at the end
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
    struct Case {
        std::string text;
        std::array<double, 4> rgba;
    };
    for (const auto& [text, rgba] : std::initializer_list<Case>{
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
        EXPECT_NEAR(color->red, rgba[0], 1e-12) << text;
        EXPECT_NEAR(color->green, rgba[1], 1e-12) << text;
        EXPECT_NEAR(color->blue, rgba[2], 1e-12) << text;
        EXPECT_NEAR(color->alpha, rgba[3], 1e-12) << text;
    }
    for (const std::string_view none :
         {"#12345",      "#12",          "#ggg",          "#",           "#-1-1-1",     "#-0-0-0",
          "rgb(1,2)",    "rgb(1 2 3 4)", "rgb(1,,2,3)",   "rgb(1,2,3",   "rgb(1,2,3)x", "rgb (1,2,3)",
          "rgbb(1,2,3)", "hsl(1.,2,3)",  "rgb(1e2,2,3)",  "rgb(+1,2,3)", "rgb(1/2/3)",  "rgb(1,2,3/)",
          "hwb(1,2,3)",  "rgb(--1,2,3)", "rgb(1 deg,2,3)"})
        EXPECT_FALSE(ColorLiteral::parseColor(none)) << none;
}

} // namespace quorvik
