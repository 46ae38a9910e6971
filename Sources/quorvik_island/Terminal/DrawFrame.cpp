#include "quorvik_island/Terminal/CardRows.h"
#include "quorvik_island/Terminal/FrameTexts.h"
#include "quorvik_island/Terminal/SheetRows.h"
#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/FrontEnds/Activity.h"
#include "QuorvikApp/FrontEnds/Age.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

constexpr std::size_t markWidth = 3, displayWidth = 10, ageWidth = 6, gap = 2;

Style styleOf(const SnapshotItem& item) {
    switch (item.display) {
    case DisplayState::awaiting: return item.quiet ? Style::awaitingQuiet : Style::awaiting;
    case DisplayState::failed: return Style::failed;
    case DisplayState::working:
    case DisplayState::compacting: return Style::working;
    case DisplayState::stale: return Style::faint;
    case DisplayState::done: return Style::done;
    }
    return Style::plain;
}

class Drawing {
  public:
    Drawing(const View& view, ScreenSize size, Date now) : view_(view), now_(now) {
        frame_.size = {std::max<std::size_t>(size.rows, 1), std::max<std::size_t>(size.columns, 1)};
    }

    Frame take() {
        const std::size_t rows = frame_.size.rows;
        frame_.rows.reserve(rows);
        frame_.entryOfRow.reserve(rows);
        const std::string notice = FrameTexts::notice(view_);
        const bool hasNotice = !notice.empty();
        constexpr std::size_t fewRows = 5; // with as few as that the notice takes the footer's place
        const std::size_t bottom = rows < 2 ? 0 : hasNotice && rows > fewRows ? 2 : 1;
        if (view_.mode() == View::Mode::help)
            drawHelp(rows - bottom);
        else if (view_.sheets().isOpen())
            drawSheet(view_.sheets().upper(), rows - bottom, frame_);
        else
            drawItems(rows - bottom);
        while (frame_.rows.size() < rows - bottom)
            push(FrameRow());
        if (hasNotice && bottom > 0) drawNotice(notice);
        if (bottom > 0 && !(hasNotice && bottom == 1)) drawFooter();
        frame_.cursorRow = std::min(frame_.cursorRow, rows - 1);
        frame_.cursorColumn = std::min(frame_.cursorColumn, frame_.size.columns - 1);
        return std::move(frame_);
    }

  private:
    using Entry = View::Entry;

    RowWriter writer() const { return RowWriter(frame_.size.columns); }
    void push(FrameRow row, std::size_t entry = Frame::noEntry) {
        frame_.rows.push_back(std::move(row));
        frame_.entryOfRow.push_back(entry);
    }
    void pushText(std::string_view text, Style style = Style::plain) {
        RowWriter row = writer();
        row.add(text, style);
        push(row.take());
    }

    void changesAt(Date date) {
        if (!frame_.nextChange || date < *frame_.nextChange) frame_.nextChange = date;
    }

    // Items.

    void drawItems(std::size_t area) {
        const auto entries = view_.entries();
        if (entries.empty()) {
            drawNothing(area);
            return;
        }
        labelWidth_ = labelColumns(entries);
        selected_ = view_.selectedIndex(entries);
        layOutCard(area, entries.size());

        // The selected entry and its card stay in view, with up to a third of the screen above them.
        std::vector<std::size_t> begins; // the first row of each entry
        std::size_t total = 0;
        begins.reserve(entries.size());
        for (const Entry& entry : entries) {
            begins.push_back(total);
            total += 1 + cardHeight(entry);
            if (view_.isUnfolded(entry)) total += details(entry).size();
        }
        const std::size_t from = begins[selected_];
        const std::size_t to = selected_ + 1 < begins.size() ? begins[selected_ + 1] : total;
        std::size_t top = from > area / 3 ? from - area / 3 : 0;
        top = std::min(top, total > area ? total - area : 0);
        if (to > top + area) top = to - area;
        top = std::min(top, from);

        const auto after = std::ranges::upper_bound(begins, top);
        std::size_t index = static_cast<std::size_t>(after - begins.begin()) - 1;
        skipped_ = top - begins[index]; // rows of the first entry that are above the screen
        for (; index < entries.size() && frame_.rows.size() < area; ++index)
            drawEntry(entries[index], index, area);
    }

    std::size_t labelColumns(const std::vector<Entry>& entries) const {
        const std::size_t widest = frame_.size.columns < 60 ? 16 : 32;
        std::size_t columns = 0;
        for (const Entry& entry : entries) {
            if (columns >= widest) break;
            if (entry.item) columns = std::max(columns, itemLabelColumns(*entry.item->record));
        }
        return std::min(columns, widest);
    }

    /// Pushes the row unless it is above or below the screen.
    void place(std::size_t area, std::size_t entry, const auto& make) {
        if (skipped_ > 0) {
            --skipped_;
        } else if (frame_.rows.size() < area) {
            push(make(), entry);
        }
    }

