#include "quorvik_overlay/View/ListView.h"

#include <QKeyEvent>
#include <QVBoxLayout>

namespace quorvik {

namespace {

constexpr int space = 1; // pixels between rows

}

ListView::ListView(QWidget* parent)
    : QWidget(parent), more_(new ElidedLabel(this)), notice_(new ElidedLabel(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 4, 6, 6);
    layout->setSpacing(space);
    for (ElidedLabel* label : {more_, notice_}) {
        label->setContentsMargins(8, 0, 8, 0);
        layout->addWidget(label);
    }
}

void ListView::show(const OverlayPicture& picture, const Theme& theme) {
    while (rows_.size() < picture.rows.size()) {
        auto* row = new ItemButton(true, this);
        static_cast<QVBoxLayout*>(layout())->insertWidget(static_cast<int>(rows_.size()), row);
        connect(row, &ItemButton::clicked, this, [this, row] { emit pressed(qString(row->key())); });
        rows_.push_back(row);
    }
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        rows_[index]->setVisible(index < picture.rows.size());
        if (index < picture.rows.size()) rows_[index]->show(picture.rows[index], theme);
    }
    for (const auto& [label, text] :
         {std::pair(more_, &picture.moreRows), std::pair(notice_, &picture.notice)}) {
        label->setText(qString(*text));
        label->setColour(theme.faint);
        label->setVisible(!text->empty());
    }
}

int ListView::rowHeight() const {
    const QMargins margins(8, 3, 8, 3);
    return fontMetrics().height() + margins.top() + margins.bottom() + space;
}

QStringList ListView::shownTexts() const {
    QStringList texts;
    for (const ItemButton* row : rows_)
        if (!row->isHidden()) texts << row->shownText();
    for (const ElidedLabel* label : {more_, notice_})
        if (!label->isHidden()) texts << label->shownText();
    return texts;
}

void ListView::keyPressEvent(QKeyEvent* event) {
    const auto focused = std::ranges::find_if(rows_, [](const ItemButton* row) { return row->hasFocus(); });
    switch (event->key()) {
    case Qt::Key_Down: focusNextPrevChild(true); return;
    case Qt::Key_Up: focusNextPrevChild(false); return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (focused != rows_.end()) (*focused)->click();
        return;
    case Qt::Key_X:
        if (focused != rows_.end()) emit acknowledged(qString((*focused)->key()));
        return;
    default: QWidget::keyPressEvent(event);
    }
}

} // namespace quorvik
