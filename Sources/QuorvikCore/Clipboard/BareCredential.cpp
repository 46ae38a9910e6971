#include "QuorvikCore/Clipboard/BareCredential.h"

#include "QuorvikCore/Text/CharacterSet.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <vector>

namespace quorvik::BareCredential {

bool isCardNumber(std::string_view text) {
    constexpr std::size_t longestText = 23, fewest = 13, most = 19;
    if (Unicode::characterCount(text, longestText + 1) > longestText) return false;
    std::vector<int> digits;
    while (!text.empty()) {
        const char32_t scalar = Unicode::firstScalar(Unicode::takeCharacter(text)).value;
        if (Unicode::isDigit(scalar))
            digits.push_back(Unicode::digitValue(scalar));
        else if (!Unicode::isNumeric(scalar) && scalar != ' ' && scalar != '-')
            return false;
    }
    if (digits.size() < fewest || digits.size() > most) return false;
    int sum = 0;
    bool isDoubled = false; // every second one from the right
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, isDoubled = !isDoubled) {
        const int value = isDoubled ? *digit * 2 : *digit;
        sum += value > 9 ? value - 9 : value;
    }
    return sum % 10 == 0;
}

namespace {

/// Three or more names, separated by dots: a bundle identifier, a Java package.
bool isDottedName(std::string_view text) {
    constexpr CharacterSet letter("A-Za-z"), alphanumeric("A-Za-z0-9");
    constexpr int fewest = 3;
    for (int names = 1;; ++names) {
        if (text.empty() || !letter.contains(text[0])) return false;
        text.remove_prefix(alphanumeric.endOfRun(text, 0));
        if (text.empty()) return names >= fewest;
        if (text[0] != '.') return false;
        text.remove_prefix(1);
    }
}

} // namespace

bool isLongToken(std::string_view text) {
    constexpr CharacterSet allowed("A-Za-z0-9_+/=.-"), letter("A-Za-z"), digit("0-9"), hash("0-9A-Fa-f");
    constexpr std::size_t shortest = 24, longest = 512, gitHash = 40, sha256 = 64, uuid = 36;
    const auto count = [&](const auto& is) {
        return static_cast<std::size_t>(std::ranges::count_if(text, is));
    };
    const auto in = [](const CharacterSet& set) { return [&set](char byte) { return set.contains(byte); }; };
    const std::size_t length = text.size();
    if (length < shortest || length > longest || count(in(allowed)) != length) return false;
    if (count(in(letter)) == 0 || count(in(digit)) == 0) return false;
    if (text.starts_with('/') || text.starts_with("./")) return false;
    if (Unicode::lowercased(text.substr(0, 4)) == "http") return false;
    const std::size_t hashDigits = count(in(hash));
    if ((length == gitHash || length == sha256) && hashDigits == length) return false;
    const auto hyphens = static_cast<std::size_t>(std::ranges::count(text, '-'));
    if (length == uuid && hyphens == 4 && hashDigits + hyphens == length) return false;
    return !isDottedName(text);
}

} // namespace quorvik::BareCredential
