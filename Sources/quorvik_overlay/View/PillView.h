#pragma once

#include "quorvik_overlay/View/ItemButton.h"

#include <QWidget>
#include <vector>

namespace quorvik {

/// The pill: the most urgent item, and the next ones as dots. Also the first line of a card.
class PillView : public QWidget {
    Q_OBJECT

  public:
    explicit PillView(QWidget* parent);

    void show(const OverlayPicture& picture, const Theme& theme);

    const ItemButton& item() const { return *item_; }
    QString shownText() const;

  signals:
    void pressed();                      ///< the item or the notice
    void dotPressed(const QString& key); ///< of an item

  private:
    ItemButton* item_;
    std::vector<DotButton*> dots_; ///< as many as there ever were; those that are not needed are hidden
    ElidedLabel* more_;
};

} // namespace quorvik
