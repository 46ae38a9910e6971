#include "quorvik_overlay/Overlay.h"

#include "quorvik_overlay/Platform/DesktopWindow.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <QDesktopServices>
#include <QFile>
#include <QProcess>
#include <QUrl>
#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

constexpr int shortest = 33;       // milliseconds between two drawings that nobody has asked for
constexpr int pointerLook = 250;   // milliseconds, while a card waits for the pointer to go away
constexpr double pauseTime = 3600; // seconds

} // namespace

Overlay::Overlay(OverlayModel::Look look)
    : model_(std::move(look)), link_({.show = [this](auto snapshot) { take(std::move(snapshot)); },
                                      .lose = [this](const std::string& why) { lose(why); },
                                      .say =
                                          [this](const std::string& message) {
                                              model_.say(message, now());
                                              drawSoon();
                                          }}) {
    now = [] { return Moment{std::chrono::system_clock::now(), steadySeconds()}; };
    perform = [this](const OverlayEffect& effect) { return send(effect); };
    for (QTimer* timer : {&soon_, &later_})
        timer->setSingleShot(true);
    later_.setTimerType(Qt::PreciseTimer); // one that comes early would come again and again
    pointer_.setInterval(pointerLook);
    connect(&soon_, &QTimer::timeout, this, &Overlay::draw);
    connect(&later_, &QTimer::timeout, this, &Overlay::draw);
    connect(&pointer_, &QTimer::timeout, this, &Overlay::followPointer);

    connect(&window_, &OverlayWindow::pressed, this, [this](Press press, int option) {
        does(model_.press(press, now(), static_cast<std::size_t>(option)));
    });
    connect(&window_, &OverlayWindow::itemPressed, this,
            [this](const QString& key) { does(model_.pressItem(key.toStdString())); });
    connect(&window_, &OverlayWindow::acknowledged, this,
            [this](const QString& key) { does(model_.acknowledge(key.toStdString())); });
    connect(&window_, &OverlayWindow::keyPressed, this,
            [this](const QString& key) { does(model_.key(key.toStdString(), now())); });
    connect(&window_, &OverlayWindow::typed, this, [this](const QString& page, const QString& text) {
        model_.typed(page.toStdString(), text.toStdString());
        draw();
    });
    connect(&window_, &OverlayWindow::cardMoved, this, [this] { model_.notDrawn(); });
    connect(&window_, &OverlayWindow::cardSeen, this,
            [this](const QString& page, int width, int first, int shown, int total) {
                const auto pixels = [](int count) { return static_cast<std::size_t>(std::max(count, 0)); };
                model_.drawn(page.toStdString(), pixels(width), pixels(first), pixels(shown), pixels(total),
                             now());
                drawSoon(); // "Allow" may be there now
            });
    connect(&window_, &OverlayWindow::pointerMoved, this, &Overlay::followPointer);
    connect(&window_, &OverlayWindow::surroundingsChanged, this, &Overlay::draw, Qt::QueuedConnection);

    connect(&tray_, &TrayIcon::shown, this, [this] {
        does(model_.press(Press::unfold, now()));
        window_.takeFocus();
    });
    connect(&tray_, &TrayIcon::pauseWanted, this, [this](bool pause) {
        link_.send("pauseAlerts", {{"seconds", pause ? pauseTime : 0}});
    });
    connect(&tray_, &TrayIcon::settingsWanted, this, &Overlay::showSettingsFile);
    connect(&tray_, &TrayIcon::quitWanted, this, &Overlay::quit);
}

void Overlay::take(std::shared_ptr<const Snapshot> snapshot) {
    model_.show(std::move(snapshot), now());
    drawSoon();
    if (!std::exchange(wasReady_, true)) emit ready();
}

void Overlay::lose(const std::string& why) {
    shown_.clear();
    // The app may not have noticed yet that our last connection is gone, so later one refusal is none.
    constexpr int mostRefusals = 3;
    refusals_ = link_.connection().isTaken() ? refusals_ + 1 : 0;
    if (refusals_ > 0 && (!wasReady_ || refusals_ >= mostRefusals)) {
        emit taken(why);
        return;
    }
    model_.disconnected(why);
    drawSoon();
    if (!std::exchange(wasReady_, true)) emit ready();
}

void Overlay::drawSoon() {
    if (soon_.isActive()) return;
    const double since = (steadySeconds() - drawnAt_) * 1000;
    soon_.start(since >= shortest ? 0 : shortest - static_cast<int>(since));
}

void Overlay::draw() {
    soon_.stop();
    ++drawings_;
    drawnAt_ = steadySeconds();
    const Settings& settings = model_.snapshot().settings;
    window_.setSmooth(settings.motion && !Platform::wantsLessMotion());
    model_.setRoom(window_.room());
    OverlayPicture picture = model_.picture(now());
    if (!window_.show(picture)) {
        pointerPlace_ = window_.pointerPlace();
        model_.holdBack(pointerPlace_);
        picture = model_.picture(now());
        window_.show(picture);
    }
    tray_.show(model_.attentionCount(), picture.isConnected, model_.snapshot().alertsPausedUntil.has_value());
    tellShown(picture);
    if (!model_.isHeldBack()) {
        pointer_.stop();
        window_.forgetTheWay();
    } else if (!pointer_.isActive()) {
        pointer_.start();
    }
    if (!picture.nextChange) return later_.stop();
    constexpr double longest = 3600; // seconds
    const double left = std::clamp((*picture.nextChange - now().wall).count(), 0.0, longest);
    later_.start(static_cast<int>(std::ceil(left * 1000)));
}

void Overlay::followPointer() {
    const auto place = window_.pointerPlace();
    const bool mayOpen = model_.isHeldBack() && place == OverlayModel::Pointer::away;
    if (std::exchange(pointerPlace_, place) == place && !mayOpen) return;
    model_.pointer(place);
    draw();
}

void Overlay::does(const OverlayModel::Effects& effects) {
    for (const OverlayEffect& effect : effects)
        if (!perform(effect)) model_.refused(effect.id, "Quorvik is not running", now());
    draw();
}

bool Overlay::send(const OverlayEffect& effect) {
    switch (effect.kind) {
    case OverlayEffect::Kind::answer: {
        nlohmann::json params = effect.response.toJSON();
        params["id"] = effect.id;
        return link_.send("answer", params, [this, id = effect.id](const AppConnection::Reply& reply) {
            if (reply.error) model_.refused(id, reply.error->what(), now());
            drawSoon();
        });
    }
    case OverlayEffect::Kind::acknowledge: return link_.send("acknowledge", {{"key", effect.id}});
    case OverlayEffect::Kind::open: {
        const auto program = quorvik::Platform::runningProgram().parent_path() / QuorvikPaths::appBinaryName;
        QProcess::startDetached(QString::fromStdString(program.string()),
                                {"open", "--desktop", "--", qString(effect.id)}, "/");
        return true;
    }
    }
    return true;
}

/// Tells the app which request's card is in front of the user, so that no notification tells of it too.
void Overlay::tellShown(const OverlayPicture& picture) {
    const std::string request = picture.card && window_.isSettled() ? picture.card->request : "";
    if (request == shown_ || !link_.connection().isConnected()) return;
    shown_ = request;
    auto ids = nlohmann::json::array();
    if (!request.empty()) ids.push_back(request);
    link_.send("shown", {{"requests", ids}});
}

void Overlay::showSettingsFile() {
    const QString path = QString::fromStdString(QuorvikPaths::settingsFile().string());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) file.write("{}\n"); // there was none
    file.close();
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace quorvik
