#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>

/// Numbers as people and programs write them on command lines.
namespace quorvik::Number {

/// A decimal integer with an optional sign, and nothing else around it. Absent when it is none, or does not
/// fit.
template <std::signed_integral T>
std::optional<T> integer(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    T value = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

/// A floating-point number as C writes it, and nothing else around it. Absent when it is none, is not finite
/// ("nan", "inf") or too large.
std::optional<double> finite(std::string_view text);

} // namespace quorvik::Number
