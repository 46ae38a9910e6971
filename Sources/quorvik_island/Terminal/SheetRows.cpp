#include "quorvik_island/Terminal/SheetRows.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <utility>

namespace quorvik {

namespace {

constexpr std::size_t marker = 2; // columns for ">", and a blank

class SheetDrawing {
  public:
    SheetDrawing(const Sheet& sheet, Frame& frame) : sheet_(sheet), frame_(frame) {}

    void draw(std::size_t area) {
        const bool hasTitle = area > 1;
        if (hasTitle) drawTitle();
        body_ = std::max<std::size_t>(area - (hasTitle ? 1 : 0), 1);
        frame_.cursorRow = frame_.rows.size();
        if (area == 0) return;
        if (sheet_.rows.empty()) {
            RowWriter row = writer();
            row.skip(marker);
            row.add(!sheet_.isWaiting                       ? "no file differs"
                    : sheet_.kind == Sheet::Kind::clipboard ? "looking…"
                                                            : "git is being asked…",
                    Style::faint);
            push(row.take(), Frame::noEntry);
            return;
        }
        const std::size_t top = firstInView();
        std::size_t index = top;
        for (std::size_t left = body_; index < sheet_.rows.size() && left > 0; ++index)
            left -= drawRow(index, left);
        frame_.sheet = {top, index - top};
    }

  private:
    RowWriter writer() const { return RowWriter(frame_.size.columns); }
    void push(FrameRow row, std::size_t entry) {
        frame_.rows.push_back(std::move(row));
        frame_.entryOfRow.push_back(entry);
    }

    void drawTitle() {
        RowWriter row = writer();
        const std::string place = sheet_.rows.empty() ? ""
                                                      : std::to_string(sheet_.selected + 1) + " of " +
                                                            std::to_string(sheet_.rows.size());
        row.skip(1);
        const bool hasPlace = !place.empty() && row.left() > 3 * place.size();
        const std::size_t room = hasPlace ? row.left() - place.size() - 2 : row.left();
        row.add(cutAtStart(drawable(sheet_.title), room), Style::strong, room);
        row.skip(1);
        if (hasPlace) row.add(place, Style::faint);
        push(row.take(), Frame::noEntry);
    }

    /// The end of the text, which tells most of a path, with "…" in front if that is not all.
    static std::string cutAtStart(const std::string& text, std::size_t columns) {
        std::size_t width = Unicode::columnCount(text);
        if (width <= columns) return text;
        std::string_view rest = text;
        while (width + 1 > columns && !rest.empty())
            width -= Unicode::columnCount(Unicode::takeCharacter(rest));
        return "…" + std::string(rest);
    }

    /// The piece of the row's text that stands in one row of the screen, taken off its front.
    std::string_view take(std::string_view& text, const Sheet::Row& row) const {
        constexpr std::size_t narrowest = 8; // with less than that, lines are cut instead
        const std::size_t columns = frame_.size.columns;
        const std::size_t others = marker + Unicode::columnCount(row.before);
        if (sheet_.path.empty() || columns < others + narrowest) return std::exchange(text, {});
        const std::string_view piece = Unicode::firstColumns(text, columns - others);
        text.remove_prefix(piece.size());
        return piece;
    }

    /// How many rows of the screen it takes, counted up to all that there are.
    std::size_t height(std::size_t index) const {
        const Sheet::Row& row = sheet_.rows[index];
        std::string_view rest = row.text;
        std::size_t count = 0;
        do {
            take(rest, row);
        } while (++count < body_ && !rest.empty());
        return count;
    }

    /// The first row with which `last` is in view to its end.
    std::size_t firstWith(std::size_t last) const {
        std::size_t first = last;
        std::size_t used = height(last);
        while (first > 0 && (used += height(first - 1)) <= body_)
            --first;
        return first;
    }

    std::size_t firstInView() const {
        const std::size_t least = firstWith(sheet_.selected), most = firstWith(sheet_.rows.size() - 1);
        return std::min({std::max(sheet_.top, least), sheet_.selected, most});
    }

    std::size_t drawRow(std::size_t index, std::size_t room) {
        const Sheet::Row& row = sheet_.rows[index];
        const bool isSelected = index == sheet_.selected;
        if (isSelected) frame_.cursorRow = frame_.rows.size();
        std::string_view rest = row.text;
        std::size_t count = 0;
        do {
            RowWriter line = writer();
            line.add(isSelected && count == 0 ? ">" : " ", Style::strong);
            line.skip(marker - 1);
            if (sheet_.path.empty())
                addFile(row, line, isSelected);
            else
                addLine(row, rest, line, count > 0, count + 1 == room);
            push(line.take(), index);
        } while (++count < room && !sheet_.path.empty() && !rest.empty());
        return count;
    }

    static void addFile(const Sheet::Row& row, RowWriter& line, bool isSelected) {
        std::size_t tail = row.tail.empty() ? 0 : 2;
        for (const Sheet::Text& text : row.tail)
            tail += Unicode::columnCount(text.text);
        const std::string path = drawable(row.text);
        // With very few columns the path alone says more than the counts alone.
        const std::size_t room = line.left() > 2 * tail ? line.left() - tail : line.left();
        line.add(cutAtStart(path, room), isSelected ? Style::strong : row.style);
        line.skip(2);
        for (const Sheet::Text& text : row.tail)
            line.add(text.text, text.style);
    }

    void addLine(const Sheet::Row& row, std::string_view& rest, RowWriter& line, bool goesOn,
                 bool isLast) const {
        const std::size_t before = Unicode::columnCount(row.before);
        if (!goesOn) {
            line.add(row.before, row.style);
        } else if (before >= 2) { // so that nobody takes it for a line of its own
            line.skip(before - 2);
            line.add("↪ ", Style::border);
        }
        const std::string_view piece = take(rest, row);
        // What has no room below ends with "…", which the writer puts where a text is too long.
        line.add(isLast && !rest.empty() ? std::string(piece) + "…" : std::string(piece), row.style);
    }

    const Sheet& sheet_;
    Frame& frame_;
    std::size_t body_ = 1;
};

} // namespace

void drawSheet(const Sheet& sheet, std::size_t area, Frame& frame) {
    SheetDrawing(sheet, frame).draw(area);
}

} // namespace quorvik
