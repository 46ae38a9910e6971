#include "quorvik_overlay/Platform/DesktopWindow.h"

#include "QuorvikCore/Platform/Environment.h"

#include <QApplication>
#include <QStyle>
#include <QWidget>
#include <QWindow>

#ifdef QUORVIK_LAYER_SHELL
#include <LayerShellQt/Window>
#endif
#ifdef QUORVIK_XCB
#include <xcb/xcb.h>
#endif

#include <cstdlib>
#include <memory>

namespace quorvik::Platform {

#ifdef QUORVIK_LAYER_SHELL
constexpr bool hasLayerShell = true;
#else
constexpr bool hasLayerShell = false;
#endif

PluginChoice choosePlugin() {
    const auto isSet = [](const char* name) { return !environmentValue(name).empty(); };
    // Many set "wayland" for all programs: it is no wish about this one.
    if (isSet("QT_QPA_PLATFORM") && !environmentValue("QT_QPA_PLATFORM").starts_with("wayland"))
        return {"", false, "$QT_QPA_PLATFORM has chosen " + environmentValue("QT_QPA_PLATFORM")};
    const bool wayland = isSet("WAYLAND_DISPLAY"), x11 = isSet("DISPLAY");
    // GNOME knows Wayland, but not this protocol of it.
    const bool knowsLayers = environmentValue("XDG_CURRENT_DESKTOP").find("GNOME") == std::string::npos;
    if (wayland && hasLayerShell && knowsLayers)
        return {"wayland", true, "Wayland, as a layer above all windows"};
    if (wayland && x11) return {"xcb", false, "XWayland: Wayland itself lets no program place a window"};
    if (x11) return {"xcb", false, "X11"};
    if (wayland)
        return {"", false,
                "Wayland lets no program place a window: it needs XWayland, or a build with LayerShellQt",
                false};
    return {"", false, "there is no desktop here: neither $DISPLAY nor $WAYLAND_DISPLAY is set", false};
}

void prepareOverlay([[maybe_unused]] QWidget& window, [[maybe_unused]] const PluginChoice& choice) {
#ifdef QUORVIK_LAYER_SHELL
    if (!choice.layerShell) return;
    window.winId(); // makes the window that is configured below
    auto* layer = LayerShellQt::Window::get(window.windowHandle());
    layer->setLayer(LayerShellQt::Window::LayerOverlay);
    layer->setAnchors(LayerShellQt::Window::AnchorTop); // in the middle, as no side is named
    layer->setKeyboardInteractivity(LayerShellQt::Window::KeyboardInteractivityOnDemand);
    layer->setScope("quorvik-overlay");
#endif
}

void beforeShowing([[maybe_unused]] QWidget& window) {
#ifdef QUORVIK_XCB
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (QGuiApplication::platformName() != "xcb" || !x11 || !x11->connection()) return;
    // Window managers take this property away when a window goes.
    constexpr std::string_view name = "_NET_WM_DESKTOP";
    xcb_connection_t* server = x11->connection();
    const auto cookie = xcb_intern_atom(server, 0, name.size(), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(server, cookie, nullptr), std::free);
    constexpr std::uint32_t all = 0xFFFFFFFF;
    if (atom)
        xcb_change_property(server, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                            atom->atom, XCB_ATOM_CARDINAL, 32, 1, &all);
#endif
}

void afterShowing(QWidget& window) {
    window.raise();
}

bool wantsLessMotion() {
    // The desktops' themes tell by this how long a menu may take.
    return QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) == 0;
}

} // namespace quorvik::Platform
