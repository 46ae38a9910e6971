#include "QuorvikCore/Alerts/AlertValidator.h"

#include <gtest/gtest.h>

namespace quorvik::AlertValidator {

namespace {

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

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    while (count-- > 0)
        text += piece;
    return text;
}

const std::string titleRequired = "title is required (1 to 16 characters)";

} // namespace

TEST(AlertValidator, Arguments) {
    struct Case {
        std::vector<std::string> words;
        std::string outcome;
    };
    const std::string family =
        "👩🏽‍💻"; // joined: the joiner is a control character and becomes a blank
    for (const auto& [words, expected] : std::initializer_list<Case>{
             {{}, titleRequired},
             {{"--title", "Hi"}, R"({"body":"","level":"info","title":"Hi","ttl":0})"},
             {{"--title=Hi", "--body=a=b", "--level=FAIL", "--ttl= 60\t", "--id=a.b_c:d-1",
               "--open=/tmp/x//"},
              R"({"body":"a=b","id":"a.b_c:d-1","level":"fail","open":"/tmp/x","title":"Hi","ttl":60})"},
             {{"--title", "--body"}, R"({"body":"","level":"info","title":"--body","ttl":0})"},
             {{"--title", "a", "--title", "b"}, R"({"body":"","level":"info","title":"b","ttl":0})"},
             {{"--title", "a\nb\u200Dc"}, R"({"body":"","level":"info","title":"a b c","ttl":0})"},
             {{"--title", "\xFF"}, R"({"body":"","level":"info","title":"�","ttl":0})"},
             {{"title", "x"}, "unexpected argument title"},
             {{"-title", "x"}, "unexpected argument -title"},
             {{"--title"}, "--title needs a value"},
             {{"--nope"}, "--nope needs a value"}, // before the name is looked at
             {{"--"}, "-- needs a value"},
             {{"--nope", "x"}, "unknown option --nope"},
             {{"--Title=x"}, "unknown option --Title"},
             {{"--title=a", "--nope=", "x"}, "unknown option --nope"},
             {{"--title="}, titleRequired},
             {{"--title", " \n\u3000\t"}, titleRequired},
             {{"--title", repeated("👍🏽", 16)},
              "{\"body\":\"\",\"level\":\"info\",\"title\":\"" + repeated("👍🏽", 16) + "\",\"ttl\":0}"},
             {{"--title", repeated("👍🏽", 17)}, "title is longer than 16 characters"},
             {{"--title", repeated(family, 6)},
              "title is longer than 16 characters"}, // 2 + a blank, six times
             {{"--title", "x", "--body", repeated("e\u0301", 81)}, "body is longer than 80 characters"},
             {{"--title", "x", "--level", "İnfo"}, "level must be info, action or fail"},
             {{"--title", "x", "--level="}, "level must be info, action or fail"},
             {{"--title", "x", "--ttl=+86400"}, R"({"body":"","level":"info","title":"x","ttl":86400})"},
             {{"--title", "x", "--ttl=-0"}, R"({"body":"","level":"info","title":"x","ttl":0})"},
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
    EXPECT_EQ(now(), "ttl must be 0 to 86400 seconds");
    fields.ttl = "1";
    EXPECT_EQ(now(), "id must be 1 to 64 letters, digits or . _ : -");
    fields.id = "i";
    EXPECT_EQ(now(), "open must be an absolute path");
}

TEST(AlertValidator, RefusesOddNumbersAndNames) {
    for (const std::string ttl :
         {"", " ", "86401", "-1", "+-1", "++1", "1.0", "1e2", "0x10", "99999999999999999999", "1\n", "٣"})
        EXPECT_EQ(outcome([&] { return make(RawFields{.title = "x", .ttl = ttl}, home); }),
                  "ttl must be 0 to 86400 seconds")
            << ttl;
    for (const std::string& id :
         {std::string(), std::string(" a"), std::string("a b"), std::string("é"), repeated("a", 65)})
        EXPECT_EQ(outcome([&] { return make(RawFields{.title = "x", .id = id}, home); }),
                  "id must be 1 to 64 letters, digits or . _ : -")
            << id;
    EXPECT_EQ(make(RawFields{.title = "x", .id = repeated("a", 64)}, home).id, repeated("a", 64));
}

TEST(AlertValidator, OpensLocalPathsOnly) {
    struct Case {
        std::string raw, outcome;
    };
    const std::string notLocal = "open is not a local file URL", url = "open must be a local path, not a URL",
                      notAbsolute = "open must be an absolute path", parent = "open must not contain ..",
                      outside = "open must be under your home folder or /tmp";
    for (const auto& [raw, expected] : std::initializer_list<Case>{
             {"/Users/u", "/Users/u"},
             {" /Users/u/a b/ \t", "/Users/u/a b"},
             {"/tmp/", "/tmp"},
             {"/private/tmp/x", "/private/tmp/x"},
             {"file:///tmp/a%20b?q#f", "/tmp/a b"},
             {"FILE://localhost/tmp/x", "/tmp/x"},
             {"file://user@localhost:80/tmp/x", "/tmp/x"},
             {"file://server/tmp/x", notLocal},
             {"file:///tmp/%zz", notLocal},
             {"file:///tmp/%C3", notLocal}, // not UTF-8
             {"file:///tmp/%00", notAbsolute},
             {"file:///tmp/%2e%2e/x", parent},
             {"file://", notAbsolute},
             {"file:/tmp/x", url},
             {"https://example.com", url},
             {"C:/x", url},
             {"x+y.z-1:", url},
             {"1x:/tmp", notAbsolute}, // no scheme begins with a digit
             {"", notAbsolute},
             {"tmp/x", notAbsolute},
             {"~/x", notAbsolute},
             {"/tmp/" + repeated("x", 1019), "/tmp/" + repeated("x", 1019)},
             {"/tmp/" + repeated("x", 1020), notAbsolute},
             {"/tmp/../etc", parent},
             {"/..", parent},
             {"/tmp/.../a..b", "/tmp/.../a..b"},
             {"/tmpx", outside},
             {"/", outside},
             {"/Users/user", outside},
         }) {
        std::string result;
        try {
            result = openPath(raw, home);
        } catch (const AlertRejection& rejection) {
            result = rejection.what();
        }
        EXPECT_EQ(result, expected) << raw;
    }
}

TEST(AlertValidator, Links) {
    struct Case {
        std::string link, outcome;
    };
    const std::string notALink = "not a quorvik://alert link";
    for (const auto& [link, expected] : std::initializer_list<Case>{
             {"quorvik://alert?title=Hi%20you&body=a+b%26c&level=fail&ttl=5&id=x&open=%2Ftmp",
              R"({"body":"a+b&c","id":"x","level":"fail","open":"/tmp","title":"Hi you","ttl":5})"},
             {"QUORVIK://ALERT/ignored?title=a=b#fragment",
              R"({"body":"","level":"info","title":"a=b","ttl":0})"},
             {"quorvik://alert?title=a&title=%E5%A5%BD",
              R"({"body":"","level":"info","title":"好","ttl":0})"},
             {"quorvik://alert?t%69tle=x&body", R"({"body":"","level":"info","title":"x","ttl":0})"},
             {"quorvik://alert", notALink},
             {"quorvik:alert?title=x", notALink},
             {"quorvik://other?title=x", notALink},
             {"https://alert?title=x", notALink},
             {"//alert?title=x", notALink},
             {"quorvik://alert?title=%4", notALink},
             {"quorvik://alert?title=%FF", notALink},
             {"", notALink},
             {"quorvik://alert?", titleRequired},
             {"quorvik://alert?title", titleRequired},
             {"quorvik://alert?Title=x", "unknown parameter Title"},
             {"quorvik://alert?title=x&", "unknown parameter "},
             {"quorvik://alert?title=x&ttl", "ttl must be 0 to 86400 seconds"},
             {"quorvik://alert?title=x&id=", "id must be 1 to 64 letters, digits or . _ : -"},
             {"quorvik://alert?title=x&open", "open must be an absolute path"},
         })
        EXPECT_EQ(outcome([&] { return make(std::string_view(link), home); }), expected) << link;
}

} // namespace quorvik::AlertValidator
