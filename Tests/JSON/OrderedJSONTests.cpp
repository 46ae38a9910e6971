#include "Tests/Support/Text.h"

#include "QuorvikCore/JSON/OrderedJSON.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <pthread.h>

#include <cstdlib>
#include <stdexcept>

using namespace quorvik;
using quorvik::testing::repeated;
using namespace std::string_literals;

namespace {

/// The printed document without indentation or line feeds, or the error's offset; what a table compares.
std::string outcome(std::string_view text) {
    try {
        std::string printed = OrderedJSON::serialize(OrderedJSON::parse(text), "");
        std::erase(printed, '\n'); // those inside strings are escaped
        return printed;
    } catch (const JSONParseError& error) {
        EXPECT_EQ(error.what(), "Invalid JSON near byte " + std::to_string(error.offset));
        return std::to_string(error.offset);
    }
}

// What the standard calls valid has to be read, and after printing has to mean the same to a strict reader.
TEST(OrderedJSON, ReadsAndKeepsAllThatIsValid) {
    // clang-format off
    const std::string valid[] = {
        "[]", "{}", "[[]   ]", "[\"\"]", "[null, 1, \"1\", {}]", " [1]", "[2] ", "\t[\r\n1 ]\n",
        "true", "false", "null", "42", "\"asd\"", "\" \"", "\"\"", "[1,null,null,null,2]",
        "[0e+1,0e1, 4,20e1,-0,-123,-0.1,1E22,1E-2,1E+2,123e45,123.456e78,1e-2,1e+2,123.456789,0,0.5]",
        "[-0.000000000000000000000000000000000000000000000000000000000001,18446744073709551616,1.0,10]",
        R"({"asd":"sdf", "dfg":"fgh"})", R"({"a":"b","a":"c"})", R"({"":0})", R"({"a":[]})",
        R"({"foo\u0000bar": 42})", R"({ "min": -1.0e+28, "max": 1.0e+28 })", R"({"x":[{"id": "x"}], "id": "x"})",
        R"(["\u0060\u012a\u12AB","\uD801\udc37","\ud83d\ude39\ud83d\udc8d","\"\\\/\b\f\n\r\t","\\u0000","\"","\\a"])",
        R"(["a/*b*/c/*d//e","\\n","\u0012","\uFFFF","\uDBFF\uDFFF","new\u00A0line","\u0000","\u002c","\uD834\uDd1e"])",
        "[\"\u03c0\",\"\U0010ffff\",\"\u2028\u2029\",\"\x7f\",\"\u20ac\U0001d11e\",\"\ufeff\"]",
    };
    // clang-format on
    for (const std::string& text : valid) {
        const std::string printed = outcome(text);
        EXPECT_EQ(nlohmann::json::parse(printed, nullptr, false), nlohmann::json::parse(text))
            << text << printed;
    }
}

TEST(OrderedJSON, PrintsOrderNumbersAndStringsAsTheyStood) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"b":1,"a":2})", R"({"b": 1,"a": 2})"},
        {R"({"a":1,"b":[],"a":{ }})", R"({"a": 1,"b": [],"a": {}})"},
        {"[1.50,-0,1e3,1E+03,123456789012345678901]", "[1.50,-0,1e3,1E+03,123456789012345678901]"},
        // Not valid, but what the user meant is plain, and so is what to write back.
        {"[+1,.5,5.,007,1e999,-.5e-7]", "[+1,.5,5.,007,1e999,-.5e-7]"},
        {"[\"\x01\t\x1f\n\"]", R"(["\u0001\t\u001f\n"])"},
        {"[\"\xff\xc0\x80\xed\xa0\x80\xe2\x82\"]", "[\"\xff\xc0\x80\xed\xa0\x80\xe2\x82\"]"},
        {R"(["\u001b\u0010\u000F\u007f\u00e9\/\"\\"])", "[\"\\u001b\\u0010\\u000f\x7f\u00e9/\\\"\\\\\"]"},
        {R"("\b\f\n\r\t")", R"("\b\f\n\r\t")"},
        {R"({"\u006b\n":0})", R"({"k\n": 0})"},
        {R"("\u007f\u0080\u07ff\u0800\uffff\ud800\udc00\udbff\udfff")",
         "\"\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff\""},
        // Halves of surrogate pairs: alone, before another escape, before a pair, in the wrong order.
        {R"("\ud800")", "\"\ufffd\""},
        {R"("\udfffx")", "\"\ufffdx\""},
        {R"("\ud83d\n\ud83dA")", "\"\ufffd\\n\ufffdA\""},
        {R"("\ud83d\u0041")", "\"\ufffdA\""},
        {R"("\ud83d\ud83d\ude39")", "\"\ufffd\U0001f639\""},
        {R"("\ude39\ude39\ud83d")", "\"\ufffd\ufffd\ufffd\""},
    };
    for (const auto& [text, printed] : cases)
        EXPECT_EQ(outcome(text), printed) << text;
}

TEST(OrderedJSON, RefusesWithTheOffsetOfTheFault) {
    // A caret, which is not part of the text, stands before the byte that the error names.
    // clang-format off
    const std::string cases[] = {
        "^", " \t\r\n^", " {} ^x", "[]^]", "1 ^2", "^\xef\xbb\xbf{}", "^\xff", "^//\n[]", "[]^/**/", "^\f[]", "[^\u00a0]",
        "^\0"s, "[^\0]"s, "[^\"\0\"]"s, "{}^\0"s, "^a", "^'a'", "^]", "^,", "^:",
        // literals
        "[^nul]", "^nul", "^True", "^tru", "[^fals]", "true^e", "^nan", "^NaN", " ^falsy",
        // arrays
        "[^", "[ ^", "[1^", "[1,^", "[1,^]", "[^,1]", "[1,^,2]", "[1 ^true]", "[\"\"^: 1]", "[1^}", "[^}", "[1]^]", "[[[1,^",
        // objects
        "{^", "{ ^", "{\"a\"^", "{\"a\":^", "{\"a\":1^", "{\"a\":1,^", "{\"a\":1,^}", "{^,}", "{^1:1}", "{^'a':0}", "{^a: 1}",
        "{\"a\" ^1}", "{\"a\"^=1}", "{\"a\":^:1}", "{\"a\":1 ^\"b\":2}", "{\"a\":1^]", "{^]", "{\"a\"^}", "{\"a\":^}", "{^[",
        // numbers: after the bytes that look like one
        "-^", "[-^]", "+-1^", "1.2.3^", "[1+2^]", "0^x10", "-^Infinity", "^inf", "[1^a]", "1^_000", "[-1^x]", "1^\u0665",
        // strings: never closed, or with a bad escape
        "^\"", "[^\"abc]", "^\"\\\"", "\"^\\", "[\"a^\\", R"("ab^\x41")", R"("^\a")", R"("^\U0041")", R"("^\'")",
        R"("^\0")", "\"^\\\n\"", "\"^\\\u00e9\"", R"("^\u")", R"("^\u12)", R"("^\u12")", R"("^\u00g0")", R"("^\u-123")",
        R"("^\u 123")", R"("\uD800^\u12")", R"("\uD800^\)", R"("\uD800^\x")", R"({"^\q":1})", R"({^"a)",
    };
    // clang-format on
    for (std::string text : cases) {
        const std::size_t offset = text.find('^');
        text.erase(offset, 1);
        EXPECT_EQ(outcome(text), std::to_string(offset)) << text;
    }
}

