#pragma once

#include "quorvik_island/Terminal/Frame.h"
#include "quorvik_island/Terminal/Keys.h"
#include "quorvik_island/Terminal/Sheet.h"

#include "QuorvikApp/FrontEnds/CardState.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quorvik {

/// Something that a key demands and the view cannot do by itself.
struct Effect {
    enum class Kind {
        answer,        ///< `id` is the request
        acknowledge,   ///< `id` is the item's key
        pick,          ///< `id` is the item's key
        unpick,        ///< the app chooses the item in the notch again
        open,          ///< `id` is the item's key
        connectAgents, ///< install our hooks with the agents found
        refresh,       ///< read everything again, reconnect
        redraw,        ///< draw every cell: others may have written on the screen
        toggleMouse,   ///< take the mouse, or leave it to the terminal
        look,          ///< ask the app for what a sheet shows; its answer goes to looked() or notLooked()
        useClipboard,  ///< `id` is the action: "copy" or "clear"
        suspend,       ///< back to the shell
        quit
    };
    Kind kind;
    std::string id;
    ApprovalResponse response{}; ///< of `answer`
    Sheet::Kind sheet{};         ///< of `look`, as the next two; `id` is the item's key
    std::string path{}, to{};    ///< as in Sheet
};

/// A coding agent that is on this machine, for somebody who starts the island for the first time.
struct FoundAgent {
    std::string name;
    std::string status; ///< "installed", "notInstalled", "stale", "unreadable: …"
    bool isConnected = false;
};

/// Everything that a front end in a terminal remembers: the newest snapshot, and how the user looks at it. No
/// I/O and no clock. draw() makes the picture; drawn() must be called for each picture that was shown.
class View {
  public:
    struct Look {
        RequestCard::SecretFinder secrets;
        std::string home;
    };
    explicit View(Look look) : look_(std::move(look)) {}

    // Input.

    void show(std::shared_ptr<const Snapshot> snapshot);
    void disconnected(std::string why); ///< until the next snapshot nothing can be answered
    void found(std::vector<FoundAgent> agents) { agents_ = std::move(agents); }
    void say(std::string message) { message_ = std::move(message); } ///< one line, until the next key
    void refused(std::string_view request, std::string message);     ///< an answer did not reach its hook
    void looked(const nlohmann::json& reply); ///< dropped when the sheet that asked is closed
    void notLooked(std::string why);          ///< likewise
    void drawn(const Frame& frame, Moment now);
    void notDrawn() { drawnPage_.clear(); } ///< something else has been on the screen
    void tick(Moment now);                  ///< moves the example on

    /// Changes the view as the key demands. Returns what the caller has to do besides.
    std::vector<Effect> key(const Key& key, Moment now);

    /// For front ends without keys: opens the sheet of the first item that has one. Returns what the caller
    /// has to do besides; nothing when no item has a sheet.
    std::vector<Effect> openChanges();
    void closeSheets() { sheets_.closeAll(); }

    // Output: what draw() needs.

    enum class Mode { items, help, filter, reason, ownWords };

    /// A line of the list: an item, or a request whose session has no item.
    struct Entry {
        const SnapshotItem* item = nullptr;
        const WaitingRequest* request = nullptr; ///< only without an item

        std::string key() const; ///< of the item, or "request:" and the request's id
        bool hasKey(std::string_view key) const;
    };

    const Snapshot& snapshot() const { return *snapshot_; }
    std::vector<Entry> entries() const; ///< without those that the filter hides
    std::size_t selectedIndex(const std::vector<Entry>& entries) const;
    bool isUnfolded(const Entry& entry) const {
        return !unfolded_.empty() && unfolded_.contains(entry.key());
    }
    const CardState* card() const; ///< the open card; null when there is none
    CardState* card();
    const std::string& cardEntry() const { return cardEntry_; } ///< key of the entry it stands below
    Mode mode() const { return mode_; }
    const std::string& typed() const { return typed_; } ///< while the mode is one of typing
    const std::string& filter() const { return filter_; }
    const std::string& message() const { return message_; }
    const std::string& whyDisconnected() const { return disconnected_; } ///< empty while connected
    bool isFirstRun() const;
    bool isExample() const { return exampleSince_.has_value(); }
    const std::vector<FoundAgent>& agents() const { return agents_; }
    std::size_t helpScroll() const { return helpScroll_; }
    std::optional<Date> nextExample(Moment now) const; ///< when tick() changes something
    KeyPlace place() const;
    const Sheets& sheets() const { return sheets_; }

    /// Whether keys for the card count: the card has been in view for a third of a second, and still is.
    bool cardTakesKeys(Moment now) const;

  private:
    using Effects = std::vector<Effect>;

    void placeCard(bool moved = false);
    void select(std::size_t index);
    void moveSelection(long by);
    void turnTo(const WaitingRequest& request);
    void nextRequest(long by);
    Effects typeKey(const Key& key, Moment now);
    Effects helpKey(const Key& key);
    Effects act(KeyAction action, const Key& key, Moment now);
    Effects actOnCard(KeyAction action, const Key& key, Moment now);
    Effects actOnItem(KeyAction action, const Key& key);
    Effects actOnSheet(KeyAction action, const Key& key);
    Effects openSheet(const SnapshotItem& item);
    Effects look() const;
    Effects answer(ApprovalResponse response, Moment now);
    Effects confirm(Moment now);
    void click(const Key& key);
    void startTyping(Mode mode, std::string typed = {});

    Look look_;
    std::shared_ptr<const Snapshot> snapshot_ = std::make_shared<const Snapshot>();
    std::shared_ptr<const Snapshot> real_; ///< while the example is shown
    std::map<std::string, CardState, std::less<>> cards_;
    std::string cardRequest_, cardEntry_; ///< the second is an entry's key
    std::string chosenRequest_;           ///< by n and N
    std::string selected_;                ///< an entry's key; empty: the first entry
    std::size_t lastIndex_ = 0;
    std::set<std::string, std::less<>> unfolded_;
    std::string filter_, typed_, message_, disconnected_;
    Mode mode_ = Mode::items;
    std::vector<FoundAgent> agents_;
    std::size_t helpScroll_ = 0;
    Sheets sheets_;
    std::string drawnPage_; ///< of the card in the last frame; empty when there was none
    double drawnSince_ = 0; ///< steady
    std::size_t pageRows_ = 1;
    std::vector<std::size_t> entryOfRow_; ///< in the last frame, which showed drawnSnapshot_
    std::shared_ptr<const Snapshot> drawnSnapshot_;
    std::optional<double> exampleSince_; ///< steady
    std::size_t exampleStage_ = 0;
};

/// The picture of the view at `now`, of exactly that size; any size from 1 by 1 will do.
Frame draw(const View& view, ScreenSize size, Date now);

} // namespace quorvik
