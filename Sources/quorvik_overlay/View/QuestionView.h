#pragma once

#include "quorvik_overlay/View/Theme.h"

#include <QAbstractButton>
#include <QLabel>
#include <QScrollArea>
#include <vector>

namespace quorvik {

/// A question's text and its options: radio buttons, or check boxes where several may be chosen.
class QuestionView : public QScrollArea {
    Q_OBJECT

  public:
    explicit QuestionView(QWidget* parent);

    /// Makes its content anew.
    void show(const CardQuestion& question, const QString& place, const Theme& theme);

    /// Shows what has been chosen.
    void check(const CardState::Answer& answer);

    /// The height that shows all of it in that width.
    int heightFor(int width) const;

    const std::vector<QAbstractButton*>& options() const { return options_; }
    QSize minimumSizeHint() const override { return {0, 0}; }

  signals:
    void chosen(int option);

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    std::vector<QAbstractButton*> options_;
    std::vector<QLabel*> labels_; ///< beside the options: buttons wrap no text
};

} // namespace quorvik
