#pragma once

#include <string>

class QWidget;

/// What desktops want to be told about a window that is none of their ordinary ones.
namespace quorvik::Platform {

/// Which of Qt's platform plug-ins is to draw. Decided before Qt starts, from environment variables alone.
struct PluginChoice {
    std::string plugin;      ///< for $QT_QPA_PLATFORM; empty: Qt's own choice
    bool layerShell = false; ///< Wayland, by its protocol for bars and overlays
    std::string why;         ///< of the choice, for people: one line
    bool isPossible = true;  ///< false: `why` says what is missing
    std::string drawback{};  ///< what will not be as it should, one line; empty: nothing
};
PluginChoice choosePlugin();

/// Prepares a window that has not been shown yet.
void prepareOverlay(QWidget& window, const PluginChoice& choice);

/// Puts the window above all others, on all of the user's desktops. The one is to be called before it is
/// shown each time, the other after.
void beforeShowing(QWidget& window);
void afterShowing(QWidget& window);

/// Whether the user wants less motion, as far as the system tells.
bool wantsLessMotion();

} // namespace quorvik::Platform
