// On short texts the result is that of the plain patterns, one after the other; a known start settles only
// what is true of the whole; what is found for front ends is the same, or shown because it is to be read;
// and long texts take no longer than their length explains. Input: the text.

#include "Fuzz/Check.h"

#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <functional>

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

void replaceAll(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != text.npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

std::string withoutRandomTokens(std::string_view text) {
    constexpr std::string_view inToken =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/_=.-";
    std::string result;
    while (!text.empty()) {
        const std::string_view token = text.substr(0, text.find_first_not_of(inToken));
        text.remove_prefix(token.size());
        result += token.size() > 20 && Redactor::looksSecret(token) ? "***" : token;
        const std::string_view between = text.substr(0, text.find_first_of(inToken));
        text.remove_prefix(between.size());
        result += between;
    }
    return result;
}

/// Absent when the engine gives up.
std::optional<std::string> plainlyMasked(std::string text) {
    replaceAll(text, "/p/", "");
    replaceAll(text, "/home/u/", "~/");
    for (const auto& [regex, replacement] : plainRules) {
        const auto replaced = regex.get()->replaceAll(text, replacement);
        if (!replaced) return std::nullopt;
        text = *replaced;
    }
    return withoutRandomTokens(text);
}

std::string oneLine(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        Unicode::append(line, scalar.value == '\t' || Unicode::isNewline(scalar.value) ? U' ' : scalar.value);
        text.remove_prefix(scalar.length);
    }
    return std::string(Unicode::trimmed(line, [](char32_t scalar) { return scalar == ' '; }));
}

/// The text with "***" for each stretch.
std::string masked(std::string_view text) {
    std::string result;
    std::size_t done = 0;
    for (const auto& [begin, end] : Redactor::secrets(text, "/p")) {
        CHECK(done <= begin && begin < end && end <= text.size());
        const std::string_view hidden = text.substr(begin, end - begin);
        CHECK(!Unicode::isValid(text) || Unicode::isValid(hidden));
        for (const std::string_view run : {"`", "$(", "${"})
            CHECK(hidden.find(run) == hidden.npos);
        result.append(text, done, begin - done).append("***");
        done = end;
    }
    return result.append(text, done);
}

/// The same piece over and over is what makes searches quadratic.
void checkTime(std::string_view piece) {
    constexpr std::size_t length = 100'000;
    std::string text = "echo ";
    while (text.size() < length)
        text += piece;
    const std::clock_t start = std::clock();
    for (const std::string before : {"", "A=\"", "-token "}) {
        Redactor::redact(before + text, "/p");
        Redactor::secrets(before + text, "/p");
    }
    CHECK(std::clock() - start < 2 * CLOCKS_PER_SEC); // some ten milliseconds, with sanitizers a hundred
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ::setenv("HOME", "/home/u", 1);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string redacted = Redactor::redact(text, "/p");
    CHECK(Unicode::isValid(redacted));
    CHECK(Unicode::characterCount(redacted) <= 80);
    CHECK(oneLine("x" + redacted + "x") == "x" + redacted + "x"); // a path that went may leave blanks
    for (std::size_t length = 0; length < size; length += size / 8 + 1) {
        const auto settled = Redactor::redactStart(text.substr(0, length), "/p");
        CHECK(!settled || *settled == redacted);
    }
    if (size > 0 && size <= 24 && std::hash<std::string_view>()(text) % 16 == 0) checkTime(text);
    masked(text);
    if (size >= 300) return 0;

    const std::string line = oneLine(text);
    auto expected = plainlyMasked(line);
    if (!expected) return 0;
    // In one command without anything that a shell reads, front ends hide the same; but they leave "bearer"
    // as it is spelled.
    const bool isData = line.find_first_of("\"'`$();|&<>\\#*?[{~=/@") == line.npos &&
                        line.find("sh") == line.npos && line.find("eval") == line.npos &&
                        line.find("xargs") == line.npos && line.find("parallel") == line.npos &&
                        line.find("busybox") == line.npos &&
                        Unicode::lowercased(line).find("earer") == line.npos;
    const std::string command = "echo " + line;
    if (isData && line.find("/p/") == line.npos && line.find("/home/u/") == line.npos)
        CHECK(masked(command) == *plainlyMasked(command));
    if (Unicode::characterCount(*expected) > 80)
        expected = std::string(Unicode::firstCharacters(*expected, 79)) + "…";
    CHECK(redacted == *expected || expected->size() > 4096);
    return 0;
}
