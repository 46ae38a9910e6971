#include "quorvik_overlay/View/ItemButton.h"

#include <QHBoxLayout>
#include <QPainter>

namespace quorvik {

namespace {

constexpr int radius = 6; // pixels

void paintBackground(const QAbstractButton& button, QPainter& painter, const QColor& over,
                     const QColor& focus) {
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isOver = button.underMouse() || button.isDown();
    painter.setBrush(isOver ? over : Qt::transparent);
    painter.setPen(button.hasFocus() ? QPen(focus, 2) : QPen(Qt::NoPen));
    if (isOver || button.hasFocus())
        painter.drawRoundedRect(QRectF(button.rect()).adjusted(1, 1, -1, -1), radius, radius);
}

} // namespace

ItemButton::ItemButton(bool isRow, QWidget* parent)
    : QAbstractButton(parent), sign_(new ElidedLabel(this)), mark_(new ElidedLabel(this)),
      state_(new ElidedLabel(this)), label_(new ElidedLabel(this)), activity_(new ElidedLabel(this)),
      age_(new ElidedLabel(this)) {
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 3, 8, 3);
    layout->setSpacing(fontMetrics().averageCharWidth());
    QFont strong = font();
    strong.setBold(true);
    sign_->setFont(strong);
    mark_->setFont(strong);
    for (ElidedLabel* label : {sign_, mark_, state_})
        layout->addWidget(label);
    layout->addWidget(label_, 3);
    layout->addWidget(activity_, 4);
    layout->addWidget(age_);
    state_->setVisible(isRow);
    activity_->setVisible(isRow);
    if (isRow) { // the same columns in every row
        const QFontMetrics metrics(strong);
        sign_->setFixedWidth(metrics.horizontalAdvance("W"));
        mark_->setFixedWidth(metrics.horizontalAdvance("WWW"));
        state_->setFixedWidth(fontMetrics().horizontalAdvance("compacting") + 1);
    }
    // Nothing moves only because time passes.
    age_->setMinimumWidth(fontMetrics().horizontalAdvance("59 min") + 1);
    for (ElidedLabel* label : {sign_, age_})
        label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ItemButton::show(const ItemPicture& item, const Theme& theme) {
    key_ = item.key;
    over_ = theme.raised;
    setAccessibleName(qString(item.spoken()));
    setAccessibleDescription(item.request.empty() ? QStringLiteral("opens it")
                                                  : QStringLiteral("waits for you: shows what it asks"));
    const QColor& tone = theme.tone(item.tone);
    const auto set = [](ElidedLabel* label, const std::string& text, const QColor& colour) {
        label->setText(qString(text));
        label->setColour(colour);
        label->updateGeometry();
    };
    set(sign_, item.sign, tone);
    set(mark_, item.mark, theme.text);
    set(state_, item.state, tone);
    set(label_, item.label, theme.text);
    set(activity_, item.activity, theme.faint);
    set(age_, item.age, theme.faint);
    update();
}

void ItemButton::show(const std::string& notice, const Theme& theme) {
    show(ItemPicture{.sign = "–", .label = notice, .tone = Tone::faint}, theme);
    setAccessibleName(qString(notice));
    setAccessibleDescription(QString());
}

QSize ItemButton::sizeHint() const {
    return layout()->sizeHint();
}

QString ItemButton::shownText() const {
    QStringList texts;
    for (const ElidedLabel* label : {sign_, mark_, state_, label_, activity_, age_})
        if (!label->isHidden() && !label->text().isEmpty()) texts << label->shownText();
    return texts.join(' ');
}

void ItemButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(*this, painter, over_, sign_->palette().color(QPalette::WindowText));
}

void ItemButton::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    update();
}

void ItemButton::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    update();
}

DotButton::DotButton(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void DotButton::show(const ItemPicture& item, const Theme& theme) {
    key_ = item.key;
    colour_ = theme.tone(item.tone);
    over_ = theme.raised;
    setText(qString(item.sign + item.mark));
    setAccessibleName(qString(item.spoken()));
    setToolTip(QString()); // a tip would be read as markup; the list has the words
    updateGeometry();
    update();
}

QSize DotButton::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {metrics.horizontalAdvance(text()) + metrics.height(), metrics.height() + 4};
}

void DotButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBackground(*this, painter, over_, colour_);
    painter.setPen(colour_);
    painter.setBrush(Qt::NoBrush);
    const qreal round = height() / 2.0 - 1;
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), round, round);
    painter.drawText(rect(), static_cast<int>(Qt::AlignCenter), text());
}

} // namespace quorvik
