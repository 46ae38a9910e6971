#include "QuorvikCore/Text/Redactor.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvik::Redactor {

namespace {

constexpr std::string_view mask = "***";
constexpr std::size_t maxCharacters = 80;
constexpr std::size_t maxBytes = 4096; // a character may be made of any number of them
constexpr std::size_t minTokenLength = 21;
constexpr double minSecretEntropy = 3.5; // bits per character

struct Rule {
    /// Without one of these in the text, in any ASCII case, the pattern cannot match and need not be
    /// compiled: most command lines pass through a short-lived process without any.
    std::array<std::string_view, 11> oneOf;
    LazyRegex regex;
    std::string_view replacement;
};

const Rule rules[] = {
    {{"authorization"},
     LazyRegex(R"re((?i)(authorization\s*[:=]\s*)(bearer\s+|basic\s+|token\s+)?[^\s'"]+)re"),
     "$1$2***"},

    {{"bearer"}, LazyRegex(R"re((?i)\bbearer\s+[^\s'"]+)re"), "Bearer ***"},

    // The second branch never matches; it makes the search linear. A match that starts at some "-" can also
    // start at any
    // "-" before it in the same run of option characters, so when the first one of a run fails, the others
    // need no try.
    // (?i) knows two more letters: the long s and the Kelvin sign.
    {{"token", "passw", "secret", "key", "\u017F", "\u212A"},
     LazyRegex(
         R"re((?i)(--?(?:[a-z0-9_-]*)(?:token|password|passwd|secret|api[-_]?key|access[-_]?key)(?:[=\s]+))("[^"]*"|'[^']*'|[^\s]+))re"
         R"re(|-[a-z0-9_-]*+(*SKIP)(*FAIL))re"),
     "$1***"},

    {{"="}, LazyRegex(R"re(\b([A-Za-z_][A-Za-z0-9_]*)=("[^"]*"|'[^']*'|[^\s]+))re"), "$1=***"},

    {{"sk-", "sk_", "ghp_", "gho_", "ghu_", "ghs_", "ghr_", "github_pat_", "xox", "akia", "aiza"},
     LazyRegex(
         R"re(\b(sk-[A-Za-z0-9_-]{6,}|sk_(?:live|test)_[A-Za-z0-9]{6,}|gh[pousr]_[A-Za-z0-9]{10,}|github_pat_[A-Za-z0-9_]{10,}|xox[abprs]-[A-Za-z0-9-]{6,}|AKIA[0-9A-Z]{12,}|AIza[0-9A-Za-z_-]{20,}))re"),
     "***"},
};

bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool isNumber(char c) {
    return c >= '0' && c <= '9';
}
bool isTokenCharacter(char c) {
    return isUpper(c) || isLower(c) || isNumber(c) || std::string_view("+/_=.-").find(c) != std::string::npos;
}

bool mayMatch(const Rule& rule, std::string_view text) {
    const auto equalIgnoringCase = [](char a, char b) { return (isUpper(a) ? char(a + 32) : a) == b; };
    return std::any_of(rule.oneOf.begin(), rule.oneOf.end(), [&](std::string_view needed) {
        return !needed.empty() && std::search(text.begin(), text.end(), needed.begin(), needed.end(),
                                              equalIgnoringCase) != text.end();
    });
}

void replaceAll(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

std::string oneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        if (scalar.value == '\t' || Unicode::isNewline(scalar.value))
            line += ' ';
        else
            Unicode::append(line, scalar.value);
        text.remove_prefix(scalar.length);
    }
    const auto isBlank = [](char32_t scalar) { return scalar == ' '; };
    return std::string(Unicode::trimmed(line, isBlank));
}

} // namespace

bool looksSecret(std::string_view token) {
    std::array<unsigned, 256> counts{};
    bool digit = false, letter = false;
    for (const char c : token) {
        ++counts[static_cast<unsigned char>(c)];
        digit = digit || isNumber(c);
        letter = letter || isUpper(c) || isLower(c);
    }
    if (!digit || !letter) return false;
    double entropy = 0;
    for (const unsigned count : counts) {
        if (count == 0) continue;
        const double share = double(count) / double(token.size());
        entropy -= share * std::log2(share);
    }
    return entropy >= minSecretEntropy;
}

std::string replaceHighEntropy(std::string_view text) {
    std::string result;
    auto rest = text.begin();
    while (rest != text.end()) {
        const auto start = std::find_if(rest, text.end(), isTokenCharacter);
        const auto end = std::find_if_not(start, text.end(), isTokenCharacter);
        const std::string_view token(start, end);
        result.append(rest, start);
        result += token.size() >= minTokenLength && looksSecret(token) ? mask : token;
        rest = end;
    }
    return result;
}

std::string redact(std::string_view text, std::optional<std::string_view> projectDir) {
    std::string line = oneLine(text);
    if (projectDir && !projectDir->empty() && *projectDir != "/") {
        std::string folder(*projectDir);
        if (folder.back() != '/') folder += '/';
        replaceAll(line, folder, "");
    }
    if (const std::string home = Platform::homeFolder(); home != "/") replaceAll(line, home + "/", "~/");

    for (const Rule& rule : rules) {
        const Regex* regex = mayMatch(rule, line) ? rule.regex.get() : nullptr;
        if (!regex) continue;
        auto replaced = regex->replaceAll(line, rule.replacement);
        if (!replaced) return std::string(mask);
        line = std::move(*replaced);
    }
    line = replaceHighEntropy(line);
    if (Unicode::characterCount(line, maxCharacters + 1) > maxCharacters)
        line = std::string(Unicode::firstCharacters(line, maxCharacters - 1)) + "…";
    if (line.size() > maxBytes) line = Unicode::repaired(std::string_view(line).substr(0, maxBytes));
    return line;
}

} // namespace quorvik::Redactor