// Every run of up to five number bytes, against the conversion that the rest of the system would use.
TEST(OrderedJSON, ReadsTheNumbersThatStrtodReads) {
    constexpr std::string_view bytes = "05+-.eE";
    std::vector<std::string> runs{""};
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::string run = runs[i];
        if (run.size() < 5)
            for (char byte : bytes)
                runs.push_back(run + byte);
        char* end = nullptr;
        std::strtod(run.c_str(), &end);
        const bool converts = !run.empty() && end == run.c_str() + run.size();
        EXPECT_EQ(outcome(run), converts ? run : std::to_string(run.size())) << run;
    }
}

TEST(OrderedJSON, PrintsOneMemberALine) {
    const std::string text = R"({
  "hooks": {
    "Stop": [
      {
        "command": "say \"done\""
      },
      [],
      {}
    ]
  },
  "on": true
})";
    const JSONValue document = OrderedJSON::parse(text);
    EXPECT_EQ(OrderedJSON::serialize(document), text);
    EXPECT_EQ(OrderedJSON::serialize(*document.valueAt({"hooks", "Stop"}), "\t"),
              "[\n\t{\n\t\t\"command\": \"say \\\"done\\\"\"\n\t},\n\t[],\n\t{}\n]");
    EXPECT_EQ(OrderedJSON::serialize(JSONValue()), "null");
}

