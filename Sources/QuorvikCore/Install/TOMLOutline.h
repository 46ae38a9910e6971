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
    std::vector<std::string> path; ///< as written, so a key is relative to the header before it; never empty
};

/// The statements of a text in their order, without those inside of values. What is no TOML is passed over:
/// this tells what a text names, not whether it is right.
std::vector<Statement> statements(std::string_view text);

} // namespace quorvik::TOMLOutline
