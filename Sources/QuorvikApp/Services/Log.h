#pragma once

#include <string_view>

/// What the app says about itself while it runs.
namespace quorvik::Log {

/// Writes "2026-11-21T19:01:12Z text" to standard error, control characters made harmless. When that is a
/// file of more than 1 MB (`app.log`), the file is emptied first. A text of several kilobytes is cut, and a
/// line that standard error does not take at once is lost. Never the contents of a request, an answer or an
/// alert.
void line(std::string_view text);

} // namespace quorvik::Log
