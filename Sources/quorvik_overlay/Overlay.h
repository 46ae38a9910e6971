#pragma once

#include "quorvik_overlay/AppLink.h"
#include "quorvik_overlay/Model/OverlayModel.h"
#include "quorvik_overlay/TrayIcon.h"
#include "quorvik_overlay/View/OverlayWindow.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <string>

namespace quorvik {

/// The overlay: ties the app, the model, the window and the tray icon together.
class Overlay : public QObject {
    Q_OBJECT

  public:
    explicit Overlay(OverlayModel::Look look);

    /// Connects to the app, and starts one if there is none.
    void start() { link_.start(); }

    OverlayModel& model() { return model_; }
    OverlayWindow& window() { return window_; }

    /// Takes a snapshot. Many in a short time are drawn as one.
    void take(std::shared_ptr<const Snapshot> snapshot);
    void lose(const std::string& why);

    /// Draws what there is to see now.
    void draw();

    /// How often it has drawn, for tests.
    std::size_t drawings() const { return drawings_; }

    /// The clocks; replaced in tests.
    std::function<Moment()> now;

    /// Answers and the like are passed to this instead of the app, in tests.
    std::function<bool(const OverlayEffect&)> perform;

  signals:
    void ready();                       ///< the first state of the app is there, or that there is no app
    void taken(const std::string& why); ///< the app has an overlay already
    void quit();

  private:
    void drawSoon();
    void does(const OverlayModel::Effects& effects);
    bool send(const OverlayEffect& effect);
    void tellShown(const OverlayPicture& picture);
    void followPointer();
    void showSettingsFile();

    OverlayModel model_;
    OverlayWindow window_;
    AppLink link_;
    TrayIcon tray_;
    QTimer soon_, later_, pointer_;
    OverlayModel::Pointer pointerPlace_ = OverlayModel::Pointer::away; ///< that the model knows
    double drawnAt_ = 0;                                               ///< steady
    std::string shown_; ///< the request of which the app was told last
    std::size_t drawings_ = 0;
    int refusals_ = 0; ///< in a row: the app has another overlay
    bool wasReady_ = false;
};

} // namespace quorvik
