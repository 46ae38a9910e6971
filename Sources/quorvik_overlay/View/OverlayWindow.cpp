#include "quorvik_overlay/View/OverlayWindow.h"

#include "quorvik_overlay/Platform/DesktopWindow.h"
#include "quorvik_overlay/View/Placement.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

namespace quorvik {

namespace {

constexpr int growthTime = 160;  // milliseconds
constexpr int pointerTime = 120; // milliseconds that the pointer must stay before it means something
constexpr int radius = 14;       // pixels

/// The island hangs from the top edge: only its lower corners are round.
QPainterPath outline(const QRectF& area) {
    QPainterPath path;
    const qreal round = std::min<qreal>(radius, area.height() / 2);
    path.moveTo(area.topLeft());
    path.lineTo(area.topRight());
    path.lineTo(area.right(), area.bottom() - round);
    path.quadTo(area.bottomRight(), QPointF(area.right() - round, area.bottom()));
    path.lineTo(area.left() + round, area.bottom());
    path.quadTo(area.bottomLeft(), QPointF(area.left(), area.bottom() - round));
    path.closeSubpath();
    return path;
}

/// The name of a key as the model has it; empty for keys that mean nothing there.
QString keyName(const QKeyEvent& event) {
    if (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter) return "Enter";
    const bool isPlain = (event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
    if (!isPlain || event.text().size() != 1) return {};
    // "A" is not "a": with Caps Lock on, nobody means it.
    return event.modifiers() & Qt::ShiftModifier ? event.text() : event.text().toLower();
}

} // namespace

OverlayWindow::OverlayWindow()
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
      pointer([] { return QCursor::pos(); }), content_(new QWidget(this)), pill_(new PillView(content_)),
      list_(new ListView(content_)), card_(new CardView(content_)) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setWindowTitle("Quorvik");
    setAccessibleName("Quorvik");
    setObjectName("quorvik-overlay");
    auto* layout = new QVBoxLayout(content_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QWidget* view : std::initializer_list<QWidget*>{pill_, list_, card_})
        layout->addWidget(view, 0, Qt::AlignTop);
    layout->addStretch();

    connect(pill_, &PillView::pressed, this,
            [this] { emit pressed(shape_ == OverlayShape::card ? Press::fold : Press::unfold, 0); });
    connect(pill_, &PillView::dotPressed, this, &OverlayWindow::itemPressed);
    connect(list_, &ListView::pressed, this, &OverlayWindow::itemPressed);
    connect(list_, &ListView::acknowledged, this, &OverlayWindow::acknowledged);
    connect(card_, &CardView::pressed, this, &OverlayWindow::pressed);
    connect(card_, &CardView::typed, this, &OverlayWindow::typed);
    seenTimer_.setSingleShot(true);
    connect(&seenTimer_, &QTimer::timeout, this, &OverlayWindow::tellSeen);
    connect(card_, &CardView::scrolled, this, [this] { seenTimer_.start(0); });
    pointerSettles_.setSingleShot(true);
    connect(&pointerSettles_, &QTimer::timeout, this, &OverlayWindow::pointerMoved);
    growth_.setDuration(growthTime);
    growth_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&growth_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setGeometry(value.toRect()); });
    connect(&growth_, &QVariantAnimation::finished, this, &OverlayWindow::settled);
    // Texts are where a click means that somebody wants to type, or to select.
    card_->field().installEventFilter(this);
    card_->body().viewport()->installEventFilter(this);
    followScreens();
}

/// Bars and screens come and go.
void OverlayWindow::followScreens() {
    const auto changed = [this] {
        available_ = {};
        emit surroundingsChanged();
    };
    const auto follow = [this, changed](const QScreen* screen) {
        connect(screen, &QScreen::availableGeometryChanged, this, changed);
    };
    for (const QScreen* screen : QGuiApplication::screens())
        follow(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, follow);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, changed);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, changed);
}

/// Goes to the screen that has the pointer. Asking where that is wakes the X server, so it is not done for an
/// age.
void OverlayWindow::chooseScreen() {
    const QScreen* screen = QGuiApplication::screenAt(pointer());
    if (!screen) screen = QGuiApplication::primaryScreen();
    available_ = screen ? screen->availableGeometry() : QRect(0, 0, 800, 600);
}

std::size_t OverlayWindow::room() {
    if (available_.isEmpty()) chooseScreen();
    const int lines = Placement::highest(available_) / std::max(list_->rowHeight(), 1);
    return static_cast<std::size_t>(std::clamp(lines - 2, 2, 30));
}

