#pragma once

#include "QuorvikApp/Model/ClipboardItem.h"
#include "QuorvikApp/Signals/Signal.h"

#include "QuorvikCore/Platform/ClipboardPrograms.h"

namespace quorvik {

/// Offers quick actions for what the user copies. Off unless switched on, and asleep while nobody looks at
/// the island. What a password manager marks as concealed is passed over before it is read.
class ClipboardSignal : public Signal {
  public:
    explicit ClipboardSignal(const SignalContext& context) : Signal(context, "clipboard") {}

    void update() override;

    /// What is offered now; null when there is nothing.
    const ClipboardItem* item() const { return item_ ? &*item_ : nullptr; }

    /// Puts the item's text in the place of what was copied. False when it has none that is whole.
    bool copy();

    /// Empties the clipboard.
    void clear();

  private:
    void look() override;
    void watch();
    void readTypes();
    void read();
    void offer(std::optional<ClipboardItem> item);
    void take(std::string copied);
    void put(std::string text);

    std::optional<Platform::ClipboardPrograms> programs_;
    std::unique_ptr<ChildProcess> watcher_, writer_;
    std::string failure_;              ///< why the watcher has ended
    std::optional<std::string> stamp_; ///< of the last look, where there is no watcher
    std::optional<std::size_t> known_; ///< hash of the text that was looked at last
    std::optional<ClipboardItem> item_;
};

} // namespace quorvik
