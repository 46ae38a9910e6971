#include "quorvik_overlay/View/CardView.h"

#include "quorvik_overlay/View/ElidedLabel.h"

#include <QScrollBar>
#include <QVBoxLayout>

namespace quorvik {

namespace {

constexpr int space = 6; // pixels between parts
constexpr int longestText = 2000;

} // namespace

CardView::CardView(QWidget* parent)
    : QWidget(parent), headline_(wrappedLabel(this)), note_(wrappedLabel(this)), body_(new CardBody(this)),
      question_(new QuestionView(this)), field_(new QLineEdit(this)), buttonGrid_(new QGridLayout) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 4, 14, 12);
    layout->setSpacing(space);
    QFont strong = font();
    strong.setBold(true);
    headline_->setFont(strong);
    field_->setMaxLength(longestText);
    buttonGrid_->setSpacing(space);
    for (QWidget* part : std::initializer_list<QWidget*>{headline_, body_, question_, field_, note_})
        layout->addWidget(part);
    layout->addLayout(buttonGrid_);
    connect(field_, &QLineEdit::textEdited, this,
            [this](const QString& text) { emit typed(qString(page_), text); });
    connect(question_, &QuestionView::chosen, this,
            [this](int option) { emit pressed(Press::choose, option); });
    for (const QAbstractScrollArea* area : std::initializer_list<QAbstractScrollArea*>{body_, question_}) {
        connect(area->verticalScrollBar(), &QScrollBar::valueChanged, this, &CardView::scrolled);
        connect(area->verticalScrollBar(), &QScrollBar::rangeChanged, this, &CardView::scrolled);
    }
}

void CardView::show(const CardPicture& card, const Theme& theme) {
    const bool isNew = std::exchange(page_, card.page) != card.page;
    const bool asked = std::exchange(asksWhyNot_, card.asksWhyNot);
    const bool isDrawnAnew = std::exchange(theme_, &theme) != &theme || isNew;
    isQuestion_ = card.question != nullptr;
    headline_->setText(breakable(card.headline));
    setAccessibleName(qString(card.headline));
    body_->setVisible(!isQuestion_);
    question_->setVisible(isQuestion_);
    if (isDrawnAnew && card.body) body_->show(*card.body, card.grants, theme);
    if (isDrawnAnew && card.question) question_->show(*card.question, qString(card.place), theme);
    if (card.question) question_->check(card.answer);

    field_->setVisible(isQuestion_ || asksWhyNot_);
    field_->setPlaceholderText(asksWhyNot_ ? "why not?" : "or in your own words");
    field_->setAccessibleName(asksWhyNot_ ? "the reason, which may be empty" : "your own words");
    if (isNew || asked != asksWhyNot_)
        field_->setText(asksWhyNot_ ? QString() : qString(card.answer.own.value_or("")));
    else if (isQuestion_ && !asksWhyNot_ && !card.answer.own && !card.answer.chosen.empty())
        field_->clear(); // an option was chosen in its place
    field_->setEnabled(!card.buttons.empty());

    note_->setText(breakable(card.note));
    note_->setVisible(!card.note.empty());

    QString offered;
    for (const ButtonPicture& button : card.buttons)
        offered += qString(button.text) + '\n';
    if (std::exchange(offered_, offered) != offered) {
        for (const Button& button : buttons_) {
            button.widget->clearFocus(); // which would go to a button that nobody has chosen
            button.widget->hide();
            buttonGrid_->removeWidget(button.widget);
            button.widget->deleteLater();
        }
        buttons_.clear();
        for (const ButtonPicture& button : card.buttons) {
            auto* widget = new QPushButton(this);
            connect(widget, &QPushButton::clicked, this,
                    [this, press = button.press] { emit pressed(press, 0); });
            buttons_.push_back({button.press, widget});
        }
    }
    if (isNew)
        for (const Button& button : buttons_)
            button.widget->clearFocus(); // it was chosen for another page
    if (asksWhyNot_ && !asked && isActiveWindow()) field_->setFocus();
    for (std::size_t index = 0; index < buttons_.size(); ++index) {
        const ButtonPicture& button = card.buttons[index];
        QString text = qString(button.text);
        if (button.press == Press::nextRequest) text += " (" + qString(card.others) + ")";
        buttons_[index].widget->setText(text);
        buttons_[index].widget->setEnabled(button.isEnabled);
        buttons_[index].widget->setAccessibleName(text);
        buttons_[index].widget->setAccessibleDescription(qString(button.about));
        buttons_[index].widget->setToolTip(qString(button.about + " (" + button.key + ")"));
    }
}

std::vector<QRect> CardView::buttonPlaces() const {
    std::vector<QRect> places;
    for (const Button& button : buttons_)
        places.push_back(button.widget->geometry());
    return places;
}

QSize CardView::fit(int width, int highest) {
    // Buttons that do not fit beside each other go into another row.
    const int room = width - layout()->contentsMargins().left() - layout()->contentsMargins().right();
    int widest = 1;
    for (const Button& button : buttons_)
        widest = std::max(widest, button.widget->sizeHint().width() + space);
    const int inRow = std::clamp(room / widest, 1, std::max(static_cast<int>(buttons_.size()), 1));
    for (std::size_t index = 0; index < buttons_.size(); ++index) {
        const int at = static_cast<int>(index);
        buttonGrid_->addWidget(buttons_[index].widget, at / inRow, at % inRow);
        buttons_[index].widget->show();
    }

    QWidget* long_ = isQuestion_ ? static_cast<QWidget*>(question_) : body_;
    const int wanted = isQuestion_ ? question_->heightFor(room) : body_->heightFor(room);
    long_->setFixedHeight(0);
    layout()->invalidate();
    const int rest = layout()->totalHeightForWidth(width);
    const int least = 3 * fontMetrics().height();
    long_->setFixedHeight(std::clamp(highest - rest, std::min(least, wanted), wanted));
    layout()->invalidate();
    return {width, layout()->totalHeightForWidth(width)};
}

CardView::Seen CardView::seen() const {
    const QAbstractScrollArea& area =
        isQuestion_ ? static_cast<const QAbstractScrollArea&>(*question_) : *body_;
    const QScrollBar& bar = *area.verticalScrollBar();
    const QRect visible =
        area.viewport()->visibleRegion().boundingRect(); // the window may be too small for it
    return {bar.value() + std::max(visible.top(), 0), visible.height(),
            bar.maximum() + area.viewport()->height()};
}

QPushButton* CardView::button(Press press) const {
    const auto found = std::ranges::find(buttons_, press, &Button::press);
    return found == buttons_.end() ? nullptr : found->widget;
}

QStringList CardView::shownTexts() const {
    QStringList texts;
    for (const QLabel* label : {headline_, note_})
        if (!label->isHidden()) texts << label->text();
    for (const Button& button : buttons_)
        texts << (button.widget->isEnabled() ? button.widget->text() : "(" + button.widget->text() + ")");
    return texts;
}

} // namespace quorvik
