#include "QuorvikCore/JSON/RawJSON.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace quorvik {

TEST(RawJSONTests, AcceptsWhatTheGrammarAllowsAndNothingElse) {
    std::istringstream good(R"( [ 1 , [ ] , { "a" : { } } ]
        ["\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00",{"a":[true,false,null],"a":""}]
        [0,-0,12,-1.50,1e5,1E+05,0.1e-2])");
    for (std::string text; std::getline(good, text);)
        EXPECT_TRUE(RawJSON::value(text)) << text;
    std::istringstream bad(
        R"([1 [1, [1,] [,] [1;2] [} {"a"} {"a":} {a:1} {"a":1,} [1]2 [1]] 01 +1 1. .5 - 1e 1e+ 0x1 NaN
        tru True 'a' " "a "\ "\x" "\u12g4" "\u12 //[] [1]// { } ])");
    for (std::string text; bad >> text;) {
        EXPECT_FALSE(RawJSON::value(text)) << text;
        EXPECT_FALSE(RawJSON::members("{\"x\":" + text + "}")) << text;
        EXPECT_FALSE(nlohmann::json::accept(text)) << text;
    }
    EXPECT_FALSE(RawJSON::value(""));
    EXPECT_FALSE(RawJSON::value(std::string("[]\0", 3)));
    // The fast ways over long strings stop for everything that they must stop for, wherever it stands.
    for (const std::string_view piece :
         {"x", "\\n", "abc\\\"", "\\\\", "a\\\\b\\n", "\\u00e9", "xy\\u00E9\\t"}) {
        std::string pieces;
        while (pieces.size() < 120)
            pieces += piece;
        for (std::size_t at = 0; at <= pieces.size(); ++at)
            for (const std::string& inserted : std::initializer_list<std::string>{
                     "", "\n", std::string(1, '\0'), "\\", "\"", "\\x", "\\u12G4", "é"}) {
                const std::string text = '"' + std::string(pieces).insert(at, inserted) + '"';
                ASSERT_EQ(RawJSON::value(text).has_value(), nlohmann::json::accept(text)) << text;
                if (!RawJSON::value(text)) continue;
                ASSERT_EQ(RawJSON::string(text), nlohmann::json::parse(text).get<std::string>()) << text;
            }
    }
}

TEST(RawJSONTests, TakesAnObjectApart) {
    using Members = RawJSON::MemberViews;
    const std::string text = " { \"a\" : 1.50 , \"b\":[ 1, {\"a\":2} ],\"\\u0063\":\"x\", \"a\":null } ";
    EXPECT_EQ(RawJSON::members(text), (Members{{"a", "null"}, {"b", "[ 1, {\"a\":2} ]"}, {"c", "\"x\""}}));
    constexpr std::string_view wanted[] = {"c", "none"};
    EXPECT_EQ(RawJSON::outline(text, wanted, wanted)->members, (Members{{"c", "\"x\""}}));
    constexpr std::string_view a[] = {"a"}, b[] = {"b"};
    const std::string nested = R"({"a":{"x":1},"b":{"x":2},"a":{"\u0079":3,"z":{}} })";
    EXPECT_EQ(RawJSON::outline(nested, a, a)->inside["a"],
              (Members{{"y", "3"}, {"z", "{}"}})); // the last "a"
    EXPECT_TRUE(RawJSON::outline(nested, a, b)->inside.empty());
    EXPECT_FALSE(RawJSON::outline(nested + "x", a, a));
    EXPECT_FALSE(RawJSON::outline(R"({"a":{"x":1,}})", a, a));
    EXPECT_EQ(RawJSON::members("{ }"), Members());
    EXPECT_FALSE(RawJSON::members("[]"));
    EXPECT_EQ(RawJSON::compacted(" [ 1 ,\n{ \"a b\" : \" \\\" \" } ]\t"), "[1,{\"a b\":\" \\\" \"}]");
}

TEST(RawJSONTests, ReadsAndRepairsStrings) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {R"("a\"\u00e9\n\ud83d\ude00")", "a\"é\n😀", R"("a\"\u00e9\n\ud83d\ude00")"},
        {R"("\udc00")", "\uFFFD", R"("\ufffd")"},
        {R"("\ud83d\ud83d\ude00")", "\uFFFD😀", R"("\ufffd\ud83d\ude00")"},
        {R"("\ud83dA\u0041")", "\uFFFDAA", R"("\ufffdA\u0041")"},
        {R"("\\ud83d\\\ud83d")", "\\ud83d\\\uFFFD", R"("\\ud83d\\\ufffd")"}, // a backslash, and then letters
    };
    for (const auto& [json, meaning, withoutHalves] : cases) {
        EXPECT_EQ(RawJSON::string(json), meaning) << json;
        EXPECT_EQ(RawJSON::withoutHalfSurrogates(json), withoutHalves) << json;
    }
    for (const std::string json : {"1", "[\"a\"]", "null", "\"a", "\"\\", ""})
        EXPECT_FALSE(RawJSON::string(json)) << json;
}

} // namespace quorvik
