#include "QuorvikCore/Clipboard/SecretScanner.h"

#include "QuorvikCore/Text/CharacterSet.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

namespace quorvik::SecretScanner {

namespace {

constexpr std::size_t npos = std::string_view::npos;

constexpr CharacterSet alphanumeric("A-Za-z0-9"), wordish("A-Za-z0-9_-"), upper("0-9A-Z"),
    hexadecimal("a-f0-9");
constexpr CharacterSet alphanumericOrHyphen("A-Za-z0-9-"), word("A-Za-z0-9_"), keyLabel("A-Z0-9 ");
constexpr CharacterSet bearerToken("A-Za-z0-9._~+/=-"), nameOfAssignment("A-Za-z0-9_.-");

/// A token that its first letters give away: a word boundary, the prefix, then `parts` runs of `set`,
/// separated by dots, each of `length` characters or more. "Or more" need not be looked at but to find the
/// dot, since there is a match as soon as there are enough.
struct TokenShape {
    std::string_view prefix;
    const CharacterSet& set;
    std::size_t length;
    int parts = 1;
    bool endsAtBoundary = false; ///< exactly `length`, then a word boundary
};

// Sorted by their first letters, each of which begins a word.
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

/// What may begin, or be in the middle of, at a byte. Most bytes of most texts: nothing.
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

/// As Regex::isWord, at a byte's price for most texts.
bool isWord(char32_t scalar) {
    return scalar < 0x80 ? word.contains(static_cast<char>(scalar)) : Regex::isWord(scalar);
}

/// What (?i) takes for one and the same letter.
char32_t withoutCase(char32_t scalar) {
    if (scalar >= 'A' && scalar <= 'Z') return scalar + ('a' - 'A');
    if (scalar == 0x017F) return 's'; // long s
    if (scalar == 0x212A) return 'k'; // Kelvin sign
    return scalar;
}

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Scalars, most of them told by a table.
struct ScalarSet {
    CharacterSet ascii;
    bool (*others)(char32_t);

