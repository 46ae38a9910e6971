#include "QuorvikCore/Text/SecretSearch.h"

#include "QuorvikCore/Text/CharacterSet.h"
#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <string>

namespace quorvik {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr std::size_t minRandomToken = 21;

constexpr CharacterSet alphanumeric("A-Za-z0-9"), word("A-Za-z0-9_"), wordOrHyphen("A-Za-z0-9_-"),
    alphanumericOrHyphen("A-Za-z0-9-"), upper("0-9A-Z"), letterOrUnderscore("A-Za-z_"),
    inRandomToken("A-Za-z0-9+/_=.-"), inRandomPart("A-Za-z0-9+/_.-"), blank(" \t\n\v\f\r");

constexpr std::string_view schemes[] = {"bearer", "basic", "token"};
constexpr std::string_view optionWords[] = {"token",   "password", "passwd",     "secret",    "apikey",
                                            "api-key", "api_key",  "access-key", "accesskey", "access_key"};
constexpr std::size_t shortestOptionWord = 5, longestOptionWord = 10;

/// A token with a telling prefix, which `length` or more characters of `set` follow.
struct TokenShape {
    std::string_view prefix;
    const CharacterSet& set;
    std::size_t length;
};
constexpr TokenShape shapes[] = {
    {"sk-", wordOrHyphen, 6},
    {"sk_live_", alphanumeric, 6},
    {"sk_test_", alphanumeric, 6},
    {"ghp_", alphanumeric, 10},
    {"gho_", alphanumeric, 10},
    {"ghu_", alphanumeric, 10},
    {"ghs_", alphanumeric, 10},
    {"ghr_", alphanumeric, 10},
    {"github_pat_", word, 10},
    {"xoxa-", alphanumericOrHyphen, 6},
    {"xoxb-", alphanumericOrHyphen, 6},
    {"xoxp-", alphanumericOrHyphen, 6},
    {"xoxr-", alphanumericOrHyphen, 6},
    {"xoxs-", alphanumericOrHyphen, 6},
    {"AKIA", upper, 12},
    {"AIza", wordOrHyphen, 20},
};

constexpr unsigned byte(char c) {
    return static_cast<unsigned char>(c);
}
// Numbers instead of truth values, to be combined without branches.
constexpr unsigned is(char c, char wanted) {
    return c == wanted;
}
constexpr unsigned isEither(char c, char lower) {
    return (byte(c) | 0x20) == byte(lower);
}

/// The first place from `at` on where `holds` says yes for the characters there, of which it looks at
/// `width`; near the end of the text also where it might if the text went on. The fixed length of the inner
/// loop lets compilers look at a block of characters with a few vector instructions.
template <std::size_t width, typename Holds>
std::size_t firstPlace(std::string_view text, std::size_t at, Holds holds) {
    constexpr std::size_t block = 32;
    const char* const start = text.data();
    while (text.size() - at >= block + width - 1) {
        unsigned found = 0;
        for (std::size_t i = 0; i < block; ++i)
            found |= holds(start + at + i);
        if (found) break;
        at += block;
    }
    while (text.size() - at >= width && !holds(start + at))
        ++at;
    if (text.size() - at >= width) return at;
    return at < text.size() ? at : npos;
}

/// Whether a scalar that \s matches may begin with this byte.
constexpr unsigned mayBeginSpace(char c) {
    const unsigned value = byte(c);
    return unsigned(value <= 0x20) | unsigned(value == 0xC2) | unsigned(value - 0xE1 <= 2);
}

/// The length of the white space at the start of the text; 0 when it begins otherwise.
std::size_t spaceLength(std::string_view text) {
    if (byte(text[0]) < 0x80) return blank.contains(text[0]) ? 1 : 0;
    const Unicode::Scalar scalar = Unicode::firstScalar(text);
    return Regex::isSpace(scalar.value) ? scalar.length : 0;
}

/// The end of the run of a–z, 0–9, "_" and "-", as (?i) takes them.
std::size_t endOfOptionCharacters(std::string_view text, std::size_t at) {
    for (;;) {
        at = wordOrHyphen.endOfRun(text, at);
        if (at == text.size() || byte(text[at]) < 0x80) return at;
        const Unicode::Scalar scalar = Unicode::firstScalar(text.substr(at));
        if (Regex::withoutCase(scalar.value) >= 0x80) return at;
        at += scalar.length;
    }
}

bool endsWithOptionWord(std::string_view text) {
    char32_t letters[longestOptionWord];
    std::size_t count = 0;
    while (count < longestOptionWord && !text.empty())
        letters[count++] = Regex::withoutCase(Unicode::takeLastScalar(text).value);
    return std::ranges::any_of(optionWords, [&](std::string_view needed) {
        return needed.size() <= count &&
               std::equal(needed.rbegin(), needed.rend(), letters,
                          [](char a, char32_t b) { return static_cast<char32_t>(byte(a)) == b; });
    });
}

/// Whether a variable of this name holds a credential.
bool namesCredential(std::string_view name) {
    constexpr std::string_view endings[] = {"_pass", "_pwd", "_passphrase"};
    const auto endsWith = [&](std::string_view ending) {
        return ending.size() <= name.size() &&
               std::equal(ending.rbegin(), ending.rend(), name.rbegin(), [](char lower, char c) {
                   return isEither(c, lower) || (c == '_' && lower == '_');
               });
    };
    return endsWithOptionWord(name) || std::ranges::any_of(endings, endsWith) ||
           (name.size() == 4 && endsWith("pass"));
}

} // namespace

