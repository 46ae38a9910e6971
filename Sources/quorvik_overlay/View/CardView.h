#pragma once

#include "quorvik_overlay/View/CardBody.h"
#include "quorvik_overlay/View/QuestionView.h"

#include <QGridLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>
#include <vector>

namespace quorvik {

/// A request with everything that it takes to decide, and the buttons that do.
class CardView : public QWidget {
    Q_OBJECT

  public:
    explicit CardView(QWidget* parent);

    void show(const CardPicture& card, const Theme& theme);

    /// The size in which it is to stand: of that width, and as high as its content or `highest`. Lays out its
    /// parts for it.
    QSize fit(int width, int highest);

    /// Where the buttons are. When that changes, a click may have been meant for another one.
    std::vector<QRect> buttonPlaces() const;

    /// Which rows of the body, or of the question, are in view; pixels.
    struct Seen {
        int first = 0, shown = 0, total = 0;
        bool operator==(const Seen&) const = default;
    };
    Seen seen() const;

    const std::string& page() const { return page_; }
    QPushButton* button(Press press) const; ///< null when it is not offered
    const CardBody& body() const { return *body_; }
    const QuestionView& question() const { return *question_; }
    QLineEdit& field() const { return *field_; }
    QStringList shownTexts() const; ///< headline, note and buttons

  signals:
    void pressed(Press press, int option);
    void typed(const QString& page, const QString& text);
    void scrolled();

  private:
    QLabel *headline_, *note_;
    CardBody* body_;
    QuestionView* question_;
    QLineEdit* field_; ///< the reason of a denial, or the user's own words
    QGridLayout* buttonGrid_;
    struct Button {
        Press press;
        QPushButton* widget;
    };
    std::vector<Button> buttons_;
    const Theme* theme_ = nullptr;
    std::string page_;
    QString offered_; ///< which buttons there are
    bool asksWhyNot_ = false, isQuestion_ = false;
};

} // namespace quorvik
