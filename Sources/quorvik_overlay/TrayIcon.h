#pragma once

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>
#include <memory>

namespace quorvik {

/// The icon in the desktop's tray, where there is one: how many items need the user, and a menu.
class TrayIcon : public QObject {
    Q_OBJECT

  public:
    TrayIcon();

    void show(std::size_t count, bool isConnected, bool isPaused);

    const QMenu& menu() const { return *menu_; }
    QString tip() const { return icon_.toolTip(); }

  signals:
    void shown(); ///< the user wants to see the island, and to have its keys
    void pauseWanted(bool pause);
    void settingsWanted();
    void quitWanted();

  private:
    void draw(std::size_t count, bool isConnected);

    QSystemTrayIcon icon_;
    std::unique_ptr<QMenu> menu_;
    QAction *status_, *pause_;
    std::size_t count_ = SIZE_MAX;
    bool isConnected_ = true, isPaused_ = false;
};

} // namespace quorvik