std::optional<SecretSearch::Match> SecretSearch::next() {
    while ((at_ = candidate()) != npos) {
        const auto match = matchAt(at_);
        if (isUndecided_) return std::nullopt;
        if (match) {
            at_ = lastEnd_ = match->end;
            return match;
        }
        at_ = std::max(at_ + 1, endOfRun_);
    }
    at_ = text_.size();
    return std::nullopt;
}

/// The next position at which a match is likely enough to look closely; npos when there is none.
std::size_t SecretSearch::candidate() const {
    switch (rule_) {
    case SecretRule::authorization:
        return firstPlace<4>(text_, at_, [](const char* c) {
            return isEither(c[0], 'a') & isEither(c[1], 'u') & isEither(c[2], 't') & isEither(c[3], 'h');
        });
    case SecretRule::bearer:
        return firstPlace<4>(text_, at_, [](const char* c) {
            return isEither(c[0], 'b') & isEither(c[1], 'e') & isEither(c[2], 'a') & isEither(c[3], 'r');
        });
    case SecretRule::option: return text_.find('-', at_);
    case SecretRule::assignment:
    case SecretRule::credential: return text_.find('=', at_);
    case SecretRule::passwordInURL: return text_.find("://", at_);
    case SecretRule::knownToken:
        return firstPlace<3>(text_, at_, [](const char* c) {
            return (is(c[0], 's') & is(c[1], 'k')) | (is(c[0], 'g') & (is(c[1], 'h') | is(c[1], 'i'))) |
                   (is(c[0], 'x') & is(c[1], 'o') & is(c[2], 'x')) |
                   (is(c[0], 'A') & ((is(c[1], 'K') & is(c[2], 'I')) | (is(c[1], 'I') & is(c[2], 'z'))));
        });
    case SecretRule::randomToken:
    case SecretRule::randomPart: break;
    }
    // Looks at windows of `minRandomToken` characters, each from its end backwards. A window of token
    // characters only is a candidate. No token holds any other character, so the search goes on behind the
    // last one of the window.
    std::size_t start = at_;
    while (start < text_.size()) {
        const std::size_t last = std::min(start + minRandomToken, text_.size());
        std::size_t end = last;
        while (end > start && inRandomToken.contains(text_[end - 1]))
            --end;
        if (end == start) return start;
        start = end;
    }
    return npos;
}

std::optional<SecretSearch::Match> SecretSearch::matchAt(std::size_t at) {
    switch (rule_) {
    case SecretRule::authorization: return authorization(at);
    case SecretRule::bearer: return bearer(at);
    case SecretRule::option: return option(at);
    case SecretRule::assignment:
    case SecretRule::credential: return assignment(at);
    case SecretRule::knownToken: return knownToken(at);
    case SecretRule::randomToken: return randomToken(at);
    case SecretRule::passwordInURL: return passwordInURL(at);
    case SecretRule::randomPart: return randomPart(at);
    }
    return std::nullopt;
}

