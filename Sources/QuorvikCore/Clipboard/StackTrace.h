#pragma once

#include "QuorvikCore/Clipboard/ClipboardAction.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Makes stack traces short enough to be read: of Python, and of those that list frames as indented "at …"
/// lines, as JavaScript engines and the JVM do. Texts are valid UTF-8. Everything is linear in the text.
namespace quorvik::StackTrace {

/// Frames that are kept: the innermost calls, which Python prints last and the others first.
inline constexpr std::size_t keptFrames = 5;

/// Absent when the text is no trace: it has fewer than three lines, fewer than two frames, or nowhere
/// "Error", "Exception" or "Traceback". Of chained Python tracebacks the last is kept. Where frames are left
/// out, a line says so: "  ... (<n> earlier frames left out)" or "    ... (<n> more frames left out)".
std::optional<TraceAction> tidyTrace(std::string_view text);

/// The first name in the line that ends with "Error" or "Exception", with its package. Without one, the start
/// of the line, up to a colon or blank; "Trace" when that is empty.
std::string exceptionName(std::string_view line);

/// The text with home folders ("/Users/x/", "/home/x/", "C:\Users\x\") written as "~/" and "~\".
std::string withoutHome(std::string_view text);

} // namespace quorvik::StackTrace
