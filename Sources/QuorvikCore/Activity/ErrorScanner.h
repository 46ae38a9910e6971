#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// Watches the output of one command as it arrives and keeps the one line that best explains a failure.
/// Bounded memory whatever the output; fast enough to stand between a command and its log (see feed()).
/// Belongs to one run: not for use by two threads at once.
class ErrorScanner {
  public:
    /// First cleaned line, of either stream, that looks like an error.
    std::optional<std::string> firstError;
    /// First cleaned, non-empty line of standard error.
    std::optional<std::string> firstStderr;
    /// Last cleaned, non-empty line of either stream.
    std::optional<std::string> lastLine;

    /// Adds a chunk of one stream's raw output. Lines end at a lone line feed; CR LF is one character and
    /// ends none, so such output is one line until a lone line feed, or the end, comes. Bytes that are not
    /// UTF-8 become U+FFFD, a sequence cut by the chunk's end included. Of an incomplete line the last 4096
    /// characters are kept (64 KiB at most: a character may be made of any number of bytes).
    ///
    /// Almost no line of almost any output is looked at for itself: the complete lines of a chunk are passed
    /// over 64 bytes at a time for anything that an error line has, and only the chunk's last line is
    /// cleaned.
    void feed(std::string_view chunk, bool isStderr);

    /// The end of the run: each stream's incomplete line counts as a line.
    void finish();

    /// firstError, else firstStderr, else lastLine.
    const std::optional<std::string>& best() const;

    /// The incomplete last line of a stream.
    std::string pending(bool isStderr) const;

    /// A line as a terminal would leave it, for people: without control sequences (ESC [ … up to a character
    /// from "@" to "~"; ESC and any other character), only what follows the last carriage return, no control
    /// characters but the tab, trimmed of blanks and tabs, at most 200 characters and then "…".
    static std::string clean(std::string_view line);

    /// Whether a cleaned line, in any case, contains "error", "failed", "fatal", "assertion", "✖" or "✗" or
    /// begins with "fail ". Simple on purpose: "0 errors" counts too.
    static bool looksLikeError(std::string_view line);

  private:
    // Lines are separated by lone line feeds; the last one has none.
    void lookForErrors(std::string_view lines, bool isStderr); ///< firstError and firstStderr
    bool lookForLastLine(std::string_view lines);              ///< false when there is none
    void appendPending(std::string_view text, bool isStderr);

    std::array<std::string, 2> pending_; ///< by isStderr; raw, and somewhat more than is kept in the end
};

} // namespace quorvik
