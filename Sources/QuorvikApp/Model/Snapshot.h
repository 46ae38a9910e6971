#pragma once

#include "QuorvikApp/Model/Settings.h"

#include "QuorvikCore/Alerts/AlertRequest.h"
#include "QuorvikCore/Approvals/ApprovalRequest.h"
#include "QuorvikCore/Island/IslandItem.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One session on the island.
struct SnapshotItem {
    std::shared_ptr<const SessionRecord> record; ///< never null
    DisplayState display = DisplayState::working;
    bool quiet = false;

    std::string id() const { return record->key(); }
};

/// A permission or question that waits for the user.
struct WaitingRequest {
    ApprovalRequest request;
    std::string members; ///< JSON text: the object as the hook sent it, members that we do not know included
    Date receivedAt{};

    /// What "always" would grant, in words; empty when "always" is not to be offered.
    std::vector<std::string> grants;
};

/// An alert that is shown. Its item has the same key.
struct ShownAlert {
    AlertRequest alert;
    std::string key;
    Date receivedAt{};
};

/// Everything that front ends show, at one moment. Front ends decide nothing: what is not in here is not
/// shown. docs/control.md describes the JSON form.
struct Snapshot {
    std::int64_t revision = 0;
    std::optional<SnapshotItem> primary;
    std::vector<SnapshotItem> bubbles, overflow;
    std::vector<std::string> corrupt, unsupported; ///< paths of files that hold no readable record
    std::vector<std::shared_ptr<const WaitingRequest>> requests; ///< oldest first
    std::vector<ShownAlert> alerts;                              ///< oldest first
    std::optional<Date> alertsPausedUntil;                       ///< until then no alert is taken
    std::vector<std::string> troubles;                           ///< what does not work, a text each
    Settings settings;

    /// All items, the most urgent first.
    std::vector<const SnapshotItem*> items() const;

    /// The waiting request with that id; null when there is none.
    const WaitingRequest* request(std::string_view id) const;

    /// The item's oldest waiting request; null when it has none.
    const WaitingRequest* requestOf(const SnapshotItem& item) const;

    /// Reads the JSON form. Items and requests that stand in `previous` word for word are shared with it, not
    /// read again. Throws RecordError.
    static Snapshot fromJSON(std::string_view text, const Snapshot* previous = nullptr);

  private:
    friend class SnapshotReader;
    /// The JSON text that each record and request was read from, for the next reading.
    std::map<std::string, std::shared_ptr<const SessionRecord>, std::less<>> recordTexts_;
    std::map<std::string, std::shared_ptr<const WaitingRequest>, std::less<>> requestTexts_;
};

/// Writes snapshots as JSON, one after the other. The text of a record that is the same object as last time
/// is not made again. For one owner.
class SnapshotWriter {
  public:
    /// On one line, without a line feed.
    std::string text(const Snapshot& snapshot);

  private:
    struct Known {
        std::shared_ptr<const SessionRecord> record;
        std::string text;
        std::uint64_t generation = 0;
    };
    std::map<const SessionRecord*, Known> records_;
    std::uint64_t generation_ = 0;
};

/// What the item is about, on one line: its task, else its tool or command, else who it is.
std::string itemLabel(const SessionRecord& record);

/// The columns that it takes.
std::size_t itemLabelColumns(const SessionRecord& record);

} // namespace quorvik
