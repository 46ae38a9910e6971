#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Text as people see it. All text is UTF-8. A "character" is a user-perceived one (an extended grapheme
/// cluster of UAX #29; CR LF is one); where a rule asks what a character is, its first scalar decides.
/// Categories are those of the Unicode Character Database (utf8proc), sets are the ones macOS uses under the
/// same names.
namespace quorvik::Unicode {

/// One scalar at the start of a text.
struct Scalar {
    char32_t value; ///< U+FFFD where the bytes are not UTF-8
    std::size_t
        length; ///< bytes taken; where they are not UTF-8, the maximal part that begins a valid sequence
    bool valid;
};

/// The first scalar of `text`, which must not be empty.
Scalar firstScalar(std::string_view text);

/// The last scalar of `text`, which must not be empty, taken off its end.
Scalar takeLastScalar(std::string_view& text);

/// The text with every ill-formed sequence replaced by U+FFFD, one for each maximal subpart (the practice the
/// Unicode Standard recommends, section 3.9).
std::string repaired(std::string_view text);

/// Whether the text is UTF-8 throughout.
bool isValid(std::string_view text);

/// Whether every byte is a blank or a graphic character of ASCII.
bool isPrintableASCII(std::string_view text);

void append(std::string& text, char32_t scalar);

/// The next character of `text`, taken off its front. `text` must not be empty.
std::string_view takeCharacter(std::string_view& text);

/// The number of characters, counted up to `limit`.
std::size_t characterCount(std::string_view text, std::size_t limit = SIZE_MAX);

/// The first `count` characters, or the last; the whole text when it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);
std::string_view lastCharacters(std::string_view text, std::size_t count);

/// The text as one line of a terminal may show it, wherever it comes from: a blank for each control character
/// and line break, and no invisible formatting but what joins letters and emoji, so that it cannot drive the
/// terminal or turn the line around.
std::string terminalLine(std::string_view text);

/// The columns of a terminal that the text takes: one or two for each character, none for control characters
/// and for marks that stand alone.
std::size_t columnCount(std::string_view text);

/// The first characters that fit into so many columns.
std::string_view firstColumns(std::string_view text, std::size_t columns);

bool isControl(char32_t scalar);             ///< Cc and Cf, so a zero-width joiner too
bool isNewline(char32_t scalar);             ///< U+000A–U+000D, U+0085, U+2028, U+2029
bool isWhitespace(char32_t scalar);          ///< horizontal: Zs and the tab
bool isWhitespaceOrNewline(char32_t scalar); ///< Z*, U+0009–U+000D and U+0085
bool isPunctuation(char32_t scalar);         ///< P*
bool isLetter(char32_t scalar);              ///< L*
bool isDigit(char32_t scalar);               ///< Nd
bool isNumeric(char32_t scalar);             ///< N*
bool isMark(char32_t scalar);                ///< M*: stands on the character before it
bool isDrawnAlike(char32_t scalar);          ///< one sign in all fonts: not Cn, Cs or Co

/// The value of a digit of any script, 0 to 9. `digit` must be one (isDigit).
int digitValue(char32_t digit);

/// The next line of `text`, taken off its front together with the newline that ends it, if one does (CR LF is
/// one; the line is returned without it).
std::string_view takeLine(std::string_view& text);

/// Without the leading and trailing scalars for which `drop` holds.
std::string_view trimmed(std::string_view text, bool (*drop)(char32_t));

/// Unicode's lower-casing, whatever the locale.
std::string lowercased(std::string_view text);

} // namespace quorvik::Unicode