TEST(JSONValue, SetsAndRemovesAlongPaths) {
    // Without a value the member is removed.
    const std::tuple<std::string, std::vector<std::string_view>, std::optional<std::string>, std::string>
        cases[] = {
            {R"({"a":1,"b":2})", {"a"}, "3", R"({"a":3,"b":2})"},
            {R"({"a":1,"b":2})", {"c"}, "[]", R"({"a":1,"b":2,"c":[]})"},
            {R"({"a":1,"b":2})", {"a"}, {}, R"({"b":2})"},
            {R"({"a":1,"b":2})", {"A"}, {}, R"({"a":1,"b":2})"},
            {R"({"a":1,"b":0,"a":2})", {"a"}, "3", R"({"a":3,"b":0,"a":2})"},
            {R"({"a":1,"b":0,"a":2})", {"a"}, {}, R"({"b":0,"a":2})"},
            {R"({"a":{"x":1},"a":{}})", {"a", "x"}, {}, R"({"a":{},"a":{}})"},
            {R"({"x":5,"z":0})", {"x", "y"}, "null", R"({"x":{"y":null},"z":0})"},
            {R"({"x":[{"y":1}]})", {"x", "y"}, "2", R"({"x":{"y":2}})"},
            {R"({"x":{"o":1}})", {"x", "y", "z"}, "2", R"({"x":{"o":1,"y":{"z":2}}})"},
            {"{}", {"p", "q", "r"}, {}, R"({"p":{"q":{}}})"},
            {R"({"p":7})", {"p", "q"}, {}, R"({"p":{}})"},
            {R"({"a":1})", {}, "2", R"({"a":1})"},
            {R"({"":1})", {""}, "2", R"({"":2})"},
            {"[1]", {"a"}, "2", "[1]"},
            {"\"s\"", {"a", "b"}, "2", "\"s\""},
        };
    for (const auto& [before, path, value, after] : cases) {
        JSONValue document = OrderedJSON::parse(before);
        document.set(path, value ? std::optional(OrderedJSON::parse(*value)) : std::nullopt);
        EXPECT_EQ(document, OrderedJSON::parse(after)) << OrderedJSON::serialize(document);
    }
}

TEST(JSONValue, FindsTheFirstMemberAndNothingElsewhere) {
    JSONValue document = OrderedJSON::parse(R"({"a":{"b":"x","b":"y"},"l":[{"b":1}],"n":null})");
    EXPECT_EQ(*document.valueAt({"a", "b"})->stringValue(), "x");
    EXPECT_EQ(document.valueAt(JSONValue::Path()), &document);
    EXPECT_TRUE(document["n"]->isNull());
    EXPECT_EQ(document["B"], nullptr);
    EXPECT_EQ(document.valueAt({"a", "b", "c"}), nullptr);
    EXPECT_EQ(document.valueAt({"l", "b"}), nullptr);
    EXPECT_EQ(document["l"]->stringValue(), nullptr);

    document["l"]->arrayValue()->push_back(JSONValue::string("é"));
    EXPECT_EQ(outcome(OrderedJSON::serialize(*document["l"])), R"([{"b": 1},"é"])");
    document = std::move(*document["a"]); // by its own descendant
    EXPECT_EQ(document, OrderedJSON::parse(R"({"b":"x","b":"y"})"));
}

TEST(JSONValue, IsEqualInOrderAndText) {
    const auto different = quorvik::testing::split(
        R"(1|1.0|"1"|true|false|null|{}|[]|[1]|[1,1]|[[1]]|{"a":1}|{"b":1}|{"a":1,"b":2}|{"b":2,"a":1}|{"a":[]}|{"a":{}}|{"a":1,"a":1})");
    for (const std::string& left : different)
        for (const std::string& right : different)
            EXPECT_EQ(OrderedJSON::parse(left) == OrderedJSON::parse(right), left == right) << left << right;
}

void handleDeepDocuments() {
    constexpr std::size_t depth = 100'000;
    const std::string documents[] = {
        repeated("[", depth) + repeated("]", depth),
        repeated("{\"a\":", depth) + "1" + repeated("}", depth),
        repeated("[0,{\"k\":[1],\"a\":", depth / 2) + "[]" + repeated(",\"z\":[{}]},\"s\"]", depth / 2),
    };
    for (const std::string& text : documents) {
        const JSONValue document = OrderedJSON::parse(text);
        JSONValue copy = document;
        EXPECT_TRUE(copy == document);
        EXPECT_TRUE(OrderedJSON::parse(OrderedJSON::serialize(copy, "")) == document);
        EXPECT_THROW(OrderedJSON::serialize(document), std::length_error);
        EXPECT_EQ(outcome(text.substr(0, text.size() - 1)), std::to_string(text.size() - 1));
        copy = JSONValue();
    }

    const std::vector<std::string_view> path(depth, "a");
    JSONValue built = JSONValue::object();
    built.set(path, JSONValue::number("1"));
    const JSONValue read = OrderedJSON::parse(documents[1]);
    EXPECT_TRUE(built == read);
    *built.valueAt(path) = JSONValue::number("2");
    EXPECT_FALSE(built == read);
    EXPECT_EQ(outcome(repeated("[{\"\":", depth)), std::to_string(5 * depth));
}

// Secondary threads have 512 kB of stack on macOS; a frame for each level would need many times as much.
TEST(JSONValue, NestsDeeperThanTheStack) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    pthread_t thread;
    const auto body = [](void*) -> void* { return handleDeepDocuments(), nullptr; };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

} // namespace
