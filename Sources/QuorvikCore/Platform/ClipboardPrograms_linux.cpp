#include "QuorvikCore/Platform/ClipboardPrograms.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/RunProgram.h"

namespace quorvik::Platform {

namespace {

// KDE began to use it, and password managers of all desktops followed.
constexpr std::string_view concealed = "x-kde-passwordManagerHint";

} // namespace

std::optional<ClipboardPrograms> clipboardPrograms(std::string& missing) {
    if (!environmentValue("WAYLAND_DISPLAY").empty()) {
        // Without its own watch, each look would take the keyboard's focus for a moment.
        if (findProgram("wl-paste"))
            return ClipboardPrograms{{"wl-paste", "--watch", "echo"},
                                     {},
                                     {"wl-paste", "--list-types"},
                                     {"wl-paste", "--no-newline", "--type", "text"},
                                     {"wl-copy"},
                                     concealed};
        missing = "there is no wl-paste here (package wl-clipboard)";
        return std::nullopt;
    }
    if (!environmentValue("DISPLAY").empty()) {
        const auto xclip = [](std::string_view target) {
            return ClipboardPrograms::Words{"xclip", "-selection", "clipboard",
                                            "-out",  "-target",    std::string(target)};
        };
        if (findProgram("xclip"))
            return ClipboardPrograms{{},
                                     xclip("TIMESTAMP"),
                                     xclip("TARGETS"),
                                     xclip("UTF8_STRING"),
                                     {"xclip", "-selection", "clipboard"},
                                     concealed};
        missing = "there is no xclip here";
        return std::nullopt;
    }
    missing = "there is no desktop: neither WAYLAND_DISPLAY nor DISPLAY is set";
    return std::nullopt;
}

} // namespace quorvik::Platform
