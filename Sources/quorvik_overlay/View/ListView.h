#pragma once

#include "quorvik_overlay/View/ItemButton.h"

#include <QWidget>
#include <vector>

namespace quorvik {

/// All items, a row each.
class ListView : public QWidget {
    Q_OBJECT

  public:
    explicit ListView(QWidget* parent);

    void show(const OverlayPicture& picture, const Theme& theme);

    /// The height of a row, with the space below it.
    int rowHeight() const;

    QStringList shownTexts() const; ///< a text a row, then what follows them

  signals:
    void pressed(const QString& key);
    void acknowledged(const QString& key);

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    std::vector<ItemButton*> rows_; ///< as many as there ever were; those that are not needed are hidden
    ElidedLabel *more_, *notice_;
};

} // namespace quorvik
