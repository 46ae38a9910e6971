#include "QuorvikCore/JSON/RawJSON.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace quorvik {

TEST(RawJSONTests, AcceptsWhatTheGrammarAllowsAndNothingElse) {
    for (const std::string text :
         {"{}", "[]", " [ 1 , [ ] , { \"a\" : { } } ] \n", "\"\"", R"("\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00")",
          "0", "-0", "12", "-1.50", "1e5", "1E+05", "0.1e-2", "true", "false", "null", R"({"a":1,"a":2})"}) {
        EXPECT_TRUE(RawJSON::value(text)) << text;
        EXPECT_TRUE(nlohmann::json::accept(text)) << text;
    }
    for (const std::string text : {"",
                                   " ",
                                   "{",
                                   "[",
                                   "[1",
                                   "[1,]",
                                   "[,]",
                                   "[1 2]",
                                   "]",
                                   "[}",
                                   "{]",
                                   R"({"a"})",
                                   "{\"a\":}",
                                   "{\"a\":1,}",
                                   "{a:1}",
                                   "{1:1}",
                                   "{\"a\":1 \"b\":2}",
                                   "[1]2",
                                   "[1]]",
                                   "01",
                                   "+1",
                                   "1.",
                                   ".5",
                                   "-",
                                   "1e",
                                   "1e+",
                                   "0x1",
                                   "NaN",
                                   "tru",
                                   "True",
                                   "nul",
                                   "'a'",
                                   "\"",
                                   "\"a",
                                   "\"\\",
                                   "\"\\x\"",
                                   "\"\\u12\"",
                                   "\"\\u12g4\"",
                                   "\"\\u",
                                   "\"\n\"",
                                   "// []",
                                   "[1]//",
                                   "{\"a\":1}{"}) {
        EXPECT_FALSE(RawJSON::value(text)) << text;
        EXPECT_FALSE(RawJSON::members("{\"x\":" + text + "}")) << text;
        EXPECT_FALSE(nlohmann::json::accept(text)) << text;
    }
    EXPECT_FALSE(RawJSON::value(std::string("[]\0", 3)));
    // The fast path over long strings stops for everything that it must stop for, wherever it stands.
    for (std::size_t at = 0; at < 70; ++at) {
        std::string text = "\"" + std::string(70, 'x') + "\"";
        for (const char bad : {'\n', '\0', '\\', '"'}) {
            text[1 + at] = bad;
            EXPECT_FALSE(RawJSON::value(text)) << at << " " << int(bad);
        }
    }
}

TEST(RawJSONTests, TakesAnObjectApart) {
    using Members = RawJSON::Members;
    const std::string text = " { \"a\" : 1.50 , \"b\":[ 1, {\"a\":2} ],\"\\u0063\":\"x\", \"a\":null } ";
    EXPECT_EQ(RawJSON::members(text), (Members{{"a", "null"}, {"b", "[ 1, {\"a\":2} ]"}, {"c", "\"x\""}}));
    constexpr std::string_view wanted[] = {"c", "none"};
    EXPECT_EQ(RawJSON::members(text, wanted), (Members{{"c", "\"x\""}}));
    EXPECT_EQ(RawJSON::members("{ }"), Members());
    for (const std::string other : {"[]", "1", "\"a\"", "null", "{} {}"})
        EXPECT_FALSE(RawJSON::members(other)) << other;
}

TEST(RawJSONTests, ReadsAndRepairsStrings) {
    struct Case {
        std::string json, meaning, withoutHalves;
    };
    for (const auto& [json, meaning, withoutHalves] : std::initializer_list<Case>{
             {R"("a\"\u00e9\n")", "a\"é\n", R"("a\"\u00e9\n")"},
             {R"("\ud83d\ude00")", "😀", R"("\ud83d\ude00")"},
             {R"("\udc00")", "\uFFFD", R"("\ufffd")"},
             {R"("\ud83d\ud83d\ude00")", "\uFFFD😀", R"("\ufffd\ud83d\ude00")"},
             {R"("\ud83dA\u0041")", "\uFFFDAA", R"("\ufffdA\u0041")"},
             {R"("\\ud83d")", "\\ud83d", R"("\\ud83d")"}, // a backslash, and then letters
             {R"("\\\ud83d")", "\\\uFFFD", R"("\\\ufffd")"},
         }) {
        EXPECT_EQ(RawJSON::string(json), meaning) << json;
        EXPECT_EQ(RawJSON::withoutHalfSurrogates(json), withoutHalves) << json;
    }
    for (const std::string json : {"1", "[\"a\"]", "null", "\"a", "\"\\", ""})
        EXPECT_FALSE(RawJSON::string(json)) << json;
    EXPECT_EQ(RawJSON::compacted(" [ 1 ,\n{ \"a b\" : \" \\\" \" } ]\t"), "[1,{\"a b\":\" \\\" \"}]");
}

TEST(RawJSONTests, DepthCostsNoStack) {
    const std::string nest = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    EXPECT_EQ(RawJSON::value(nest), nest);
    EXPECT_TRUE(RawJSON::members("{\"a\":" + nest + "}"));
    EXPECT_FALSE(RawJSON::value(nest.substr(1)));
}

} // namespace quorvik