    void drawEntry(const Entry& entry, std::size_t index, std::size_t area) {
        if (index == selected_ && skipped_ == 0) frame_.cursorRow = frame_.rows.size();
        place(area, index, [&] { return entryRow(entry, index); });
        if (cardHeight(entry) > 0) drawCard(index, area);
        if (!view_.isUnfolded(entry)) return;
        for (const std::string& line : details(entry))
            place(area, index, [&] {
                RowWriter row = writer();
                row.skip(5);
                row.add(line, Style::faint);
                return row.take();
            });
    }

    FrameRow entryRow(const Entry& entry, std::size_t index) {
        const bool isSelected = index == selected_;
        RowWriter row = writer();
        row.add(isSelected ? ">" : " ", Style::strong);
        if (!entry.item) {
            const bool isFirst = index == 0 && !view_.snapshot().primary; // there is one "◆" at most
            row.add(isFirst ? "◆" : "•", Style::awaiting, 2);
            row.add(mark(entry.request->request.source), Style::plain, markWidth);
            row.skip(1);
            row.add("awaiting", Style::awaiting, displayWidth);
            row.add(entry.request->request.tool.value_or(""), isSelected ? Style::strong : Style::plain);
            return row.take();
        }
        const SnapshotItem& item = *entry.item;
        const SessionRecord& record = *item.record;
        const Snapshot& snapshot = view_.snapshot();
        const bool isPrimary = snapshot.primary && &item == &*snapshot.primary;
        const bool isBubble = !snapshot.bubbles.empty() && &item >= &snapshot.bubbles.front() &&
                              &item <= &snapshot.bubbles.back();
        const bool isLost = !view_.whyDisconnected().empty();
        const Style style = isLost ? Style::faint : styleOf(item);
        row.add(isPrimary ? "◆" : isBubble ? "•" : " ", style, 2);
        row.add(mark(record.source), Style::plain, markWidth);
        row.skip(1);
        row.add(rawValue(item.display), style, displayWidth);
        const std::string since = age(record.stateSince, now_);
        row.skip(ageWidth - std::min(since.size(), ageWidth));
        row.add(since, Style::faint);
        changesAt(nextAgeLook(record.stateSince, now_));
        row.skip(gap);
        const std::string label = itemLabel(record);
        row.add(label, isSelected ? Style::strong : Style::plain, labelWidth_);
        row.skip(gap);
        row.add(activity(record, label), isLost ? Style::faint : Style::plain);
        return row.take();
    }

    std::vector<std::string> details(const Entry& entry) const {
        return entry.item ? FrameTexts::details(*entry.item->record) : std::vector<std::string>();
    }

    // The card.

    static constexpr std::size_t borders = 2; // rows
    static constexpr std::size_t narrowest = 24;

    void layOutCard(std::size_t area, std::size_t entries) {
        const CardState* card = view_.card();
        if (!card || area < 1 + borders + 1 || frame_.size.columns < narrowest) return;
        margin_ = frame_.size.columns < 60 ? 0 : 3;
        cardWidth_ = frame_.size.columns - margin_ - 4;
        rows_.emplace(*card, cardWidth_);
        const std::size_t others = std::min<std::size_t>(entries - 1, area / 6);
        bodyRows_ = std::min(rows_->count(), area - 1 - borders - others);
    }

    std::size_t cardHeight(const Entry& entry) const {
        return rows_ && entry.hasKey(view_.cardEntry()) ? bodyRows_ + borders : 0;
    }

    void drawCard(std::size_t index, std::size_t area) {
        const CardState& card = *view_.card();
        const std::size_t total = rows_->count();
        const std::size_t first = std::min(card.scroll, total - bodyRows_);
        const bool isWhole = skipped_ == 0 && frame_.rows.size() + bodyRows_ + borders <= area;
        const bool isRead = isWhole && card.isReadAfter(cardWidth_, first, bodyRows_, total);
        if (isWhole)
            frame_.card = {.page = card.page(),
                           .request = card.id(),
                           .width = cardWidth_,
                           .first = first,
                           .shown = bodyRows_,
                           .total = total};
        place(area, index, [&] {
            RowWriter row = bordered("╭ ");
            const std::size_t room = row.left() - std::min<std::size_t>(row.left(), 3);
            row.add(card.card().headline, Style::strong, std::min(room, columnsOf(card.card().headline)));
            row.add(" ", Style::border);
            row.fillTo(1, "─", Style::border);
            row.add("╮", Style::border);
            return row.take();
        });
        for (std::size_t line = 0; line < bodyRows_; ++line)
            place(area, index, [&] {
                RowWriter row = bordered("│ ");
                rows_->write(first + line, row);
                row.fillTo(1, " ", Style::plain);
                row.add("│", Style::border);
                return row.take();
            });
        place(area, index, [&] { return cardFoot(card, isRead, total - first - bodyRows_); });
    }

