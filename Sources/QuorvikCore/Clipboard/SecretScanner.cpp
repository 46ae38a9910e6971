#include "QuorvikCore/Clipboard/SecretScanner.h"

#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/ScalarSet.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cstdint>

namespace quorvik::SecretScanner {

namespace {

constexpr std::size_t npos = std::string_view::npos;

constexpr CharacterSet alphanumeric("A-Za-z0-9"), wordish("A-Za-z0-9_-"), upper("0-9A-Z"),
    hexadecimal("a-f0-9");
constexpr CharacterSet alphanumericOrHyphen("A-Za-z0-9-"), word("A-Za-z0-9_"), keyLabel("A-Z0-9 ");
constexpr CharacterSet bearerToken("A-Za-z0-9._~+/=-"), nameOfAssignment("A-Za-z0-9_.-");

/// A token with a telling prefix: a word boundary, the prefix, then `parts` runs of `set`, separated by dots,
/// each of `length` characters or more. A run is read beyond `length` only to find the dot behind it: the
/// last run decides as soon as it is long enough.
struct TokenShape {
    std::string_view prefix;
    const CharacterSet& set;
    std::size_t length;
    int parts = 1;
    bool endsAtBoundary = false; ///< exactly `length`, then a word boundary
};

// Sorted by first letter (shapesByLetter relies on it). Each prefix begins with a word character.
constexpr TokenShape shapes[] = {
    {"AIza", wordish, 35, 1, true},
    {"AKIA", upper, 16, 1, true},
    {"ASIA", upper, 16, 1, true},
    {"SG.", wordish, 16, 2},
    {"eyJ", wordish, 8, 3},
    {"gho_", alphanumeric, 30},
    {"ghp_", alphanumeric, 30},
    {"ghr_", alphanumeric, 30},
    {"ghs_", alphanumeric, 30},
    {"ghu_", alphanumeric, 30},
    {"github_pat_", word, 30},
    {"glpat-", wordish, 20},
    {"hf_", alphanumeric, 30},
    {"npm_", alphanumeric, 36, 1, true},
    {"pk_live_", alphanumeric, 16},
    {"pk_test_", alphanumeric, 16},
    {"rk_live_", alphanumeric, 16},
    {"rk_test_", alphanumeric, 16},
    {"shpat_", hexadecimal, 32},
    {"shpca_", hexadecimal, 32},
    {"shppa_", hexadecimal, 32},
    {"shpss_", hexadecimal, 32},
    {"sk-", wordish, 16},
    {"sk_live_", alphanumeric, 16},
    {"sk_test_", alphanumeric, 16},
    {"whsec_", alphanumeric, 16},
    {"xoxa-", alphanumericOrHyphen, 10},
    {"xoxb-", alphanumericOrHyphen, 10},
    {"xoxp-", alphanumericOrHyphen, 10},
    {"xoxr-", alphanumericOrHyphen, 10},
    {"xoxs-", alphanumericOrHyphen, 10},
};

/// For each byte, the shapes that begin with it: [first, last).
struct ShapeRange {
    std::uint8_t first = 0, last = 0;
};
constexpr auto shapesByLetter = [] {
    std::array<ShapeRange, 256> ranges{};
    for (std::uint8_t index = 0; index < std::size(shapes); ++index) {
        ShapeRange& range = ranges[static_cast<unsigned char>(shapes[index].prefix[0])];
        if (range.last == 0) range.first = index;
        range.last = static_cast<std::uint8_t>(index + 1);
    }
    return ranges;
}();

enum class Trigger : std::uint8_t { none, token, bearer, dash, colon, equals };

/// What may begin at a byte, or have it in its middle. For most bytes of most texts that is nothing.
constexpr auto triggers = [] {
    std::array<Trigger, 256> table{};
    for (const TokenShape& shape : shapes)
        table[static_cast<unsigned char>(shape.prefix[0])] = Trigger::token;
    table['b'] = table['B'] = Trigger::bearer;
    table['-'] = Trigger::dash;
    table[':'] = Trigger::colon;
    table['='] = Trigger::equals;
    return table;
}();

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Unicode::firstScalar() with a short way for ASCII, which most texts are.
Unicode::Scalar firstScalar(std::string_view text) {
    if (isASCII(text[0])) return {static_cast<unsigned char>(text[0]), 1, true};
    return Unicode::firstScalar(text);
}

bool isNoSpace(char32_t scalar) {
    return !Regex::isSpace(scalar);
}
bool isLikeASCIILetter(char32_t scalar) {
    return Regex::withoutCase(scalar) < 0x80;
}

constexpr CharacterSet blanks(" \t\n\v\f\r"), quotes("\"'");
constexpr ScalarSet space{blanks, Regex::isSpace}, quote{quotes, [](char32_t) { return false; }};
constexpr ScalarSet inBearerToken{bearerToken, isLikeASCIILetter};
constexpr ScalarSet inNameOfAssignment{nameOfAssignment, isLikeASCIILetter};
constexpr ScalarSet inValue{CharacterSet::allBut(" \t\n\v\f\r\"',;"), isNoSpace};
constexpr ScalarSet inPassword{CharacterSet::allBut(" \t\n\v\f\r/@"), isNoSpace};
constexpr ScalarSet inUser{CharacterSet::allBut(" \t\n\v\f\r/:@"), isNoSpace};

/// A word for something secret: two parts with "_", "-" or nothing between them, or only the first.
struct Keyword {
    std::string_view first, second;

