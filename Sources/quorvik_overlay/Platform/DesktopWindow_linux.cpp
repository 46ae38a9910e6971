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

#include <array>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

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
    if (wayland && x11)
        return {.plugin = "xcb",
                .why = "XWayland: Wayland itself lets no program place a window",
                .drawback = isSet("SWAYSOCK")
                                ? "Sway puts windows of XWayland into the middle of the screen: the top "
                                  "needs a build with LayerShellQt"
                                : ""};
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

#ifdef QUORVIK_XCB
namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, std::free};
}

/// Null where the server does not answer.
xcb_atom_t atom(xcb_connection_t* server, std::string_view name) {
    const auto cookie = xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = owned(xcb_intern_atom_reply(server, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void setProperty(xcb_connection_t* server, xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                 std::span<const std::uint32_t> values) {
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, name, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

} // namespace
#endif

void beforeShowing([[maybe_unused]] QWidget& window) {
#ifdef QUORVIK_XCB
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (QGuiApplication::platformName() != "xcb" || !x11 || !x11->connection()) return;
    xcb_connection_t* server = x11->connection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    // Window managers take this property away when a window goes.
    if (const xcb_atom_t desktop = atom(server, "_NET_WM_DESKTOP"))
        setProperty(server, id, desktop, XCB_ATOM_CARDINAL, std::array{0xFFFFFFFFU}); // all of them
    // Qt says that it would take the focus when told to, even for a window that does not accept it. Some
    // managers then give it (Sway does).
    const xcb_atom_t protocols = atom(server, "WM_PROTOCOLS"), focus = atom(server, "WM_TAKE_FOCUS");
    constexpr std::uint32_t most = 64; // there are about five
    const auto cookie = xcb_get_property(server, 0, id, protocols, XCB_ATOM_ATOM, 0, most);
    const auto known = owned(xcb_get_property_reply(server, cookie, nullptr));
    if (!known || known->format != 32) return;
    const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(known.get()));
    std::vector<xcb_atom_t> kept(first, first + known->value_len);
    if (std::erase(kept, focus) > 0) setProperty(server, id, protocols, XCB_ATOM_ATOM, kept);
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
