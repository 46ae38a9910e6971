#include "QuorvikCore/Text/Regex.h"

#include "QuorvikCore/Text/CharacterSet.h"
#include "QuorvikCore/Text/Unicode.h"

#include <pcre2.h>

namespace quorvik {

namespace {

PCRE2_SPTR pcreText(std::string_view text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

struct FreeContext {
    void operator()(pcre2_compile_context* context) const { pcre2_compile_context_free(context); }
};

} // namespace

void Regex::Free::operator()(void* code) const {
    pcre2_code_free(static_cast<pcre2_code*>(code));
}

std::optional<Regex> Regex::compile(std::string_view pattern) {
    const std::unique_ptr<pcre2_compile_context, FreeContext> context(pcre2_compile_context_create(nullptr));
    pcre2_set_newline(context.get(), PCRE2_NEWLINE_ANY);
    int error;
    PCRE2_SIZE offset;
    pcre2_code* code = pcre2_compile(pcreText(pattern), pattern.size(), PCRE2_UTF | PCRE2_UCP, &error,
                                     &offset, context.get());
    if (!code) return std::nullopt;
    return Regex(code);
}

std::optional<std::string> Regex::replaceAll(std::string_view text, std::string_view replacement) const {
    constexpr std::uint32_t options = PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_UNSET_EMPTY |
                                      PCRE2_SUBSTITUTE_OVERFLOW_LENGTH | PCRE2_NO_UTF_CHECK;
    std::string result(text.size() + replacement.size() + 64, '\0');
    for (;;) {
        PCRE2_SIZE length = result.size();
        const int count =
            pcre2_substitute(static_cast<const pcre2_code*>(code_.get()), pcreText(text), text.size(), 0,
                             options, nullptr, nullptr, pcreText(replacement), replacement.size(),
                             reinterpret_cast<PCRE2_UCHAR*>(result.data()), &length);
        if (count >= 0) {
            result.resize(length);
            return result;
        }
        if (count != PCRE2_ERROR_NOMEMORY || length <= result.size()) return std::nullopt;
        result.resize(length); // what it says it needs, with the final NUL
    }
}

namespace {

constexpr CharacterSet word("A-Za-z0-9_");

} // namespace

bool Regex::isSpace(char32_t scalar) {
    constexpr char32_t mongolianVowelSeparator = 0x180E;
    return Unicode::isWhitespaceOrNewline(scalar) || scalar == mongolianVowelSeparator;
}

bool Regex::takeWord(std::string_view& text, std::string_view letters) {
    std::string_view rest = text;
    for (const char letter : letters) {
        if (rest.starts_with(letter)) {
            rest.remove_prefix(1);
            continue;
        }
        if (rest.empty()) return false;
        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
        if (withoutCase(scalar.value) != static_cast<unsigned char>(letter)) return false;
        rest.remove_prefix(scalar.length);
    }
    text = rest;
    return true;
}

bool Regex::isWord(char32_t scalar) {
    if (scalar < 0x80) return word.contains(static_cast<char>(scalar));
    return Unicode::isLetter(scalar) || Unicode::isNumeric(scalar);
}

const Regex* LazyRegex::get() const {
    std::call_once(once_, [this] { regex_ = Regex::compile(pattern_); });
    return regex_ ? &*regex_ : nullptr;
}

} // namespace quorvik
