#include "Tests/Support/Text.h"

#include "QuorvikCore/Alerts/AlertValidator.h"

#include <gtest/gtest.h>

namespace quorvik::AlertValidator {

namespace {

using testing::repeated, testing::split;

constexpr std::string_view home = "/Users/u";

/// The request as JSON, or the rejection's message.
template <typename Make>
std::string outcome(Make make) {
    try {
        return printJSON(make().toJSON());
    } catch (const AlertRejection& rejection) {
        return rejection.what();
    }
}

const std::string titleRequired = "title is required (1 to 16 characters)";
const std::string ttlRange = "ttl must be 0 to 86400 seconds";
const std::string idAlphabet = "id must be 1 to 64 letters, digits or . _ : -";

std::string titled(const std::string& title, int ttl = 0) {
    return R"({"body":"","level":"info","title":")" + title + R"(","ttl":)" + std::to_string(ttl) + "}";
}

} // namespace

TEST(AlertValidator, Arguments) {
    // Joined: the joiner is a control character and becomes a blank.
    const std::string family = "👩🏽‍💻", thumbs = repeated("👍🏽", 16);
    using Words = std::vector<std::string>;
    for (const auto& [words, expected] : std::initializer_list<std::pair<Words, std::string>>{
             {{}, titleRequired},
             {{"--title=Hi", "--body=a=b", "--level=FAIL", "--ttl= 60\t", "--id=a.b_c:d-1",
               "--open=/tmp/x//"},
              R"({"body":"a=b","id":"a.b_c:d-1","level":"fail","open":"/tmp/x","title":"Hi","ttl":60})"},
             {{"--title", "--body"}, titled("--body")},
             {{"--title", "a", "--title", "b"}, titled("b")},
             {{"--title", "a\nb\u200Dc"}, titled("a b c")},
             {{"--title", "\xFF"}, titled("\uFFFD")},
             {{"-title", "x"}, "unexpected argument -title"},
             {{"--title"}, "--title needs a value"},
             {{"--nope"}, "--nope needs a value"}, // before the name is looked at
             {{"--"}, "-- needs a value"},
             {{"--Title=x"}, "unknown option --Title"},
             {{"--title=a", "--nope=", "x"}, "unknown option --nope"},
             {{"--title="}, titleRequired},
             {{"--title", " \n\u3000\t"}, titleRequired},
             {{"--title", thumbs}, titled(thumbs)},
             {{"--title", thumbs + "x"}, "title is longer than 16 characters"},
             {{"--title", repeated(family, 6)},
              "title is longer than 16 characters"}, // six times 2 + a blank
             {{"--title", "x", "--body", repeated("e\u0301", 81)}, "body is longer than 80 characters"},
             {{"--title", "x", "--level", "İnfo"}, "level must be info, action or fail"},
             {{"--title", "x", "--level="}, "level must be info, action or fail"},
             {{"--title", "x", "--ttl=+86400"}, titled("x", 86400)},
             {{"--title", "x", "--ttl=-0"}, titled("x")},
         })
        EXPECT_EQ(outcome([&] { return make(words, home); }), expected);
}

TEST(AlertValidator, ChecksInAFixedOrder) {
    RawFields fields{.title = "", .body = repeated("x", 81), .level = "x", .open = "x", .id = "", .ttl = "x"};
    const auto now = [&] { return outcome([&] { return make(fields, home); }); };
    EXPECT_EQ(now(), titleRequired);
    fields.title = "t";
    EXPECT_EQ(now(), "body is longer than 80 characters");
    fields.body = "b";
    EXPECT_EQ(now(), "level must be info, action or fail");
    fields.level = "action";
    EXPECT_EQ(now(), ttlRange);
    fields.ttl = "1";
    EXPECT_EQ(now(), idAlphabet);
    fields.id = "i";
    EXPECT_EQ(now(), "open must be an absolute path");
}

TEST(AlertValidator, RefusesOddNumbersAndNames) {
    for (const std::string& ttl : split("| |86401|-1|+-1|++1|1.0|1e2|0x10|99999999999999999999|1\n|٣"))
        EXPECT_EQ(outcome([&] { return make(RawFields{.title = "x", .ttl = ttl}, home); }), ttlRange) << ttl;
    for (const std::string& id : split("| a|é|" + repeated("a", 65)))
        EXPECT_EQ(outcome([&] { return make(RawFields{.title = "x", .id = id}, home); }), idAlphabet) << id;
    EXPECT_EQ(make(RawFields{.title = "x", .id = repeated("a", 64)}, home).id, repeated("a", 64));
}

TEST(AlertValidator, OpensLocalPathsOnly) {
    const std::string longest = "/tmp/" + repeated("x", 1019);
    for (const auto& [raw, opened] : std::initializer_list<std::pair<std::string, std::string>>{
             {"/Users/u", "/Users/u"},
             {" /Users/u/a b/ \t", "/Users/u/a b"},
             {"/tmp/", "/tmp"},
             {"/private/tmp/x", "/private/tmp/x"},
             {"file:///tmp/a%20b?q#f", "/tmp/a b"},
             {"FILE://localhost/tmp/x", "/tmp/x"},
             {"file://user@localhost:80/tmp/x", "/tmp/x"},
             {longest, longest},
             {"/tmp/.../a..b", "/tmp/.../a..b"},
         })
        EXPECT_EQ(openPath(raw, home), opened);
    // No scheme begins with a digit ("1x:"), and "%C3" is not UTF-8.
    for (const auto& [why, paths] : std::initializer_list<std::pair<std::string, std::string>>{
             {"is not a local file URL", "file://server/tmp/x|file:///tmp/%zz|file:///tmp/%C3"},
             {"must be a local path, not a URL", "file:/tmp/x|https://example.com|C:/x|x+y.z-1:"},
             {"must be an absolute path", "file:///tmp/%00|file://|1x:/tmp||tmp/x|~/x|" + longest + "x"},
             {"must not contain ..", "file:///tmp/%2e%2e/x|/tmp/../etc|/.."},
             {"must be under your home folder or /tmp", "/tmpx|/|/Users/user"},
         })
        for (const std::string& raw : split(paths))
            EXPECT_EQ(outcome([&] { return make(RawFields{.title = "x", .open = raw}, home); }),
                      "open " + why)
                << raw;
}

TEST(AlertValidator, Links) {
    for (const auto& [link, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"quorvik://alert?title=Hi%20you&body=a+b%26c&level=fail&ttl=5&id=x&open=%2Ftmp",
              R"({"body":"a+b&c","id":"x","level":"fail","open":"/tmp","title":"Hi you","ttl":5})"},
             {"QUORVIK://ALERT/ignored?title=a=b#fragment", titled("a=b")},
             {"quorvik://alert?title=a&title=%E5%A5%BD", titled("好")},
             {"quorvik://alert?t%69tle=x&body", titled("x")},
             {"quorvik://alert?", titleRequired},
             {"quorvik://alert?Title=x", "unknown parameter Title"},
             {"quorvik://alert?title=x&", "unknown parameter "},
             {"quorvik://alert?title=x&ttl", ttlRange},
             {"quorvik://alert?title=x&id=", idAlphabet},
             {"quorvik://alert?title=x&open", "open must be an absolute path"},
         })
        EXPECT_EQ(outcome([&] { return make(std::string_view(link), home); }), expected) << link;
    for (const std::string& link : split("quorvik://alert|quorvik:alert?title=x|quorvik://"
                                         "other?title=x|https://alert?title=x|//alert?title=x|"
                                         "quorvik://alert?title=%4|quorvik://alert?title=%FF|"))
        EXPECT_EQ(outcome([&] { return make(std::string_view(link), home); }), "not a quorvik://alert link")
            << link;
}

} // namespace quorvik::AlertValidator
