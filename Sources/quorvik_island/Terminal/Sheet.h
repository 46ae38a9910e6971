#pragma once

#include "quorvik_island/Terminal/Frame.h"

#include "QuorvikApp/Model/ItemChanges.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// A list that lies over the items: the files behind a "Changes" item, the difference of one of them, or what
/// can be done with what was copied. Until its content has come it is empty.
struct Sheet {
    enum class Kind { files, difference, clipboard };
    struct Text {
        std::string text;
        Style style = Style::plain;
    };
    struct Row {
        std::string text;
        Style style = Style::plain;
        std::string before;     ///< line numbers and sign; all rows of a difference give it the same width
        std::vector<Text> tail; ///< behind the text, and in view even if that is long
        std::string opens;      ///< path of the file whose difference Enter shows; may be empty
        std::string action{};   ///< what Enter does with the clipboard: "copy", "clear"; may be empty
    };

    Kind kind = Kind::files;
    std::string item;  ///< key
    std::string path;  ///< of the file whose difference it is; else empty
    std::string title; ///< what it shows
    std::string to;    ///< the newer of the two commits, once the list has come
    bool isWaiting = true;
    std::vector<Row> rows;
    std::size_t selected = 0, top = 0; ///< rows; `top` is the first in view
};

/// The sheets that are open, one above the other; only the uppermost is seen. No I/O: the caller asks the app
/// for what upper() waits for.
class Sheets {
  public:
    bool isOpen() const { return !open_.empty(); }
    const Sheet& upper() const { return open_.back(); } ///< there must be one

    /// Opens an item's first sheet. `label` names the item.
    void open(Sheet::Kind kind, std::string item, std::string label);

    /// Opens what the selected row stands for; false when that is nothing.
    bool openSelected();

    /// What Enter does with the clipboard; empty when the selected row stands for nothing of that kind.
    std::string selectedAction() const;

    /// Closes the uppermost sheet.
    void close();
    void closeAll() { open_.clear(); }

    /// The app's answer to what the uppermost sheet waits for. Ignored when it does not wait: the user has
    /// closed the sheet that asked. Throws RecordError.
    void fill(const nlohmann::json& reply);

    /// There is no answer: closes the sheet that waits. False when none does.
    bool fail();

    // How the user looks at it.

    void move(long rows);
    void movePage(bool forward);
    void select(std::size_t row); ///< or the last one

    /// Takes note of the frame that was shown.
    void drawn(const Frame& frame);

    /// Selects the row that the last frame had there. True when it was selected already; false also when
    /// another sheet is seen since.
    bool click(std::size_t screenRow);

  private:
    void fillFiles(const ItemChanges& changes);
    void fillDiff(const FileDiff& diff);
    void fillClipboard(const nlohmann::json& reply);

    std::vector<Sheet> open_;
    std::string label_;
    std::size_t shown_ = 1;              ///< rows of the sheet in the last frame
    std::vector<std::size_t> drawnRows_; ///< of the sheet, for each of the screen; empty: of another sheet
};

} // namespace quorvik