std::optional<SecretSearch::Match> SecretSearch::authorization(std::size_t at) {
    std::size_t value = endOfWord(at, "authorization");
    if (value == npos) return std::nullopt;
    value = endOfSpaces(value);
    if (isEnd(value) || (text_[value] != ':' && text_[value] != '=')) return std::nullopt;
    value = endOfSpaces(value + 1);
    for (const std::string_view scheme : schemes) {
        const std::size_t end = endOfWord(value, scheme);
        if (end == npos) continue;
        const std::size_t after = endOfSpaces(end);
        // A scheme that nothing follows is itself the value.
        if (after > end && endOfBare(after, true) > after) value = after;
        break;
    }
    const std::size_t end = endOfBare(value, true);
    if (end == value) return std::nullopt;
    return Match{at, value, end};
}

std::optional<SecretSearch::Match> SecretSearch::bearer(std::size_t at) {
    const std::size_t end = endOfWord(at, "bearer");
    if (end == npos || isAfterWord(at)) return std::nullopt;
    const std::size_t value = endOfSpaces(end);
    const std::size_t valueEnd = value == end ? end : endOfBare(value, true);
    if (valueEnd == value) return std::nullopt;
    return Match{at, value, valueEnd};
}

/// The word must end with its run of option characters, since no separator is one of them. A match that can
/// start at some "-" can also start at any "-" before it in the same run, so the first one of a run decides.
std::optional<SecretSearch::Match> SecretSearch::option(std::size_t at) {
    const std::size_t end = endOfRun_ = endOfOptionCharacters(text_, at);
    if (isEnd(end) || end - at <= shortestOptionWord) return std::nullopt;
    if (!endsWithOptionWord(text_.substr(at + 1, end - at - 1))) return std::nullopt;
    std::size_t value = endOfSpaces(end, true);
    if (value == end) return std::nullopt;
    if (isEnd(value)) { // the last "=" may be the value, as long as a separator is left
        value = text_.rfind('=');
        if (value == npos || value <= end) return std::nullopt;
        return Match{at, value, value + 1};
    }
    return Match{at, value, endOfValue(value)};
}

std::optional<SecretSearch::Match> SecretSearch::assignment(std::size_t equals) {
    std::size_t name = equals;
    while (name > lastEnd_ && word.contains(text_[name - 1]))
        --name;
    if (name == equals || !letterOrUnderscore.contains(text_[name]) || isAfterWord(name)) return std::nullopt;
    if (rule_ == SecretRule::credential && !namesCredential(text_.substr(name, equals - name)))
        return std::nullopt;
    const std::size_t value = equals + 1;
    if (isEnd(value) || spaceLength(text_.substr(value)) > 0) return std::nullopt;
    return Match{name, value, endOfValue(value)};
}

std::optional<SecretSearch::Match> SecretSearch::knownToken(std::size_t at) {
    if (isAfterWord(at)) return std::nullopt;
    for (const TokenShape& shape : shapes) {
        if (!startsWith(at, shape.prefix)) continue;
        const std::size_t start = at + shape.prefix.size(), end = shape.set.endOfRun(text_, start);
        isEnd(end); // it might go on
        if (end - start < shape.length) return std::nullopt;
        return Match{at, at, end};
    }
    return std::nullopt;
}

std::optional<SecretSearch::Match> SecretSearch::randomToken(std::size_t at) {
    const std::size_t end = endOfRun_ = inRandomToken.endOfRun(text_, at);
    if (isEnd(end) && isUndecided_) return std::nullopt;
    if (end - at < minRandomToken || !Redactor::looksSecret(text_.substr(at, end - at))) return std::nullopt;
    return Match{at, at, end};
}

std::optional<SecretSearch::Match> SecretSearch::passwordInURL(std::size_t at) {
    constexpr std::string_view separator = "://";
    const std::size_t user = at + separator.size();
    std::size_t end = user, colon = npos;
    for (; end < text_.size() && text_[end] != '@'; ++end) {
        const char c = text_[end];
        if (c == '/' || c == '"' || c == '\'' || blank.contains(c)) return std::nullopt;
        if (c == ':' && colon == npos) colon = end;
    }
    if (end == text_.size() || colon == npos || colon + 1 == end) return std::nullopt;
    return Match{at, colon + 1, end};
}

