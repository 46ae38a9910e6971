#include "quorvik_overlay/View/PillView.h"

#include <QHBoxLayout>

namespace quorvik {

PillView::PillView(QWidget* parent)
    : QWidget(parent), item_(new ItemButton(false, this)), more_(new ElidedLabel(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 6, 3);
    layout->setSpacing(6);
    layout->addWidget(item_, 1);
    layout->addWidget(more_);
    more_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(item_, &ItemButton::clicked, this, &PillView::pressed);
}

void PillView::show(const OverlayPicture& picture, const Theme& theme) {
    if (picture.primary && picture.notice.empty()) {
        item_->show(*picture.primary, theme);
    } else if (picture.primary) {
        ItemPicture lost = *picture.primary;
        lost.label = picture.notice;
        lost.activity.clear();
        item_->show(lost, theme);
    } else {
        item_->show(picture.notice, theme);
    }
    while (dots_.size() < picture.bubbles.size()) {
        auto* dot = new DotButton(this);
        auto* row = static_cast<QHBoxLayout*>(layout());
        row->insertWidget(row->count() - 1, dot);
        connect(dot, &DotButton::clicked, this, [this, dot] { emit dotPressed(qString(dot->key())); });
        dots_.push_back(dot);
    }
    for (std::size_t index = 0; index < dots_.size(); ++index) {
        dots_[index]->setVisible(index < picture.bubbles.size());
        if (index < picture.bubbles.size()) dots_[index]->show(picture.bubbles[index], theme);
    }
    more_->setText(qString(picture.more));
    more_->setColour(theme.faint);
    more_->setVisible(!picture.more.empty());
    more_->setAccessibleName(qString(picture.more + " more"));
    more_->updateGeometry();
}

QString PillView::shownText() const {
    QStringList texts{item_->shownText()};
    for (const DotButton* dot : dots_)
        if (!dot->isHidden()) texts << dot->text();
    if (!more_->isHidden()) texts << more_->shownText();
    return texts.join(' ');
}

} // namespace quorvik
