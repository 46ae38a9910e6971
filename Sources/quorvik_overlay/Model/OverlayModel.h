#pragma once

#include "quorvik_overlay/Model/OverlayPicture.h"

#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// Something that a press demands and the model cannot do by itself.
struct OverlayEffect {
    enum class Kind {
        answer,      ///< `id` is the request
        acknowledge, ///< `id` is the item's key
        open         ///< likewise: its terminal, log or page
    };
    Kind kind;
    std::string id;
    ApprovalResponse response{}; ///< of `answer`
};

/// Which shape the overlay has, which texts and which controls; and what they do. No window, no I/O and no
/// clock.
///
/// A card opens by itself when a request waits, unless the pointer is where it would appear, the user has
/// folded a card since it came, or it has waited for so long that it no longer draws attention. An answer
/// counts only when its card has been in view, whole and unchanged, for a third of a second.
class OverlayModel {
  public:
    struct Look {
        RequestCard::SecretFinder secrets;
        std::string home;
    };
    explicit OverlayModel(Look look) : look_(std::move(look)) {}

    // What happens.

    void show(std::shared_ptr<const Snapshot> snapshot, Moment now);
    void disconnected(std::string why); ///< until the next snapshot nothing can be answered
    void refused(std::string_view request, std::string message, Moment now); ///< an answer did not arrive
    void say(std::string message, Moment now); ///< one line, for some seconds or until the next press

    enum class Pointer {
        away,
        inTheWay, ///< where a card would have appeared
        over      ///< on the overlay itself: the list opens
    };
    void pointer(Pointer place);

    /// The card that opened by itself is not shown after all: the pointer is where it would appear. It opens
    /// once the pointer is away.
    void holdBack(Pointer place);

    /// The card stands on the screen in full size, and shows rows [first, first + shown) of `total`, in any
    /// unit, laid out in `width`. To be called whenever one of these has changed.
    void drawn(const std::string& page, std::size_t width, std::size_t first, std::size_t shown,
               std::size_t total, Moment now);

    /// The card is not to be seen for now, or not with its buttons where they were.
    void notDrawn() { drawnPage_.clear(); }

    /// How many rows the list has room for.
    void setRoom(std::size_t rows) { room_ = rows; }

    // What the user does.

    using Effects = std::vector<OverlayEffect>;
    Effects press(Press press, Moment now, std::size_t option = 0);
    Effects pressItem(const std::string& key); ///< a row or a dot: its card when it waits, else opens it
    Effects acknowledge(const std::string& key) const;
    /// The whole text of the field of the card that shows that page: the reason, or the user's own words.
    void typed(const std::string& shownPage, std::string text);

    /// What a key does on the card, where no text is typed: those of the buttons, "n", and "1" to "9" for the
    /// options. Every other key tells that somebody types, and for a moment no key does anything.
    Effects key(std::string_view key, Moment now);

    // What there is to see.

    OverlayPicture picture(Moment now) const;
    OverlayShape shape(Moment now) const;

    /// Whether a card waits for the pointer to go away.
    bool isHeldBack() const { return isHeldBack_; }

    /// How many items and requests need the user.
    std::size_t attentionCount() const;

    const Snapshot& snapshot() const { return *snapshot_; }

  private:
    static constexpr std::string_view requestPrefix = "request:"; ///< of a key that is no item's

    struct Entry {
        const SnapshotItem* item = nullptr;
        const WaitingRequest* request = nullptr;
    };
    std::vector<Entry> entries() const;
    ItemPicture pictureOf(const Entry& entry, Date now) const;
    CardPicture cardPicture(Moment now) const;
    std::vector<ButtonPicture> buttons(const CardState& card) const;
    std::string whyNot(const CardState& card, Press press) const;
    bool isGreeting(Moment now) const;
    bool hasMessage(Moment now) const;
    bool takesPresses(Moment now) const;
    bool opensByItself(const WaitingRequest& waiting) const;
    void placeCard();
    void openCard(const WaitingRequest& waiting);
    CardState* card();
    const CardState* card() const;
    std::string page() const;
    Effects answer(ApprovalResponse response);

    Look look_;
    std::shared_ptr<const Snapshot> snapshot_ = std::make_shared<const Snapshot>();
    std::string disconnected_ = "connecting"; ///< why; empty while connected
    std::string message_;
    double messageUntil_ = 0, greetUntil_ = 0; ///< steady
    bool hasShown_ = false;
    std::map<std::string, CardState, std::less<>> cards_;
    std::size_t cardCount_ = 0;                    ///< how many there have been
    std::string cardRequest_;                      ///< whose card is open; empty: none
    std::set<std::string, std::less<>> dismissed_; ///< requests that waited when the user folded a card
    std::set<std::string, std::less<>> wanted_;    ///< requests whose card was opened by the user
    Pointer pointer_ = Pointer::away;
    bool isListOpen_ = false, isListPinned_ = false;
    bool isHeldBack_ = false;
    bool asksWhyNot_ = false;
    std::string typed_;
    std::size_t room_ = 12;
    std::string drawnPage_;
    double drawnSince_ = 0; ///< steady
};

} // namespace quorvik
