#include "quorvik_overlay/TrayIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace quorvik {

TrayIcon::TrayIcon() : menu_(std::make_unique<QMenu>()) {
    status_ = menu_->addAction("Quorvik");
    status_->setEnabled(false);
    menu_->addSeparator();
    connect(menu_->addAction("Show the island"), &QAction::triggered, this, &TrayIcon::shown);
    pause_ = menu_->addAction("Pause alerts for an hour");
    connect(pause_, &QAction::triggered, this, [this] { emit pauseWanted(!isPaused_); });
    connect(menu_->addAction("Settings file"), &QAction::triggered, this, &TrayIcon::settingsWanted);
    menu_->addSeparator();
    connect(menu_->addAction("Quit the overlay"), &QAction::triggered, this, &TrayIcon::quitWanted);
    icon_.setContextMenu(menu_.get());
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) emit shown();
    });
}

void TrayIcon::show(std::size_t count, bool isConnected, bool isPaused) {
    isPaused_ = isPaused;
    pause_->setText(isPaused ? "Resume alerts" : "Pause alerts for an hour");
    pause_->setEnabled(isConnected);
    if (count == count_ && isConnected == isConnected_) return;
    count_ = count;
    isConnected_ = isConnected;
    const QString text = !isConnected ? QStringLiteral("Quorvik: not connected")
                         : count == 0 ? QStringLiteral("Quorvik: nothing waits for you")
                         : count == 1 ? QStringLiteral("Quorvik: 1 needs you")
                                      : QStringLiteral("Quorvik: %1 need you").arg(count);
    status_->setText(text);
    icon_.setToolTip(text);
    draw(count, isConnected);
    icon_.show();
}

/// A pill, and the count in it. On macOS it is a mask that the menu bar colours.
void TrayIcon::draw(std::size_t count, bool isConnected) {
    QIcon icon;
    for (const int size : {16, 22, 32, 44, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal height = size * 0.7;
        const QRectF pill(0.5, (size - height) / 2, size - 1, height);
        painter.setPen(QPen(isConnected ? QColor(236, 238, 242) : QColor(130, 136, 146), size / 16.0));
        painter.setBrush(count > 0 && isConnected ? QColor(176, 96, 0) : QColor(24, 26, 30));
        painter.drawRoundedRect(pill, height / 2, height / 2);
        QFont font = painter.font();
        font.setPixelSize(std::max(size * 9 / 16, 7));
        font.setBold(true);
        painter.setFont(font);
        const QString text = !isConnected ? "–" : count == 0 ? "" : count > 9 ? "9+" : QString::number(count);
        painter.drawText(pill, Qt::AlignCenter, text);
        painter.end();
        icon.addPixmap(pixmap);
    }
    icon_.setIcon(icon);
}

} // namespace quorvik
