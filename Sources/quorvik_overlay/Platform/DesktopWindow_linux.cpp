#include "quorvik_overlay/Platform/DesktopWindow.h"

#include "QuorvikCore/Platform/Environment.h"

#include <QApplication>
#include <QStyle>
#include <QWidget>
#include <QWindow>

#ifdef QUORVIK_LAYER_SHELL
#include <LayerShellQt/Shell>
#include <LayerShellQt/Window>
#endif

namespace quorvik::Platform {

#ifdef QUORVIK_LAYER_SHELL
constexpr bool hasLayerShell = true;
#else
constexpr bool hasLayerShell = false;
#endif

PluginChoice choosePlugin() {
    const auto isSet = [](const char* name) { return !environmentValue(name).empty(); };
    if (isSet("QT_QPA_PLATFORM"))
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
    LayerShellQt::Shell::useLayerShell();
    window.winId(); // makes the window that is configured below
    auto* layer = LayerShellQt::Window::get(window.windowHandle());
    layer->setLayer(LayerShellQt::Window::LayerOverlay);
    layer->setAnchors(LayerShellQt::Window::AnchorTop); // in the middle, as no side is named
    layer->setKeyboardInteractivity(LayerShellQt::Window::KeyboardInteractivityOnDemand);
    layer->setScope("quorvik-overlay");
#endif
}

void raiseAboveAll(QWidget& window) {
    window.raise();
}

bool wantsLessMotion() {
    // The desktops' themes tell by this how long a menu may take.
    return QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) == 0;
}

} // namespace quorvik::Platform
