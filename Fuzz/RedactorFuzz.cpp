// What comes out is one short, valid line, and the rules' shortcuts change nothing: on short texts the result
// is that of the five plain patterns, one after the other. Input: the text.

#include "Fuzz/Check.h"

#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

namespace {

using quorvik::LazyRegex;
namespace Redactor = quorvik::Redactor;
namespace Unicode = quorvik::Unicode;

struct PlainRule {
    LazyRegex regex;
    std::string_view replacement;
};

const PlainRule plainRules[] = {
    {LazyRegex(R"re((?i)(authorization\s*[:=]\s*)(bearer\s+|basic\s+|token\s+)?[^\s'"]+)re"), "$1$2***"},
    {LazyRegex(R"re((?i)\bbearer\s+[^\s'"]+)re"), "Bearer ***"},
    {LazyRegex(
         R"re((?i)(--?(?:[a-z0-9_-]*)(?:token|password|passwd|secret|api[-_]?key|access[-_]?key)(?:[=\s]+))("[^"]*"|'[^']*'|[^\s]+))re"),
     "$1***"},
    {LazyRegex(R"re(\b([A-Za-z_][A-Za-z0-9_]*)=("[^"]*"|'[^']*'|[^\s]+))re"), "$1=***"},
    {LazyRegex(
         R"re(\b(sk-[A-Za-z0-9_-]{6,}|sk_(?:live|test)_[A-Za-z0-9]{6,}|gh[pousr]_[A-Za-z0-9]{10,}|github_pat_[A-Za-z0-9_]{10,}|xox[abprs]-[A-Za-z0-9-]{6,}|AKIA[0-9A-Z]{12,}|AIza[0-9A-Za-z_-]{20,}))re"),
     "***"},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ::setenv("HOME", "/home/u", 1);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string redacted = Redactor::redact(text, "/p");
    CHECK(Unicode::isValid(redacted));
    CHECK(Unicode::characterCount(redacted) <= 80);
    for (std::string_view rest = redacted; !rest.empty();) {
        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
        CHECK(!Unicode::isNewline(scalar.value) && scalar.value != '\t');
        rest.remove_prefix(scalar.length);
    }

    // Without line breaks and paths, what is left of the work is the rules'.
    const bool plain =
        size < 300 && text.find_first_of("\t\n\v\f\r") == text.npos && text.find("/") == text.npos;
    if (!plain || !Unicode::isValid(text)) return 0;
    std::string expected(Unicode::trimmed(text, [](char32_t scalar) { return scalar == ' '; }));
    for (std::string_view rest = expected; !rest.empty();) {
        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
        if (Unicode::isNewline(scalar.value)) return 0;
        rest.remove_prefix(scalar.length);
    }
    for (const auto& [regex, replacement] : plainRules) {
        const auto replaced = regex.get()->replaceAll(expected, replacement);
        CHECK(replaced);
        expected = *replaced;
    }
    expected = Redactor::replaceHighEntropy(expected);
    if (Unicode::characterCount(expected) > 80)
        expected = std::string(Unicode::firstCharacters(expected, 79)) + "…";
    CHECK(redacted == expected);
    return 0;
}
