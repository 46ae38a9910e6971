#include "QuorvikCore/Clipboard/ColorLiteral.h"

#include "QuorvikCore/Text/CharacterSet.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace quorvik::ColorLiteral {

namespace {

double share(double value) {
    return std::clamp(value, 0.0, 1.0);
}

std::optional<ColorAction> parseHex(std::string_view text) {
    constexpr CharacterSet hexadecimal("0-9A-Fa-f");
    const std::string_view written = text.substr(1);
    std::string digits;
    const bool isShort = written.size() == 3 || written.size() == 4;
    if (!isShort && written.size() != 6 && written.size() != 8) return std::nullopt;
    if (hexadecimal.endOfRun(written, 0) != written.size()) return std::nullopt;
    for (const char digit : written)
        digits.append(isShort ? 2 : 1, digit);

    std::array<double, 4> components = {0, 0, 0, 1};
    for (std::size_t index = 0; index < digits.size() / 2; ++index) {
        const char* const pair = digits.data() + index * 2;
        int value = 0;
        std::from_chars(pair, pair + 2, value, 16);
        components[index] = value / 255.0;
    }
    return ColorAction{std::string(text), components[0], components[1], components[2], components[3]};
}

/// Takes the parts of a functional notation off the front of a text. No part can be read in two ways, so
/// there is never a reason to go back.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool isAtEnd() const { return rest_.empty(); }

    bool take(char byte) {
        if (!rest_.starts_with(byte)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool takeWord(std::string_view word) { return Regex::takeWord(rest_, word); }

    bool takeSpace() {
        const std::size_t before = rest_.size();
        while (!rest_.empty() && Regex::isSpace(Unicode::firstScalar(rest_).value))
            rest_.remove_prefix(Unicode::firstScalar(rest_).length);
        return rest_.size() < before;
    }

    /// Blanks or a comma among blanks, at least one of them.
    bool takeSeparator() {
        const bool blank = takeSpace(), comma = take(',');
        takeSpace();
        return blank || comma;
    }

    struct Value {
        double number = 0;
        bool isPercent = false;
        double orShareOf(double whole) const { return number / (isPercent ? 100 : whole); }
    };

    /// `(-?\d*\.?\d+)(%|deg)?`
    std::optional<Value> takeValue() {
        std::string_view ahead = rest_;
        if (ahead.starts_with('-')) ahead.remove_prefix(1);
        std::size_t digits = takeDigits(ahead);
        if (ahead.size() > 1 && ahead[0] == '.' && isDigit(ahead[1])) {
            ahead.remove_prefix(1);
            digits += takeDigits(ahead);
        }
        if (digits == 0) return std::nullopt;
        const std::string_view written = rest_.substr(0, rest_.size() - ahead.size());
        // A number that is too large for a double is out of every range.
        const double tooLarge =
            std::copysign(std::numeric_limits<double>::infinity(), written[0] == '-' ? -1 : 1);
        const double number = Number::finite(written).value_or(tooLarge);
        rest_ = ahead;
        const Value value{number, take('%')};
        if (!value.isPercent) takeWord("deg");
        return value;
    }

  private:
    static bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }
    static std::size_t takeDigits(std::string_view& text) {
        const auto count = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
        text.remove_prefix(count);
        return count;
    }

    std::string_view rest_;
};

std::optional<ColorAction> parseFunction(std::string_view text) {
    Reader reader(text);
    const bool isRGB = reader.takeWord("rgb");
    if (!isRGB && !reader.takeWord("hsl")) return std::nullopt;
    reader.takeWord("a");
    if (!reader.take('(')) return std::nullopt;
    reader.takeSpace();

    std::array<Reader::Value, 3> values;
    for (std::size_t index = 0; index < values.size(); ++index) {
        if (index > 0 && !reader.takeSeparator()) return std::nullopt;
        const auto value = reader.takeValue();
        if (!value) return std::nullopt;
        values[index] = *value;
    }
    reader.takeSpace();
    double alpha = 1;
    if (reader.take(',') || reader.take('/')) {
        reader.takeSpace();
        const auto value = reader.takeValue();
        if (!value) return std::nullopt;
        alpha = share(value->orShareOf(1));
        reader.takeSpace();
    }
    if (!reader.take(')') || !reader.isAtEnd()) return std::nullopt;

    const auto [first, second, third] = values;
    if (!isRGB && !std::isfinite(first.number)) return std::nullopt; // that is no angle
    const std::array<double, 3> rgb =
        isRGB ? std::array{share(first.orShareOf(255)), share(second.orShareOf(255)),
                           share(third.orShareOf(255))}
              : hslToRGB(first.number, share(second.number / 100), share(third.number / 100));
    return ColorAction{std::string(text), rgb[0], rgb[1], rgb[2], alpha};
}

} // namespace

std::optional<ColorAction> parseColor(std::string_view text) {
    return text.starts_with('#') ? parseHex(text) : parseFunction(text);
}

std::array<double, 3> hslToRGB(double hue, double saturation, double lightness) {
    if (saturation == 0) return {lightness, lightness, lightness};
    const double h = std::fmod(std::fmod(hue, 360) + 360, 360);
    const double q =
        lightness < 0.5 ? lightness * (1 + saturation) : lightness + saturation - lightness * saturation;
    const double p = 2 * lightness - q;
    const auto component = [&](double x) {
        if (x < 0) x += 1;
        if (x > 1) x -= 1;
        if (x < 1.0 / 6) return p + (q - p) * 6 * x;
        if (x < 1.0 / 2) return q;
        if (x < 2.0 / 3) return p + (q - p) * (2.0 / 3 - x) * 6;
        return p;
    };
    const double t = h / 360;
    return {component(t + 1.0 / 3), component(t), component(t - 1.0 / 3)};
}

} // namespace quorvik::ColorLiteral