    /// Whether the text begins with it, in any case.
    bool begins(std::string_view text) const {
        // Two letters tell for most texts. Beyond ASCII there are but a long s and a Kelvin sign.
        const auto differs = [&](std::size_t at) {
            if (!isASCII(text[at])) return first[at] != 's' && first[at] != 'k';
            return Regex::withoutCase(static_cast<unsigned char>(text[at])) !=
                   static_cast<unsigned char>(first[at]);
        };
        if (text.size() < first.size() || differs(0)) return false;
        if (isASCII(text[0]) && differs(1)) return false;
        if (!Regex::takeWord(text, first)) return false;
        if (second.empty()) return true;
        if (text.starts_with('_') || text.starts_with('-')) text.remove_prefix(1);
        return Regex::takeWord(text, second);
    }
};
constexpr Keyword keywords[] = {{"api", "key"},  {"secret", ""},     {"token", ""},
                                {"passwd", ""},  {"password", ""},   {"pwd", ""},
                                {"auth", "key"}, {"private", "key"}, {"access", "key"}};

/// One pass over a text.
class Scan {
  public:
    explicit Scan(std::string_view text) : text_(text) {}

    bool findsSecret() {
        for (std::size_t at = 0; at < text_.size(); ++at) {
            switch (triggers[static_cast<unsigned char>(text_[at])]) {
            case Trigger::none: break;
            case Trigger::token:
                if (isToken(at)) return true;
                break;
            case Trigger::bearer:
                if (isBearer(at)) return true;
                break;
            case Trigger::dash:
                if (isPrivateKey(at)) return true;
                break;
            case Trigger::colon:
                if (isPasswordInURL(at) || isAssignment(at)) return true;
                break;
            case Trigger::equals:
                if (isAssignment(at)) return true;
                break;
            }
        }
        return false;
    }

  private:
    bool isWordBefore(std::size_t at) const {
        if (at == 0) return false;
        if (isASCII(text_[at - 1])) return word.contains(text_[at - 1]);
        std::string_view before = text_.substr(0, at);
        return Regex::isWord(Unicode::takeLastScalar(before).value);
    }
    bool isWordAt(std::size_t at) const {
        return at < text_.size() && Regex::isWord(Unicode::firstScalar(text_.substr(at)).value);
    }

    bool isToken(std::size_t at) {
        if (isWordBefore(at)) return false;
        const ShapeRange range = shapesByLetter[static_cast<unsigned char>(text_[at])];
        for (std::uint8_t index = range.first; index < range.last; ++index) {
            if (text_.substr(at).starts_with(shapes[index].prefix) && hasShape(index, at)) return true;
        }
        return false;
    }

