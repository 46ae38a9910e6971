#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik::TOMLOutline {

/// Something that a TOML text names: a table header, or a key with a value.
struct Statement {
    enum class Kind {
        key,          ///< a.b = …
        table,        ///< [a.b]
        arrayOfTables ///< [[a.b]]
    };
    Kind kind;
    std::vector<std::string> path; ///< never empty; of a key: relative to the header before it
    /// Of a key: what stands behind the "=", up to the end of the statement's last line, without the blanks
    /// around it. A part of the text that was read.
    std::string_view value = {};

    /// The value of a key, when that is a text in one pair of quotes.
    std::optional<std::string> text() const;
};

/// The headers and keys of a text, in their order. Keys of inline tables within values are not listed. What
/// is no TOML is passed over: this tells what a text names, not whether it is valid.
std::vector<Statement> statements(std::string_view text);

} // namespace quorvik::TOMLOutline
