#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace quorvik {

/// A stack trace, made short.
struct TraceAction {
    std::string exception;          ///< its name, "TypeError"; "Trace" when none can be told
    std::string cleaned;            ///< the text to show: few frames, home folders written as "~"
    std::int64_t omittedFrames = 0; ///< how many frames `cleaned` leaves out
    bool operator==(const TraceAction&) const = default;
};

/// A JSON object or array, made readable.
struct JSONAction {
    bool isArray = false;
    std::int64_t count = 0; ///< members or elements
    std::string formatted;  ///< the start of the indented text; valid UTF-8
    /// Bytes of the indented text beyond those of `formatted`, which ends with U+FFFD where a character was
    /// cut in half.
    std::int64_t droppedBytes = 0;
    bool operator==(const JSONAction&) const = default;
};

/// A colour literal of CSS. Components are 0 to 1.
struct ColorAction {
    std::string original; ///< as copied, without white space around it
    double red = 0, green = 0, blue = 0, alpha = 1;
    bool operator==(const ColorAction&) const = default;
};

/// The text is, or contains, a credential. Which one is not kept.
struct SecretAction {
    bool operator==(const SecretAction&) const = default;
};

/// What the island offers for a copied text.
using ClipboardAction = std::variant<TraceAction, JSONAction, ColorAction, SecretAction>;

} // namespace quorvik
