#include "quorvik_overlay/View/CardBody.h"

#include <QFontDatabase>
#include <QStyle>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <cmath>

namespace quorvik {

namespace {

using Kind = CardLine::Kind;

bool isProse(Kind kind) {
    return kind == Kind::text || kind == Kind::note;
}

QString signOf(Kind kind) {
    return kind == Kind::added ? "+ " : kind == Kind::removed ? "- " : kind == Kind::context ? "  " : "";
}

/// Inserts the line's text, with escapes and hidden stretches in a look of their own.
void insertText(QTextCursor& cursor, const CardLine& line, const QTextCharFormat& plain,
                const QTextCharFormat& special) {
    std::vector<VisibleText::Range> ranges = line.escapes;
    ranges.insert(ranges.end(), line.hidden.begin(), line.hidden.end());
    std::ranges::sort(ranges, {}, &VisibleText::Range::begin);
    const std::string_view text = line.text;
    std::size_t at = 0;
    for (const VisibleText::Range& range : ranges) {
        if (range.begin < at) continue;
        cursor.insertText(qString(text.substr(at, range.begin - at)), plain);
        cursor.insertText(qString(text.substr(range.begin, range.end - range.begin)), special);
        at = range.end;
    }
    cursor.insertText(qString(text.substr(at)), plain);
}

} // namespace

CardBody::CardBody(QWidget* parent) : QTextEdit(parent) {
    setReadOnly(true);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setLineWrapMode(FixedPixelWidth); // of its own: the width that it has before it is shown means nothing
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName("what it asks for");
}

void CardBody::show(const std::vector<CardLine>& body, const std::vector<std::string>& grants,
                    const Theme& theme) {
    knownWidth_ = -1;
    std::vector<CardLine> lines = body;
    for (std::size_t index = 0; index < grants.size(); ++index)
        lines.push_back({.kind = Kind::note, .text = (index == 0 ? "Always: " : "and: ") + grants[index]});
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const qreal indent = 2 * QFontMetricsF(fixed).averageCharWidth();
    clear();
    setUndoRedoEnabled(false);
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    bool isFirst = true;
    for (const CardLine& line : lines) {
        QTextCharFormat plain, special;
        plain.setFont(isProse(line.kind) ? font() : fixed);
        plain.setForeground(line.kind == Kind::added     ? theme.added
                            : line.kind == Kind::removed ? theme.removed
                            : line.kind == Kind::note    ? theme.faint
                                                         : theme.text);
        special = plain;
        special.setForeground(theme.hidden);
        special.setFontUnderline(true);
        // What a program reads stands from left to right whatever it holds, and its wrapped lines are
        // indented, so that nobody takes a wrap for a line break.
        QTextBlockFormat block;
        if (!isProse(line.kind)) {
            block.setLayoutDirection(Qt::LeftToRight);
            block.setLeftMargin(indent);
            block.setTextIndent(-indent);
        }
        if (!std::exchange(isFirst, false))
            cursor.insertBlock(block, plain);
        else
            cursor.setBlockFormat(block);
        cursor.insertText(signOf(line.kind), plain);
        insertText(cursor, line, plain, special);
    }
    cursor.endEditBlock();
    moveCursor(QTextCursor::Start);
}

int CardBody::heightFor(int width) {
    if (std::exchange(knownWidth_, width) == width) return knownHeight_;
    // The bar's room is always reserved: the text must not be laid out anew once it is known to be long.
    setLineWrapColumnOrWidth(
        std::max(width - 2 * frameWidth() - 8 - style()->pixelMetric(QStyle::PM_ScrollBarExtent), 1));
    knownHeight_ = static_cast<int>(std::ceil(document()->size().height())) + 2 * frameWidth() + 8;
    return knownHeight_;
}

} // namespace quorvik
