#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik::Platform {

/// The command lines that deal with the desktop's clipboard.
struct ClipboardPrograms {
    using Words = std::vector<std::string>;

    Words
        watch; ///< prints a line after each change, and does not end; empty: there is none, `stamp` is asked
    Words stamp; ///< prints what differs after each change; empty when there is `watch`
    Words types; ///< prints the types of what was copied, a line each
    Words text;  ///< prints what was copied, as UTF-8
    Words put;   ///< takes its standard input, UTF-8, as what was copied

    /// A type that password managers add to what nobody else shall read.
    std::string_view concealed;
};

/// Absent when there is no desktop, or none of the programs is installed; `missing` then says so.
std::optional<ClipboardPrograms> clipboardPrograms(std::string& missing);

} // namespace quorvik::Platform
