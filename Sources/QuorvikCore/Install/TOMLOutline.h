#pragma once

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
};

/// The headers and keys of a text, in their order. Keys of inline tables within values are not listed. What
/// is no TOML is passed over: this tells what a text names, not whether it is valid.
std::vector<Statement> statements(std::string_view text);

} // namespace quorvik::TOMLOutline