    bool contains(char32_t scalar) const {
        return scalar < 0x80 ? ascii.contains(static_cast<char>(scalar)) : others(scalar);
    }
};

bool isNoSpace(char32_t scalar) {
    return !Regex::isSpace(scalar);
}
bool isLikeASCIILetter(char32_t scalar) {
    return withoutCase(scalar) < 0x80;
}

constexpr CharacterSet blanks(" \t\n\v\f\r"), quotes("\"'");
constexpr ScalarSet space{blanks, Regex::isSpace}, quote{quotes, [](char32_t) { return false; }};
constexpr ScalarSet inBearerToken{bearerToken, isLikeASCIILetter};
constexpr ScalarSet inNameOfAssignment{nameOfAssignment, isLikeASCIILetter};
constexpr ScalarSet inValue{CharacterSet::allBut(" \t\n\v\f\r\"',;"), isNoSpace};
constexpr ScalarSet inPassword{CharacterSet::allBut(" \t\n\v\f\r/@"), isNoSpace};
constexpr ScalarSet inUser{CharacterSet::allBut(" \t\n\v\f\r/:@"), isNoSpace};

/// Takes members off the front of a text, at most `limit` of them, and returns how many there were.
std::size_t skip(std::string_view& text, const ScalarSet& set, std::size_t limit = npos) {
    std::size_t count = 0;
    for (; count < limit && !text.empty(); ++count) {
        const Unicode::Scalar scalar = isASCII(text[0])
                                           ? Unicode::Scalar{static_cast<unsigned char>(text[0]), 1, true}
                                           : Unicode::firstScalar(text);
        if (!set.contains(scalar.value)) break;
        text.remove_prefix(scalar.length);
    }
    return count;
}

/// Takes all members off the end of a text.
void dropLast(std::string_view& text, const ScalarSet& set) {
    for (std::string_view rest = text; !rest.empty(); text = rest) {
        if (isASCII(rest.back())) {
            if (!set.ascii.contains(rest.back())) return;
            rest.remove_suffix(1);
        } else if (!set.contains(Unicode::takeLastScalar(rest).value)) {
            return;
        }
    }
}

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
        return isWord(Unicode::takeLastScalar(before).value);
    }
    bool isWordAt(std::size_t at) const {
        return at < text_.size() && isWord(Unicode::firstScalar(text_.substr(at)).value);
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
        // A run in which an earlier token began, and came to nothing, is no better from further on.
        if (start <= exhausted_[index]) return false;
        for (int part = 1;; ++part) {
            const bool isLast = part == shape.parts;
            const std::size_t end = shape.set.endOfRun(text_, start, isLast ? shape.length : npos);
            if (part == 1 && !isLast) exhausted_[index] = end;
            if (end - start < shape.length) return false;
            if (isLast)
                return !shape.endsAtBoundary ||
                       isWord(static_cast<unsigned char>(text_[end - 1])) != isWordAt(end);
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
        return !isWordBefore(at) && skip(rest, space) > 0 && skip(rest, inBearerToken, length) == length;
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
        if (skip(rest, inUser) == 0 || !rest.starts_with(':')) return false;
        rest.remove_prefix(1);
        return skip(rest, inPassword) >= shortest && rest.starts_with('@');
    }

    /// At the colon or equals sign of "name: value". A name stands before one such sign only, and so do the
    /// blanks in between: looking back from each does not look at anything twice.
    bool isAssignment(std::size_t at) const {
        constexpr std::size_t shortestName = 3, shortestValue = 8;
        std::string_view name = text_.substr(0, at);
        dropLast(name, space);
        if (!name.empty() && quotes.contains(name.back())) name.remove_suffix(1);
        const std::size_t end = name.size();
        dropLast(name, inNameOfAssignment);
        const std::size_t start = name.size();
        if (end - start < shortestName) return false;

        std::string_view value = text_.substr(at + 1);
        skip(value, space);
        skip(value, quote, 1);
        return skip(value, inValue, shortestValue) == shortestValue && namesSecret(start, end);
    }

    /// Whether a word that stands for something secret begins in [start, end), at or after a word boundary.
    bool namesSecret(std::size_t start, std::size_t end) const {
        struct Keyword {
            std::string_view first, second; ///< what joins them, "_", "-" or nothing, is left open
        };
        constexpr Keyword keywords[] = {{"api", "key"},  {"secret", ""},     {"token", ""},
                                        {"passwd", ""},  {"password", ""},   {"pwd", ""},
                                        {"auth", "key"}, {"private", "key"}, {"access", "key"}};
        std::string_view name = text_.substr(start, end - start);
        bool wasWord = isWordBefore(start), sawBoundary = false;
        while (!name.empty()) {
            const Unicode::Scalar scalar = Unicode::firstScalar(name);
            const bool isWordNow = isWord(scalar.value);
            sawBoundary = sawBoundary || isWordNow != wasWord;
            wasWord = isWordNow;
            if (sawBoundary) {
                for (const auto& [first, second] : keywords) {
                    std::string_view rest = name;
                    if (!takeWord(rest, first)) continue;
                    if (second.empty()) return true;
                    if (rest.starts_with('_') || rest.starts_with('-')) rest.remove_prefix(1);
                    if (takeWord(rest, second)) return true;
                }
            }
            name.remove_prefix(scalar.length);
        }
        return false;
    }

    static bool takeWord(std::string_view& text, std::string_view letters) {
        for (const char letter : letters) {
            if (text.empty()) return false;
            const Unicode::Scalar scalar = Unicode::firstScalar(text);
            if (withoutCase(scalar.value) != static_cast<unsigned char>(letter)) return false;
            text.remove_prefix(scalar.length);
        }
        return true;
    }

    std::string_view text_;
    std::array<std::size_t, std::size(shapes)> exhausted_{}; ///< by shape: where its last first part ended
};

} // namespace

bool containsSecret(std::string_view text) {
    return Scan(text).findsSecret();
}

} // namespace quorvik::SecretScanner
