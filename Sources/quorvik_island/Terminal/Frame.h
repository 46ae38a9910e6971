#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

struct ScreenSize {
    std::size_t rows = 24, columns = 80;
    bool operator==(const ScreenSize&) const = default;
};

/// The meaning of a stretch of text, for which the screen has a colour. Colour only repeats what words and
/// signs say already.
enum class Style : std::uint8_t {
    plain,
    faint,
    strong,
    awaiting,
    awaitingQuiet,
    failed,
    working,
    done,
    border,
    removed,
    added,
    hidden, ///< stands for something else: an escape, a credential
    note
};

/// One row of a frame: text without control characters that takes at most the screen's columns. Every
/// character is one scalar with at most three marks on it, which all terminals draw alike.
struct FrameRow {
    struct Span {
        std::uint32_t end; ///< where it ends in `text`, in bytes; it begins where the one before ends
        Style style;
    };
    std::string text;
    std::vector<Span> spans; ///< in order; together they cover all of `text`
};

/// Writes one row from left to right; what does not fit is left out.
class RowWriter {
  public:
    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    explicit RowWriter(std::size_t columns) : left_(columns) {
        constexpr std::size_t usual = 96, stretches = 8; // seldom more: pictures of many rows are made fast
        row_.text.reserve(std::min(columns, usual));
        row_.spans.reserve(stretches);
    }

    /// Appends the text, made fit for a terminal, and blanks up to `width` columns. What does not fit into
    /// them, or into the row, ends with "…".
    void add(std::string_view text, Style style = Style::plain, std::size_t width = unlimited);

    /// Adds so many blanks, but only if anything follows.
    void skip(std::size_t columns) { pending_ += columns; }

    /// Fills the row with `sign`, which takes one column, until only `columns` columns are left.
    void fillTo(std::size_t columns, std::string_view sign, Style style);

    /// Columns that are still free.
    std::size_t left() const { return left_ - std::min(pending_, left_); }

    FrameRow take() { return std::move(row_); }

  private:
    void append(std::string_view text, std::size_t columns, Style style);

    std::size_t left_;
    std::size_t pending_ = 0;
    FrameRow row_;
};

/// The text in a form that all terminals draw alike: one line without control characters and invisible
/// formatting, of each character the first scalar and at most three marks.
std::string drawable(std::string_view text);

/// A finished picture.
struct Frame {
    ScreenSize size;
    std::vector<FrameRow> rows; ///< size.rows of them

    /// Where the hardware cursor stands: on the selected row, or in the text that is being typed. Inside the
    /// screen.
    std::size_t cursorRow = 0, cursorColumn = 0;

    /// The entry of the view that each row belongs to; `noEntry` for other rows.
    std::vector<std::size_t> entryOfRow;
    static constexpr std::size_t noEntry = std::numeric_limits<std::size_t>::max();

    /// The card in the picture, and which rows of its body were in view.
    struct Card {
        std::string page; ///< names the request, and the question of it
        std::string request;
        std::size_t width = 0; ///< of the body, in columns
        std::size_t first = 0, shown = 0, total = 0;
    };
    std::optional<Card> card;

    /// The part of a sheet that is in the picture: its first row and how many. Rows of the screen then belong
    /// to rows of the sheet in place of entries. Absent when there is none, or an empty one.
    struct SheetPart {
        std::size_t top = 0, shown = 0;
    };
    std::optional<SheetPart> sheet;

    /// The next moment at which the picture differs though nothing happens; absent when there is none.
    std::optional<Date> nextChange;

    /// The rows without blanks at their ends, each with a line feed.
    std::string text() const;
};

} // namespace quorvik
