#pragma once

#include "quorvik_overlay/Model/OverlayModel.h"
#include "quorvik_overlay/View/CardView.h"
#include "quorvik_overlay/View/ListView.h"
#include "quorvik_overlay/View/PillView.h"

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>

namespace quorvik {

/// The island's window: draws an OverlayPicture at the top of the screen that has the pointer, and tells what
/// is pressed. Takes the focus only when the user clicks into one of its texts, or with takeFocus().
class OverlayWindow : public QWidget {
    Q_OBJECT

  public:
    OverlayWindow();

    /// Draws it. False when a card that opens by itself would come under the pointer: then nothing is drawn,
    /// and the model is to hold it back until pointerPlace() is another.
    bool show(const OverlayPicture& picture);

    /// Whether the shapes grow and shrink smoothly, in less than 200 ms.
    void setSmooth(bool isSmooth) { isSmooth_ = isSmooth; }

    /// How many rows the list has room for.
    std::size_t room();

    using Pointer = OverlayModel::Pointer;
    Pointer pointerPlace() const;

    /// Nothing waits any more for the pointer to go away.
    void forgetTheWay() { inTheWay_ = {}; }

    /// Where the pointer is, in the screens' coordinates; replaced in tests.
    std::function<QPoint()> pointer;

    /// Lets the user type: makes it the active window.
    void takeFocus();

    OverlayShape shape() const { return shape_; }
    bool isCardSeen() const { return isSettled() && told_.page == card_->page(); }
    bool isSettled() const { return growth_.state() != QAbstractAnimation::Running; }
    const PillView& pill() const { return *pill_; }
    const ListView& list() const { return *list_; }
    const CardView& card() const { return *card_; }

  signals:
    void pressed(Press press, int option);
    void itemPressed(const QString& key);
    void acknowledged(const QString& key);
    void typed(const QString& page, const QString& text);
    void keyPressed(const QString& key);
    void surroundingsChanged(); ///< colours, screens: it is to be drawn anew
    void pointerMoved();        ///< onto the window, or off it, and has stayed there for a moment

    void cardMoved(); ///< the card's buttons are elsewhere now

    /// The card of that page stands in its full size, and shows those rows in that width.
    void cardSeen(const QString& page, int width, int first, int shown, int total);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void chooseScreen();
    void followScreens();
    QSize sizeOf(OverlayShape shape);
    void moveTo(const QRect& target);
    void settled();
    void tellSeen();
    void giveFocusBack();

    QWidget* content_; ///< in its final size while the window grows
    PillView* pill_;
    ListView* list_;
    CardView* card_;
    const Theme* theme_ = nullptr;
    std::string cardRequest_; ///< whose card is shown; empty: none
    struct Told {
        std::string page;
        int width = 0;
        CardView::Seen seen;
        bool operator==(const Told&) const = default;
    };
    std::vector<QRect> buttonPlaces_;
    Told told_;       ///< the last cardSeen(); each causes a drawing
    QRect inTheWay_;  ///< where a card would have come that was not shown because of the pointer
    QRect available_; ///< of the screen, empty before the first picture
    OverlayShape shape_ = OverlayShape::hidden;
    QVariantAnimation growth_;
    QTimer pointerSettles_, seenTimer_;
    bool isSmooth_ = true;
};

} // namespace quorvik
