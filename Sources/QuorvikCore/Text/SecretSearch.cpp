#include "QuorvikCore/Text/SecretSearch.h"

#include "QuorvikCore/Platform/BlockSearch.h"
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
    inRandomToken("A-Za-z0-9+/_=.-"), blank(" \t\n\v\f\r");

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

using Platform::blockAt, Platform::ByteBlock, Platform::isBetween;

/// "Yes" for the letter in either case.
ByteBlock isEither(ByteBlock block, char lower) {
    return (block | 0x20) == lower;
}

/// Platform::firstPosition() for places of `width` characters. A place near the end of the text, where
/// `holds` might say "yes" if the text went on, counts as found; npos when there is none.
template <typename Holds>
std::size_t firstPlace(std::string_view text, std::size_t at, std::size_t width, Holds holds) {
    if (text.size() - at >= width) {
        const std::size_t found = Platform::firstPosition(text, at, width, holds);
        if (found + width <= text.size()) return found;
        at = std::max(at, text.size() - width + 1);
    }
    return at < text.size() ? at : npos;
}

/// "Yes" for the first bytes of scalars that \s matches, and of some others.
ByteBlock mayBeginSpace(ByteBlock c) {
    return isBetween(c, 0, 0x20) | isBetween(c, 0xC2, 0xC2) | isBetween(c, 0xE1, 0xE3);
}

ByteBlock isAlphanumeric(ByteBlock c) {
    return isBetween(c, '0', '9') | isBetween(c | 0x20, 'a', 'z');
}

/// The end of the run of members of `set`, a block at a time where it is long; `contains` says "yes" for the
/// same characters.
template <typename Contains>
std::size_t endOfRun(std::string_view text, std::size_t at, const CharacterSet& set, Contains contains) {
    constexpr std::size_t usual = 32; // characters
    const std::size_t end = set.endOfRun(text, at, usual);
    if (end - at < usual) return end;
    return Platform::firstPosition(text, end, 1, [&](const char* c) { return ~contains(blockAt(c)); });
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
        at = endOfRun(text, at, wordOrHyphen,
                      [](ByteBlock c) { return isAlphanumeric(c) | (c == '_') | (c == '-'); });
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
        return firstPlace(text_, at_, 2, [](const char* c) {
            return isEither(blockAt(c), 'a') & isEither(blockAt(c + 1), 'u');
        });
    case SecretRule::bearer:
        return firstPlace(text_, at_, 2, [](const char* c) {
            return isEither(blockAt(c), 'b') & isEither(blockAt(c + 1), 'e');
        });
    case SecretRule::option: return text_.find('-', at_);
    case SecretRule::assignment: return text_.find('=', at_);
    case SecretRule::knownToken: return candidateForKnownToken();
    case SecretRule::randomToken: break;
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

/// Known tokens begin at a word boundary, so this looks for the character before one.
std::size_t SecretSearch::candidateForKnownToken() const {
    if (at_ >= text_.size()) return npos;
    if (at_ == 0) return 0;
    const std::size_t before = firstPlace(text_, at_ - 1, 3, [](const char* c) {
        const ByteBlock last = blockAt(c), here = blockAt(c + 1), next = blockAt(c + 2);
        const ByteBlock isStart =
            ~(isAlphanumeric(last) | (last == '_')) & isBetween(here | 0x20, 'a', 'z'); // of a word
        if (!Platform::isAny(isStart)) return isStart;
        return isStart &
               (((here == 's') & (next == 'k')) | ((here == 'g') & isBetween(next, 'h', 'i')) |
                ((here == 'x') & (next == 'o')) | ((here == 'A') & ((next == 'K') | (next == 'I'))));
    });
    return before == npos ? npos : before + 1;
}

std::optional<SecretSearch::Match> SecretSearch::matchAt(std::size_t at) {
    switch (rule_) {
    case SecretRule::authorization: return authorization(at);
    case SecretRule::bearer: return bearer(at);
    case SecretRule::option: return option(at);
    case SecretRule::assignment: return assignment(at);
    case SecretRule::knownToken: return knownToken(at);
    case SecretRule::randomToken: return randomToken(at);
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
    const std::size_t end = endOfRun_ = endOfRun(text_, at, inRandomToken, [](ByteBlock c) {
        return isAlphanumeric(c) | isBetween(c, '-', '/') | (c == '+') | (c == '_') | (c == '=');
    });
    if (isEnd(end) && isUndecided_) return std::nullopt;
    if (end - at < minRandomToken || !Redactor::looksSecret(text_.substr(at, end - at))) return std::nullopt;
    return Match{at, at, end};
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
    const ByteBlock quotes = ByteBlock{} - static_cast<signed char>(orAtQuote); // all "yes" or all "no"
    for (;;) {
        at = Platform::firstPosition(text_, at, 1, [&](const char* c) {
            const ByteBlock here = blockAt(c);
            return mayBeginSpace(here) | (((here == '"') | (here == '\'')) & quotes);
        });
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
