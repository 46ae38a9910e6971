// Classifying texts of a megabyte, the worst ones that we know of among them, against RE2, whose time is
// linear in the text by construction, trying the 18 patterns one after the other.

#include "Benchmarks/Measure.h"

#include "QuorvikCore/Clipboard/ClipboardClassifier.h"
#include "QuorvikCore/Clipboard/SecretScanner.h"

#include <re2/re2.h>

#include <memory>
#include <string>

namespace {

using quorvik::ClipboardClassifier::maxBytes;

/// `start`, then `piece` over and over, then `end`: a megabyte.
std::string filled(std::string_view piece, std::string_view start = "", std::string_view end = "") {
    std::string text(start);
    while (text.size() + piece.size() + end.size() <= maxBytes)
        text += piece;
    return text.append(end);
}

} // namespace

int main() {
    using namespace quorvik;
    std::vector<std::unique_ptr<re2::RE2>> patterns;
    for (const std::string_view pattern : SecretScanner::secretPatterns)
        patterns.push_back(std::make_unique<re2::RE2>(std::string(pattern), re2::RE2::Quiet));

    struct Text {
        const char* name;
        std::string content;
    };
    const std::string half(maxBytes / 2 - 10, '[');
    const Text texts[] = {
        {"prose", filled("Nothing much happened on the way back from the harbour, said she; it rained. ")},
        {"source code",
         filled("    if (record.state == State::idle) return process(record, \"name\", 42); // as before\n")},
        {"German prose", filled("Übermäßig viel Gerät störte die Größe der schönen Räume über dem Fluß. ")},
        {"\"token.\"", filled("token.")},
        {"\"token.\", then a colon", filled("token.", "", ": short")},
        {"\"a.\"", filled("a.")},
        {"\"://a:\"", filled("://a:")},
        {"\"://a:b:\"", filled("b:", "://a:")},
        {"\"eyJaaaaaaaaa-\"", filled("eyJaaaaaaaaa-")},
        {"\"eyJaaaaaaaaa.a.\"", filled("eyJaaaaaaaaa.a.")},
        {"\"bearer\" and blanks", filled(" ", "bearer")},
        {"\"bearer \" over and over", filled("bearer ")},
        {"\"-----BEGIN \"", filled("-----BEGIN ")},
        {"\"-----BEGIN \" and letters", filled("PRIVATE KEY ", "-----BEGIN ")},
        {"hyphens", filled("-")},
        {"colons", filled(":")},
        {"\"a=\"", filled("a=")},
        {"blanks between colons", filled(" ", ":", ":")},
        {"\"SG.a-\"", filled("SG.a-")},
        {"deep brackets", half + std::string(half.size(), ']')},
        {"brackets that never close", filled("[")},
        {"a JSON document", filled(R"({"name":"value","list":[1,2.5,null,true]},)", "[", "0]")},
        {"a JSON list of short numbers", filled("1,", "[", "0]")},
        {"a JSON list of empty lists", filled("[],", "[", "0]")},
        {"one enormous line", filled("x", "Error ")},
        {"one enormous trace", filled("    at Object.run (/home/bob/app/index.js:3:7)\n", "TypeError: x\n")},
        {"an enormous Python trace", filled("  File \"/home/bob/app/x.py\", line 3, in f\n",
                                            "Traceback (most recent call last):\n", "x")},
        {"line feeds", filled("\n", "Error", "x")},
        {"a name of a million letters", filled("x", "Exception\n at a\n at b\n")},
        {"\"/Users/\"", filled("/Users/", "Error\n at a\n at b\n", "x")},
        {"\"C:\\Users\\\"", filled("C:\\Users\\", "Error x\n at a\n at b\n", "x")},
        {"\"rgb(\" and blanks", filled(" ", "rgb(1", "x")},
        {"\"rgb(\" and digits", filled("1", "rgb(", "x")},
        {"\"pa\", assigned, as a trace", filled("pa", "", "=aaaaaaaaaa\n at a\n at b Error")},
        {"bytes that are not UTF-8", filled("\xFF", "C:\\Users\\", "\n at a\n at b Error")},
        {"combining accents", filled("\u0301", "e")},
    };
    std::size_t sink = 0;
    for (const auto& [name, content] : texts) {
        const std::string_view text(content);
        bench::compare(
            name, 5, [&] { sink += ClipboardClassifier::classify(text).has_value(); }, "RE2",
            [&] {
                for (const auto& pattern : patterns)
                    sink += re2::RE2::PartialMatch({text.data(), text.size()}, *pattern);
            });
    }
    return sink > 1'000'000;
}
