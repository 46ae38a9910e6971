#include "QuorvikCore/Platform/ClipboardPrograms.h"

namespace quorvik::Platform {

namespace {

// pbpaste can neither wait for a change nor tell types. JavaScript for Automation, a part of the system, can.
constexpr const char* watchScript = R"(
ObjC.import('AppKit');
const out = $.NSFileHandle.fileHandleWithStandardOutput;
const board = $.NSPasteboard.generalPasteboard;
for (let known = board.changeCount; ; delay(1)) {
    if (board.changeCount === known) continue;
    known = board.changeCount;
    out.writeData($('changed\n').dataUsingEncoding($.NSUTF8StringEncoding));
})";

constexpr const char* typesScript =
    "ObjC.import('AppKit'); ObjC.deepUnwrap($.NSPasteboard.generalPasteboard.types).join('\\n')";

// They take the text's encoding from the locale.
constexpr const char* unicode = "LC_ALL=en_US.UTF-8";

// https://nspasteboard.org
constexpr std::string_view concealed = "org.nspasteboard.ConcealedType";

} // namespace

std::optional<ClipboardPrograms> clipboardPrograms(std::string&) {
    return ClipboardPrograms{{"osascript", "-l", "JavaScript", "-e", watchScript},
                             {},
                             {"osascript", "-l", "JavaScript", "-e", typesScript},
                             {"env", unicode, "pbpaste"},
                             {"env", unicode, "pbcopy"},
                             concealed};
}

} // namespace quorvik::Platform
