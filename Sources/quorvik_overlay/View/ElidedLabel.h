#pragma once

#include <QLabel>
#include <string_view>

namespace quorvik {

/// A plain text on one line, which ends with "…" where there is no room for all of it. Assistive technology
/// gets the whole text.
class ElidedLabel : public QLabel {
  public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setColour(const QColor& colour);

    /// The part that there is room for.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A plain text over several lines. What agents write must never be read as markup, which QLabel guesses.
QLabel* wrappedLabel(QWidget* parent);

/// A text for such a label, which breaks at blanks alone: with places in long words where a line may end.
QString breakable(std::string_view text);

} // namespace quorvik