    static std::size_t columnsOf(std::string_view text) { return Unicode::columnCount(drawable(text)); }

    RowWriter bordered(std::string_view sign) const {
        RowWriter row = writer();
        row.skip(margin_);
        row.add(sign, Style::border);
        return row;
    }

    FrameRow cardFoot(const CardState& card, bool isRead, std::size_t below) const {
        const bool isNarrow = frame_.size.columns < 60;
        RowWriter row = bordered("╰ ");
        std::size_t before = 0;
        for (const std::string& offer : offers(card, isRead, below, isNarrow)) {
            if (row.left() < before + columnsOf(offer) + 2) break; // the border
            row.skip(before);
            row.add(offer, Style::strong);
            before = isNarrow ? 2 : 3;
        }
        row.skip(1);
        const auto& requests = view_.snapshot().requests;
        const auto at = std::ranges::find_if(
            requests, [&](const auto& waiting) { return waiting->request.id == card.id(); });
        const std::string place = requests.size() < 2 ? ""
                                                      : " " + std::to_string(at - requests.begin() + 1) +
                                                            " of " + std::to_string(requests.size()) + " ";
        const std::size_t tail = place.size() + 3;
        if (!place.empty() && row.left() > tail) {
            row.fillTo(tail, "─", Style::border);
            row.add(place, Style::border);
        }
        row.fillTo(1, "─", Style::border);
        row.add("╯", Style::border);
        return row.take();
    }

    std::vector<std::string> offers(const CardState& card, bool isRead, std::size_t below,
                                    bool isNarrow) const {
        const RequestCard& offered = card.card();
        if (card.isSent) return {"sent"};
        std::vector<std::string> texts;
        if (!isRead && below > 0)
            texts.push_back("PgDn " + std::to_string(below) + " more lines");
        else if (!isRead)
            texts.emplace_back("PgUp more lines");
        if (offered.allow && isRead) {
            if (!card.isQuestion()) {
                texts.emplace_back("a allow");
                if (offered.always) texts.emplace_back("A always");
            } else {
                const auto& questions = offered.questions;
                texts.push_back("1–" + std::to_string(questions[card.question()].options.size()) + " choose");
                texts.emplace_back("w own words");
                texts.emplace_back(card.question() + 1 == questions.size() ? "Enter send" : "Enter next");
            }
        }
        if (offered.deny) texts.emplace_back("d deny…");
        if (offered.ask) texts.emplace_back(isNarrow ? "t terminal" : "t in its terminal");
        if (card.showsSecrets()) texts.emplace_back("v hide again");
        if (offered.hidesSecrets) texts.emplace_back("v show hidden");
        return texts;
    }

    // Everything else.

    void drawNothing(std::size_t area) {
        const auto lines = FrameTexts::emptyIsland(view_);
        // Too little room: the last lines stay, since they say what the user can do.
        const std::size_t skip = lines.size() > area ? lines.size() - area : 0;
        for (std::size_t index = skip; index < lines.size(); ++index)
            pushText(lines[index]);
    }

    void drawHelp(std::size_t area) {
        const auto lines = FrameTexts::help();
        const std::size_t first = std::min(view_.helpScroll(), lines.size() - std::min(area, lines.size()));
        for (std::size_t index = first; index < lines.size() && frame_.rows.size() < area; ++index)
            pushText(lines[index]);
    }

    void drawNotice(const std::string& notice) {
        const auto mode = view_.mode();
        const bool isTyping = mode != View::Mode::items && mode != View::Mode::help;
        RowWriter row = writer();
        std::string text = " " + drawable(notice);
        if (isTyping) { // its end is what is being typed
            std::size_t columns = Unicode::columnCount(text);
            std::string_view rest = text;
            while (columns + 1 > frame_.size.columns && !rest.empty()) {
                columns -= Unicode::columnCount(Unicode::takeCharacter(rest));
            }
            text = std::string(rest);
            frame_.cursorRow = frame_.rows.size();
            frame_.cursorColumn = columns;
        }
        row.add(text, Style::note);
        push(row.take());
    }

    void drawFooter() {
        constexpr std::string_view keys = "? help   q quit";
        RowWriter row = writer();
        row.skip(1);
        row.add(FrameTexts::counts(view_.snapshot()));
        if (row.left() > keys.size() + 2) {
            row.skip(row.left() - keys.size() - 2);
            row.add(keys, Style::faint);
        }
        push(row.take());
    }

    const View& view_;
    Date now_;
    Frame frame_;
    std::size_t labelWidth_ = 0, selected_ = 0, skipped_ = 0;
    std::size_t margin_ = 0, cardWidth_ = 0, bodyRows_ = 0;
    std::optional<CardRows> rows_;
};

} // namespace

Frame draw(const View& view, ScreenSize size, Date now) {
    return Drawing(view, size, now).take();
}

} // namespace quorvik
