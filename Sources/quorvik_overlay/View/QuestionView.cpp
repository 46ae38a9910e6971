#include "quorvik_overlay/View/QuestionView.h"

#include "quorvik_overlay/View/ElidedLabel.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QMouseEvent>
#include <QRadioButton>
#include <QStyle>

namespace quorvik {

QuestionView::QuestionView(QWidget* parent) : QScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus); // for the keys that scroll
    setAccessibleName("the question");
}

void QuestionView::show(const CardQuestion& question, const QString& place, const Theme& theme) {
    options_.clear();
    labels_.clear();
    auto* content = new QWidget;
    auto* grid = new QGridLayout(content);
    grid->setContentsMargins(0, 0, 6, 0);
    grid->setColumnStretch(1, 1);
    int row = 0;
    QString spoken;
    if (!place.isEmpty()) {
        QLabel* label = wrappedLabel(content);
        label->setText("Question " + place);
        QPalette faint = label->palette();
        faint.setColor(QPalette::WindowText, theme.faint);
        label->setPalette(faint);
        grid->addWidget(label, row++, 0, 1, 2);
    }
    for (const CardLine& line : question.text) {
        QLabel* label = wrappedLabel(content);
        label->setText(breakable(line.text));
        spoken += (spoken.isEmpty() ? "" : " ") + qString(line.text);
        grid->addWidget(label, row++, 0, 1, 2);
    }
    content->setAccessibleName(spoken);
    for (const auto& option : question.options) {
        QAbstractButton* button = question.multiSelect ? static_cast<QAbstractButton*>(new QCheckBox(content))
                                                       : new QRadioButton(content);
        button->setAutoExclusive(false); // what is chosen comes from the model
        button->setAccessibleName(qString(option.label.text));
        button->setAccessibleDescription(qString(option.description.text));
        QLabel* label = wrappedLabel(content);
        const std::string about = option.description.text.empty() ? "" : "\n" + option.description.text;
        label->setText(breakable(std::to_string(options_.size() + 1) + "  " + option.label.text + about));
        label->installEventFilter(this);
        label->setCursor(Qt::PointingHandCursor);
        grid->addWidget(button, row, 0, Qt::AlignTop);
        grid->addWidget(label, row++, 1);
        const int index = static_cast<int>(options_.size());
        connect(button, &QAbstractButton::clicked, this, [this, index] { emit chosen(index); });
        options_.push_back(button);
        labels_.push_back(label);
    }
    if (QWidget* before = takeWidget()) before->deleteLater(); // one of its buttons may have called us
    setWidget(content);
}

void QuestionView::check(const CardState::Answer& answer) {
    for (std::size_t index = 0; index < options_.size(); ++index)
        options_[index]->setChecked(answer.chosen.contains(index));
}

int QuestionView::heightFor(int width) const {
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return widget() ? widget()->layout()->totalHeightForWidth(width - bar) : 0;
}

bool QuestionView::eventFilter(QObject* object, QEvent* event) {
    const auto label = std::ranges::find(labels_, object);
    if (event->type() == QEvent::MouseButtonRelease && label != labels_.end()) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && (*label)->rect().contains(mouse->position().toPoint()))
            emit chosen(static_cast<int>(label - labels_.begin()));
        return true;
    }
    return QScrollArea::eventFilter(object, event);
}

} // namespace quorvik
