#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace quorvik {

/// The texts that stand for an enumeration's cases in JSON and on command lines, in the order of the cases,
/// which count from 0. Every such enumeration specialises this once, beside its declaration.
template <typename E>
inline constexpr std::array<std::string_view, 0> rawValues{};

template <typename E>
constexpr std::string_view rawValue(E value) {
    return rawValues<E>[static_cast<std::size_t>(value)];
}

/// The case whose text is exactly `text`; absent when there is none.
template <typename E>
constexpr std::optional<E> fromRawValue(std::string_view text) {
    for (std::size_t index = 0; index < rawValues<E>.size(); ++index) {
        if (rawValues<E>[index] == text) return static_cast<E>(index);
    }
    return std::nullopt;
}

} // namespace quorvik
