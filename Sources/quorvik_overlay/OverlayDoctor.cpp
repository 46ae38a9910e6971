#include "quorvik_overlay/OverlayDoctor.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

#include <QCursor>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>
#include <QSystemTrayIcon>

namespace quorvik::OverlayDoctor {

namespace {

QString rectangle(const QRect& area) {
    return QStringLiteral("%1x%2 at %3,%4").arg(area.width()).arg(area.height()).arg(area.x()).arg(area.y());
}

} // namespace

Report report(const Platform::PluginChoice& choice) {
    Report report;
    const auto add = [&](std::string_view sign, const QString& text) {
        report.lines += std::string(sign) + " " + Unicode::terminalLine(text.toStdString()) + "\n";
    };
    add("✓", QStringLiteral("Qt %1, platform plug-in %2 (%3)")
                 .arg(qVersion(), QGuiApplication::platformName(), QString::fromStdString(choice.why)));
    if (!choice.drawback.empty()) add("!", QString::fromStdString(choice.drawback));
    const bool isWayland = QGuiApplication::platformName().startsWith("wayland");
    if (isWayland && !choice.layerShell) {
        report.isWell = false;
        add("!",
            "Wayland lets no program place a window: use XWayland (QT_QPA_PLATFORM=xcb), or a build with "
            "LayerShellQt");
    }
    const QScreen* under = QGuiApplication::screenAt(QCursor::pos());
    if (!under) under = QGuiApplication::primaryScreen();
    for (const QScreen* screen : QGuiApplication::screens())
        add(screen == under ? "✓" : "–",
            QStringLiteral("screen %1, %2, %3 % scale, windows may use %4%5")
                .arg(screen->name().isEmpty() ? "without a name" : screen->name(),
                     rectangle(screen->geometry()))
                .arg(qRound(screen->devicePixelRatio() * 100))
                .arg(rectangle(screen->availableGeometry()),
                     screen == under ? ": the overlay appears here" : ""));
    if (!under) {
        report.isWell = false;
        add("!", "there is no screen");
    }
    if (QSystemTrayIcon::isSystemTrayAvailable())
        add("✓", "the tray takes an icon");
    else
        add("–", "no tray: no icon with the count; `quorvik-island overlay stop` ends the overlay");
    add(Platform::wantsLessMotion() ? "–" : "✓", Platform::wantsLessMotion()
                                                     ? "the system wants less motion: shapes change at once"
                                                     : "shapes grow and shrink smoothly");
    try {
        ControlClient::connect("command", ControlClient::Start::never);
        add("✓", "the app runs");
    } catch (const NotRunning&) {
        add("–", "the app does not run; the overlay starts it");
    } catch (const NoApp& error) {
        report.isWell = false;
        add("!", QString::fromStdString(error.what()));
    }
    return report;
}

} // namespace quorvik::OverlayDoctor
