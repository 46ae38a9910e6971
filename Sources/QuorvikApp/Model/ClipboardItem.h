#pragma once

#include "QuorvikCore/Clipboard/ClipboardAction.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// What the island offers for a copied text: its item, and what a quick action makes of the text.
struct ClipboardItem {
    SessionRecord record;

    /// What is shown of it: the shortened trace, the indented JSON, the colour in other forms. Absent for a
    /// secret, of which nothing is kept.
    std::optional<std::string> text;

    /// Whether `text` may take the copied text's place: it is whole.
    bool canBeCopied = false;

    /// Whether a record is such an item's.
    static bool isOne(const SessionRecord& record);

    /// Absent when there is nothing to offer. Of the text itself nothing is kept beyond what is shown.
    static std::optional<ClipboardItem> of(std::string_view copied, Date now);
};

} // namespace quorvik
