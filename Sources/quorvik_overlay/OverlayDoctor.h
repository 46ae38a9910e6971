#pragma once

#include "quorvik_overlay/Platform/DesktopWindow.h"

#include <string>

/// What `quorvik-overlay --doctor` says: which platform plug-in draws, on which screen, and what is missing.
/// Needs a running QApplication.
namespace quorvik::OverlayDoctor {

struct Report {
    std::string lines; ///< one line for each check, with ✓, – or !
    bool isWell = true;
};
Report report(const Platform::PluginChoice& choice);

} // namespace quorvik::OverlayDoctor
