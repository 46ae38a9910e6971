#include "quorvik_overlay/View/ElidedLabel.h"

#include <QFontMetrics>
#include <QPainter>

namespace quorvik {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedLabel::setColour(const QColor& colour) {
    if (palette().color(QPalette::WindowText) == colour) return;
    QPalette changed = palette();
    changed.setColor(QPalette::WindowText, colour);
    setPalette(changed);
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ElidedLabel::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {metrics.horizontalAdvance(text()) + 1, metrics.height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    constexpr int readable = 3; // characters
    return {std::min(sizeHint().width(), readable * metrics.averageCharWidth()), metrics.height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(contentsRect(), static_cast<int>(Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine),
                     shownText());
}

QLabel* wrappedLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QString breakable(std::string_view text) {
    constexpr int longest = 16; // characters
    constexpr QChar lineMayEnd(0x200B);
    const QString whole = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    QString broken;
    int length = 0;
    for (qsizetype at = 0; at < whole.size(); ++at) {
        length = whole[at].isSpace() ? 0 : length + 1;
        const bool isInside = whole[at].isLowSurrogate() || whole[at].isMark();
        if (length > longest && !isInside) {
            broken += lineMayEnd;
            length = 1;
        }
        broken += whole[at];
    }
    return broken;
}

} // namespace quorvik