    bool hasShape(std::uint8_t index, std::size_t at) {
        const TokenShape& shape = shapes[index];
        std::size_t start = at + shape.prefix.size();
        // When an earlier token of this shape began in the same run and did not match, one that begins
        // further on in the run cannot match either.
        if (start <= exhausted_[index]) return false;
        for (int part = 1;; ++part) {
            const bool isLast = part == shape.parts;
            const std::size_t end = shape.set.endOfRun(text_, start, isLast ? shape.length : npos);
            if (part == 1 && !isLast) exhausted_[index] = end;
            if (end - start < shape.length) return false;
            if (isLast) return !shape.endsAtBoundary || word.contains(text_[end - 1]) != isWordAt(end);
            if (end == text_.size() || text_[end] != '.') return false;
            start = end + 1;
        }
    }

    bool isBearer(std::size_t at) const {
        constexpr std::string_view scheme = "bearer";
        constexpr std::size_t length = 20;
        std::string_view rest = text_.substr(at);
        for (const char letter : scheme) {
            if (rest.empty() || (rest[0] | 0x20) != letter) return false;
            rest.remove_prefix(1);
        }
        return !isWordBefore(at) && space.takeFirst(rest) > 0 &&
               inBearerToken.takeFirst(rest, length) == length;
    }

    bool isPrivateKey(std::size_t at) const {
        constexpr std::string_view begin = "-----BEGIN ", end = "-----", key = "PRIVATE KEY",
                                   block = " BLOCK";
        if (!text_.substr(at).starts_with(begin)) return false;
        const std::size_t start = at + begin.size();
        const std::size_t stop = keyLabel.endOfRun(text_, start);
        if (!text_.substr(stop).starts_with(end)) return false;
        std::string_view label = text_.substr(start, stop - start);
        if (label.ends_with(key)) return true;
        if (!label.ends_with(block)) return false;
        label.remove_suffix(block.size());
        return label.ends_with(key);
    }

    /// At the colon of "://user:password@".
    bool isPasswordInURL(std::size_t at) const {
        constexpr std::size_t shortest = 3;
        std::string_view rest = text_.substr(at);
        if (!rest.starts_with("://")) return false;
        rest.remove_prefix(3);
        if (inUser.takeFirst(rest) == 0 || !rest.starts_with(':')) return false;
        rest.remove_prefix(1);
        return inPassword.takeFirst(rest) >= shortest && rest.starts_with('@');
    }

    /// At the colon or equals sign of "name: value". A name stands before one such sign only, and so do the
    /// blanks in between: looking back from each does not look at anything twice.
    bool isAssignment(std::size_t at) const {
        constexpr std::size_t shortestName = 3, shortestValue = 8;
        std::string_view name = text_.substr(0, at);
        space.takeLast(name);
        if (!name.empty() && quotes.contains(name.back())) name.remove_suffix(1);
        const std::size_t end = name.size();
        inNameOfAssignment.takeLast(name);
        const std::size_t start = name.size();
        if (end - start < shortestName) return false;

        std::string_view value = text_.substr(at + 1);
        space.takeFirst(value);
        quote.takeFirst(value, 1);
        return inValue.takeFirst(value, shortestValue) == shortestValue && namesSecret(start, end);
    }

    /// Whether a word that stands for something secret begins in [start, end), at or after a word boundary.
    bool namesSecret(std::size_t start, std::size_t end) const {
        std::string_view name = text_.substr(start, end - start);
        bool wasWord = isWordBefore(start);
        for (; !name.empty(); name.remove_prefix(firstScalar(name).length)) {
            const bool isWord = Regex::isWord(firstScalar(name).value);
            if (isWord != wasWord) break;
            wasWord = isWord;
        }
        // A name consists of ASCII, long s and Kelvin sign; the only one of these that begins a word is the
        // s.
        constexpr CharacterSet firstLetters("apstAPST");
        for (; !name.empty(); name.remove_prefix(1)) {
            if (!isASCII(name[0]) || firstLetters.contains(name[0])) {
                if (std::ranges::any_of(keywords,
                                        [&](const Keyword& keyword) { return keyword.begins(name); }))
                    return true;
            }
        }
        return false;
    }

    std::string_view text_;
    std::array<std::size_t, std::size(shapes)> exhausted_{}; ///< by shape: where its last first part ended
};

} // namespace

bool containsSecret(std::string_view text) {
    return Scan(text).findsSecret();
}

} // namespace quorvik::SecretScanner
