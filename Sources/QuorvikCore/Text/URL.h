#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The parts of an absolute URL as RFC 3986 (appendix B) divides it. Percent-encoding is undone in the host,
/// the path and the query items; "+" means itself.
struct URL {
    struct QueryItem {
        std::string name;
        std::string value; ///< empty when the item has no "="
    };

    std::string scheme;              ///< lower-cased
    std::optional<std::string> host; ///< without user and port; absent when there is no "//"
    std::string path;
    std::optional<std::vector<QueryItem>> query; ///< absent when there is no "?"

    /// Absent when the text has no scheme, or holds a "%" that is not followed by two hexadecimal digits or
    /// stands for bytes that are not UTF-8.
    static std::optional<URL> parse(std::string_view text);
};

} // namespace quorvik
