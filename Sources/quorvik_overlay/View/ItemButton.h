#pragma once

#include "quorvik_overlay/View/ElidedLabel.h"
#include "quorvik_overlay/View/Theme.h"

#include <QAbstractButton>

namespace quorvik {

/// One item: sign, mark, state, age, label and activity. The whole of it is a button.
class ItemButton : public QAbstractButton {
  public:
    /// `isRow`: with state and activity, as in the list; without them in the pill.
    ItemButton(bool isRow, QWidget* parent);

    void show(const ItemPicture& item, const Theme& theme);

    /// A text in the place of an item.
    void show(const std::string& notice, const Theme& theme);

    const std::string& key() const { return key_; }
    QSize sizeHint() const override;

    /// The texts as they stand there, for tests: "? CC Fix the login bug 8 s".
    QString shownText() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    std::string key_;
    ElidedLabel *sign_, *mark_, *state_, *label_, *activity_, *age_;
    QColor over_;
};

/// An item as a dot: its sign and its mark.
class DotButton : public QAbstractButton {
  public:
    explicit DotButton(QWidget* parent);

    void show(const ItemPicture& item, const Theme& theme);
    const std::string& key() const { return key_; }
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::string key_;
    QColor colour_, over_;
};

} // namespace quorvik
