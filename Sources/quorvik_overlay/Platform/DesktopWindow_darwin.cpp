#include "quorvik_overlay/Platform/DesktopWindow.h"

#include <objc/message.h>
#include <objc/runtime.h>

#include <QWidget>

// AppKit is spoken to through the Objective-C runtime's own functions: four messages are not worth a second
// language.

namespace quorvik::Platform {

namespace {

template <typename Result, typename... Arguments>
Result send(id object, const char* message, Arguments... arguments) {
    return reinterpret_cast<Result (*)(id, SEL, Arguments...)>(objc_msgSend)(
        object, sel_registerName(message), arguments...);
}

} // namespace

PluginChoice choosePlugin() {
    return {"", false, "macOS"};
}

void prepareOverlay(QWidget&, const PluginChoice&) {}

void beforeShowing(QWidget&) {}

void afterShowing(QWidget& window) {
    // <AppKit/NSWindow.h>: above the menu bar, on all spaces, beside programs in full screen, and not in the
    // cycle of windows.
    constexpr long aboveMenuBar = 25; // NSStatusWindowLevel
    constexpr unsigned long everywhere = 1UL << 0 | 1UL << 4 | 1UL << 6 | 1UL << 8;
    // canJoinAllSpaces, stationary, ignoresCycle, fullScreenAuxiliary
    const id view = reinterpret_cast<id>(window.winId());
    const id native = view ? send<id>(view, "window") : nullptr;
    if (!native) return;
    send<void>(native, "setLevel:", aboveMenuBar);
    send<void>(native, "setCollectionBehavior:", everywhere);
}

bool wantsLessMotion() {
    const id workspace = send<id>(reinterpret_cast<id>(objc_getClass("NSWorkspace")), "sharedWorkspace");
    return workspace && send<BOOL>(workspace, "accessibilityDisplayShouldReduceMotion");
}

} // namespace quorvik::Platform