bool OverlayWindow::show(const OverlayPicture& picture) {
    const Theme& theme = Theme::of(QGuiApplication::palette());
    if (theme_ != &theme) {
        theme_ = &theme;
        setStyleSheet(theme.styleSheet());
        update();
    }
    pill_->show(picture, theme);
    const bool isNewCard = picture.card && picture.card->request != cardRequest_;
    if (picture.shape != shape_ || isNewCard || available_.isEmpty()) chooseScreen();
    if (picture.card) {
        card_->show(*picture.card, theme);
        cardRequest_ = picture.card->request;
        if (picture.card->page != told_.page) told_ = {};
        if (isNewCard && picture.card->opensByItself) {
            inTheWay_ = Placement::at(sizeOf(OverlayShape::card), available_);
            if (inTheWay_.contains(pointer())) {
                cardRequest_.clear();
                return false;
            }
        }
    } else {
        cardRequest_.clear();
    }
    const OverlayShape before = std::exchange(shape_, picture.shape);
    if (before != OverlayShape::card) told_ = {};
    if (shape_ == OverlayShape::hidden) {
        growth_.stop();
        giveFocusBack();
        hide();
        return true;
    }
    if (shape_ == OverlayShape::list) list_->show(picture, theme);
    pill_->setVisible(shape_ != OverlayShape::list);
    list_->setVisible(shape_ == OverlayShape::list);
    card_->setVisible(shape_ == OverlayShape::card);
    // What is being typed was not meant for a card that comes by itself.
    const bool isUnasked = isNewCard && picture.card->opensByItself;
    if (before == OverlayShape::card && (shape_ != before || isUnasked)) giveFocusBack();

    const QSize size = sizeOf(shape_);
    content_->setFixedSize(size);
    content_->layout()->activate(); // at once: what has been in view is looked at before Qt would do it
    card_->layout()->activate();
    if (shape_ == OverlayShape::card && card_->buttonPlaces() != buttonPlaces_) {
        buttonPlaces_ = card_->buttonPlaces();
        told_ = {};
        emit cardMoved();
    }
    moveTo(Placement::at(size, available_));
    return true;
}

/// The size of the shape; lays out its parts.
QSize OverlayWindow::sizeOf(OverlayShape shape) {
    const QRect& area = available_;
    const int character = fontMetrics().averageCharWidth();
    const int pillHeight = pill_->sizeHint().height();
    switch (shape) {
    case OverlayShape::list: {
        const int width = Placement::listWidth(area, character);
        return {width, std::min(list_->sizeHint().height(), area.height())};
    }
    case OverlayShape::card: {
        const int width = Placement::cardWidth(area, character);
        const QSize card = card_->fit(width, Placement::highest(area) - pillHeight);
        return {width, pillHeight + card.height()};
    }
    default: return {Placement::pillWidth(pill_->sizeHint().width(), area, character), pillHeight};
    }
}

void OverlayWindow::moveTo(const QRect& target) {
    if (growth_.state() == QAbstractAnimation::Running && growth_.endValue().toRect() == target) return;
    growth_.stop();
    if (isVisible() && target == geometry()) {
        if (shape_ == OverlayShape::card) seenTimer_.start(0);
        return;
    }
    if (!isVisible() || !isSmooth_) {
        setGeometry(target);
        if (!isVisible()) {
            Platform::beforeShowing(*this);
            QWidget::show();
            Platform::afterShowing(*this);
        }
        settled();
        return;
    }
    growth_.setStartValue(geometry());
    growth_.setEndValue(target);
    growth_.start();
}

void OverlayWindow::settled() {
    seenTimer_.start(0);
    pointerSettles_.start(pointerTime); // the window may have come to the pointer, or left it
}

void OverlayWindow::tellSeen() {
    if (shape_ != OverlayShape::card || !isSettled() || !isVisible()) return;
    const Told now{card_->page(), card_->width(), card_->seen()};
    if (std::exchange(told_, now) == now) return;
    emit cardSeen(qString(now.page), now.width, now.seen.first, now.seen.shown, now.seen.total);
}

OverlayWindow::Pointer OverlayWindow::pointerPlace() const {
    const QPoint point = pointer();
    if (isVisible() && geometry().contains(point)) return Pointer::over;
    return inTheWay_.contains(point) ? Pointer::inTheWay : Pointer::away;
}

void OverlayWindow::takeFocus() {
    if (!isVisible() || isActiveWindow()) return;
    windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, false);
    activateWindow();
}

/// To the window that had it: its manager chooses that one when ours goes, and showing it again takes no
/// focus.
void OverlayWindow::giveFocusBack() {
    if (windowHandle()) windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, true);
    if (isActiveWindow()) hide();
}

void OverlayWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme_->border, 1));
    painter.setBrush(theme_->background);
    painter.drawPath(outline(QRectF(rect()).adjusted(0.5, -1, -0.5, -0.5)));
}

void OverlayWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    content_->move((width() - content_->width()) / 2, 0);
    // Without a compositor what is translucent is black; clicks beside the corners belong to others anyway.
    if (QGuiApplication::platformName() == "xcb")
        setMask(outline(QRectF(rect())).toFillPolygon().toPolygon());
}

void OverlayWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && theme_ && theme_ != &Theme::of(QGuiApplication::palette()))
        emit surroundingsChanged();
}

/// A window manager's wish to close it folds it; it stays as long as the overlay runs.
void OverlayWindow::closeEvent(QCloseEvent* event) {
    if (!event->spontaneous()) return; // the whole program ends
    event->ignore();
    emit pressed(Press::fold, 0);
}

void OverlayWindow::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    pointerSettles_.start(pointerTime);
}

void OverlayWindow::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    pointerSettles_.start(pointerTime);
}

void OverlayWindow::keyPressEvent(QKeyEvent* event) {
    if (event->isAutoRepeat()) return; // a key that is held down answers one card at most
    auto* button = qobject_cast<QPushButton*>(focusWidget());
    const QString key = keyName(*event);
    if (event->key() == Qt::Key_Escape)
        emit pressed(Press::fold, 0);
    else if (key == "Enter" && button)
        button->click();
    else if (!key.isEmpty())
        emit keyPressed(key);
    else
        QWidget::keyPressEvent(event);
}

bool OverlayWindow::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) takeFocus();
    return QWidget::eventFilter(object, event);
}

} // namespace quorvik
