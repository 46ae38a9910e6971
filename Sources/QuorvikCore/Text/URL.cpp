#include "QuorvikCore/Text/URL.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <charconv>

namespace quorvik {

namespace {

/// Removes the front of `text` up to the first of `ends`, and returns it.
std::string_view takeUntil(std::string_view& text, std::string_view ends) {
    const std::string_view part = text.substr(0, text.find_first_of(ends));
    text.remove_prefix(part.size());
    return part;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool isScheme(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !text.empty() && isLetter(text[0]) && std::ranges::all_of(text, [&](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
    });
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        result += takeUntil(text, "%");
        if (text.empty()) break;
        unsigned byte = 0;
        const auto digits = text.substr(1, 2);
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() != 2 || parsed.ptr != digits.data() + 2) return std::nullopt;
        result += static_cast<char>(byte);
        text.remove_prefix(3);
    }
    if (!Unicode::isValid(result)) return std::nullopt;
    return result;
}

std::optional<std::string> hostOf(std::string_view authority) {
    if (const auto user = authority.rfind('@'); user != std::string_view::npos)
        authority.remove_prefix(user + 1);
    const auto port = authority.rfind(':');
    if (port != std::string_view::npos &&
        authority.find_first_not_of("0123456789", port + 1) == std::string_view::npos)
        authority = authority.substr(0, port);
    return percentDecoded(authority);
}

std::optional<std::vector<URL::QueryItem>> queryItems(std::string_view query) {
    std::vector<URL::QueryItem> items;
    if (query.empty()) return items;
    for (;;) {
        const std::string_view item = takeUntil(query, "&");
        std::string_view rest = item;
        const auto name = percentDecoded(takeUntil(rest, "="));
        takePrefix(rest, "=");
        const auto value = percentDecoded(rest);
        if (!name || !value) return std::nullopt;
        items.push_back({*name, *value});
        if (!takePrefix(query, "&")) return items;
    }
}

} // namespace

std::optional<URL> URL::parse(std::string_view text) {
    URL url;
    const std::string_view scheme = takeUntil(text, ":/?#");
    if (!isScheme(scheme) || !takePrefix(text, ":")) return std::nullopt;
    url.scheme = Unicode::lowercased(scheme);
    if (takePrefix(text, "//")) {
        url.host = hostOf(takeUntil(text, "/?#"));
        if (!url.host) return std::nullopt;
    }
    const auto path = percentDecoded(takeUntil(text, "?#"));
    if (!path) return std::nullopt;
    url.path = *path;
    if (takePrefix(text, "?")) {
        url.query = queryItems(takeUntil(text, "#"));
        if (!url.query) return std::nullopt;
    }
    return url;
}

} // namespace quorvik
