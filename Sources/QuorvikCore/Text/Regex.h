#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// A compiled Perl-compatible regular expression (PCRE2) over UTF-8: Unicode properties for \s, \b and \w;
/// every Unicode newline ends what "." matches. Immutable; may be used from any thread.
///
/// Texts must be valid UTF-8 (Unicode::repaired).
class Regex {
  public:
    /// Absent when the pattern does not compile.
    static std::optional<Regex> compile(std::string_view pattern);

    /// The text with every match replaced by `replacement`, in which $1…$9 are the captured groups (nothing
    /// for a group that took no part). Absent when the engine gave up at its limits, which is not "no match".
    std::optional<std::string> replaceAll(std::string_view text, std::string_view replacement) const;

    // What \s and \w match, for code that matches by hand because an engine would take too long.
    static bool isSpace(char32_t scalar); ///< Z*, U+0009–U+000D, U+0085, and U+180E as Perl has it
    static bool isWord(char32_t scalar);  ///< L*, N* and "_"

    /// The lower-case ASCII letter that (?i) treats as equal to `scalar` (A to Z, U+017F long s, U+212A
    /// Kelvin sign); any other scalar as it is.
    static constexpr char32_t withoutCase(char32_t scalar) {
        if (scalar >= 'A' && scalar <= 'Z') return scalar + ('a' - 'A');
        if (scalar < 0x80) return scalar;
        return scalar == 0x017F ? U's' : scalar == 0x212A ? U'k' : scalar;
    }

    /// Takes a word off the front of a text, in any case as (?i) understands it. `word` is ASCII, in lower
    /// case. When the text begins otherwise, returns false and leaves it as it was.
    static bool takeWord(std::string_view& text, std::string_view word);

  private:
    struct Free {
        void operator()(void* code) const;
    };
    explicit Regex(void* code) : code_(code, Free{}) {}
    std::shared_ptr<void> code_;
};

/// A pattern that is compiled at its first use and kept for the life of the process.
class LazyRegex {
  public:
    /// `pattern` must outlive this: a literal.
    constexpr explicit LazyRegex(std::string_view pattern) : pattern_(pattern) {}

    /// Null when the pattern does not compile.
    const Regex* get() const;

  private:
    std::string_view pattern_;
    mutable std::once_flag once_;
    mutable std::optional<Regex> regex_;
};

} // namespace quorvik