std::optional<SecretSearch::Match> SecretSearch::randomPart(std::size_t at) {
    if (at >= endOfRun_) {
        endOfRun_ = inRandomPart.endOfRun(text_, at);
        const std::string_view run = text_.substr(at, endOfRun_ - at);
        // Base64 has no full stops.
        isPath_ = run.starts_with('/') || (run.find('/') != npos && run.find('.') != npos);
    }
    while (at < endOfRun_) {
        const std::size_t end = isPath_ ? std::min(text_.find('/', at), endOfRun_) : endOfRun_;
        if (end - at >= minRandomToken && Redactor::looksSecret(text_.substr(at, end - at)))
            return Match{at, at, end};
        at = end + 1;
    }
    return std::nullopt;
}

bool SecretSearch::isEnd(std::size_t at) {
    if (at < text_.size()) return false;
    isUndecided_ = !isWhole_;
    return true;
}

bool SecretSearch::startsWith(std::size_t at, std::string_view letters) {
    const std::string_view rest = text_.substr(at);
    if (rest.starts_with(letters)) return true;
    if (letters.starts_with(rest)) isEnd(text_.size());
    return false;
}

bool SecretSearch::isAfterWord(std::size_t at) const {
    std::string_view before = text_.substr(0, at);
    if (before.empty()) return false;
    if (byte(before.back()) < 0x80) return word.contains(before.back());
    return Regex::isWord(Unicode::takeLastScalar(before).value);
}

/// The end of the word, in any case, that begins here; npos when another one does.
std::size_t SecretSearch::endOfWord(std::size_t at, std::string_view letters) {
    std::string_view rest = text_.substr(at);
    if (Regex::takeWord(rest, letters)) return text_.size() - rest.size();
    constexpr std::size_t longestLetter = 3; // bytes
    if (rest.size() < letters.size() * longestLetter) {
        std::size_t count = 0; // letters of the word that the text still had
        while (count < letters.size() && Regex::takeWord(rest, letters.substr(count, 1)))
            ++count;
        if (rest.empty()) isEnd(text_.size());
    }
    return npos;
}

std::size_t SecretSearch::endOfSpaces(std::size_t at, bool orEquals) {
    while (!isEnd(at)) {
        const std::size_t length = orEquals && text_[at] == '=' ? 1 : spaceLength(text_.substr(at));
        if (length == 0) break;
        at += length;
    }
    return at;
}

/// The end of the run of what is neither white space nor, with `orAtQuote`, a quote.
std::size_t SecretSearch::endOfBare(std::size_t at, bool orAtQuote) {
    for (;;) {
        at = orAtQuote
                 ? firstPlace<1>(text_, at,
                                 [](const char* c) { return mayBeginSpace(*c) | is(*c, '"') | is(*c, '\''); })
                 : firstPlace<1>(text_, at, [](const char* c) { return mayBeginSpace(*c); });
        if (at == npos) at = text_.size();
        if (isEnd(at) || (orAtQuote && (text_[at] == '"' || text_[at] == '\''))) return at;
        if (spaceLength(text_.substr(at)) > 0) return at;
        ++at; // a continuation byte begins no space
    }
}

/// The end of the value that begins here, in quotes or bare. It must not begin with white space.
std::size_t SecretSearch::endOfValue(std::size_t at) {
    if (text_[at] == '"' || text_[at] == '\'') {
        const std::size_t closing = closingQuote(at + 1, text_[at]);
        if (closing != npos) return closing + 1;
    }
    return endOfBare(at, false);
}

/// The positions asked for never go back, so no byte is looked at twice.
std::size_t SecretSearch::closingQuote(std::size_t from, char quote) {
    std::size_t& next = nextQuote_[quote == '\''];
    if (next != npos && next < from) next = 0;
    if (next == 0) next = text_.find(quote, from);
    if (next == npos) isEnd(text_.size());
    return next;
}

} // namespace quorvik
