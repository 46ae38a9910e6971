#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::Redactor {

class RedactorTests : public quorvik::testing::TemporaryHome {};

TEST_F(RedactorTests, MasksCredentialsAndKeepsTheRest) {
    struct Case {
        std::string_view text, redacted;
    };
    for (const auto& [text, redacted] : std::initializer_list<Case>{
             {"ls -la src", "ls -la src"},
             {"curl -H 'Authorization: Bearer abc123' x", "curl -H 'Authorization: Bearer ***' x"},
             {"AUTHORIZATION=Basic dXNlcg== y", "AUTHORIZATION=*** *** y"}, // the assignment rule comes after
             {"authorization : token t0k x", "authorization : token *** x"},
             {"send bearer  abc", "send Bearer ***"},
             {"forbearer abc", "forbearer abc"}, // no word boundary
             {"mysql --password=hunter2 db", "mysql --password=*** db"},
             {"x --api-key \"a b c\" y", "x --api-key *** y"},
             {"x --my_api_key 'a b' y", "x --my_api_key *** y"},
             {"x -token t", "x -token ***"},
             {"x --token=\"unclosed y z", "x --token=*** y z"},
             {"x --access-key\t=  v w", "x --access-key =  *** w"},
             {"x ---------token t", "x ---------token ***"},
             {"x --a-token-b --c-secret s", "x --a-token-b --c-secret ***"},
             {"x --tokens t", "x --tokens t"},
             {"x --TO\u212AEN t", "x --TO\u212AEN ***"}, // the Kelvin sign is a k in another case
             {"API_TOKEN=abc npm start", "API_TOKEN=*** npm start"},
             {"make -j8 CC=\"gcc -m32\" all", "make -j8 CC=*** all"},
             {"9A=1 éA=2", "9A=1 éA=2"}, // no word boundary before the name
             {"A= b", "A= b"},
             {"git clone https://ghp_abcdefghij0123456789@host/x", "git clone https://***@host/x"},
             {"sk-abcdef sk_live_abcdef AKIA0123456789AB xoxb-12345678", "*** *** *** ***"},
             {"sk-abc", "sk-abc"},
             {"git show 3f786850e387550fdab836ed7e6dc881de23001b", "git show ***"},
             {"open anExtremelyLongIdentifierWithoutDigits", "open anExtremelyLongIdentifierWithoutDigits"},
             {"open 123456789012345678901234", "open 123456789012345678901234"},
             {"a1a1a1a1a1a1a1a1a1a1a1a1", "a1a1a1a1a1a1a1a1a1a1a1a1"}, // one bit per character
             {"  two\nlines\tand\r\nmore  ", "two lines and  more"},
         })
        EXPECT_EQ(redact(text), redacted) << text;
}

TEST_F(RedactorTests, ShortensPathsFirst) {
    const std::string user = home.string();
    EXPECT_EQ(redact("cat " + user + "/app/src/main.c", user + "/app"), "cat src/main.c");
    EXPECT_EQ(redact("cat " + user + "/app/src/main.c", user + "/app/"), "cat src/main.c");
    EXPECT_EQ(redact("cat " + user + "/notes.txt " + user, user + "/app"), "cat ~/notes.txt " + user);
    EXPECT_EQ(redact("cat /a/b", "/"), "cat /a/b");
    EXPECT_EQ(redact("cat /a/b", ""), "cat /a/b");
}

TEST_F(RedactorTests, CutsAtEightyCharacters) {
    std::string accents;
    for (int i = 0; i < 80; ++i)
        accents += "e\u0301";
    EXPECT_EQ(redact(accents), accents);
    EXPECT_EQ(redact(accents + "x"), accents.substr(0, 79 * 3) + "…");
}

TEST_F(RedactorTests, EntropyThreshold) {
    EXPECT_FALSE(looksSecret("abcdefghijk"));                                            // no digit
    EXPECT_FALSE(looksSecret("12345678901"));                                            // no letter
    EXPECT_TRUE(looksSecret("abcdefghijk1"));                                            // log2(12) = 3.58
    EXPECT_FALSE(looksSecret("abcdefghij1"));                                            // log2(11) = 3.46
    EXPECT_EQ(replaceHighEntropy("x:abcdefghijk1abcdefgh;"), "x:abcdefghijk1abcdefgh;"); // 20 long
    EXPECT_EQ(replaceHighEntropy("x:abcdefghijk1abcdefghi;"), "x:***;");
}

TEST_F(RedactorTests, HostileTextEndsSoonAndShowsNothing) {
    // Each of these takes a backtracking engine hours, or makes it give up, unless the search is kept linear.
    // What the engine gives up on is masked whole.
    const auto repeated = [](std::string_view piece) {
        std::string text;
        while (text.size() < 1'000'000)
            text += piece;
        return text;
    };
    for (const std::string_view piece :
         {"-", "a-", "-token", "token.", "--token \"", "authorization ", "bearer ", "A=\"", "sk-", "=", "'",
          "\"", " ", "a", "\xFF", "\u0301"}) {
        const std::string text = redact("--password=hunter2 " + repeated(piece));
        EXPECT_LE(Unicode::characterCount(text), 80u) << piece;
        EXPECT_EQ(text.find("hunter2"), std::string::npos) << piece;
    }
}

TEST_F(RedactorTests, WhatTheEngineGivesUpOnIsMaskedWhole) {
    EXPECT_EQ(Regex::compile("(a+)+$")->replaceAll(std::string(40, 'a') + "b", ""), std::nullopt);
    // One option so long that going back in it exceeds the engine's limit.
    EXPECT_EQ(redact("say hunter2 -" + std::string(4'000'000, 'a') + " key"), "***");
}

} // namespace quorvik::Redactor
