#include "quorvik_island/Terminal/Sheet.h"

#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Text/VisibleText.h"

#include <algorithm>

namespace quorvik {

namespace {

/// "old → new", or the only path.
std::string pathText(const std::optional<std::string>& oldPath, const std::string& path) {
    return oldPath ? *oldPath + " → " + path : path;
}

std::string_view statusText(const FileChange& file) {
    switch (file.status) {
    case FileChange::Status::added: return "added";
    case FileChange::Status::deleted: return "deleted";
    case FileChange::Status::renamed: return "renamed";
    case FileChange::Status::copied: return "copied";
    case FileChange::Status::typeChanged: return "of another type now";
    case FileChange::Status::unmerged: return "not merged";
    case FileChange::Status::modified: break;
    }
    return "";
}

/// The text with what would deceive the eye as escapes, and with blanks up to the next stop for each tab.
std::string lineText(std::string_view text) {
    constexpr std::size_t stop = 4; // columns
    std::string shown;
    for (;;) {
        const std::size_t tab = std::min(text.find('\t'), text.size());
        const std::string piece = VisibleText::shown(text.substr(0, tab));
        shown += piece;
        if (tab == text.size()) return shown;
        shown.append(stop - Unicode::columnCount(piece) % stop, ' '); // the piece begins at a stop
        text.remove_prefix(tab + 1);
    }
}

std::string padded(const std::optional<std::int64_t>& number, std::size_t width) {
    const std::string digits = number ? std::to_string(*number) : "";
    return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

struct Form {
    std::string_view sign;
    Style style;
};

Form formOf(DiffLine::Kind kind) {
    switch (kind) {
    case DiffLine::Kind::added: return {"+", Style::added};
    case DiffLine::Kind::removed: return {"−", Style::removed};
    case DiffLine::Kind::hunk: return {"", Style::strong};
    case DiffLine::Kind::note: return {"\\", Style::note};
    case DiffLine::Kind::context: break;
    }
    return {" ", Style::plain};
}

} // namespace

void Sheets::open(Sheet::Kind kind, std::string item, std::string label) {
    label_ = std::move(label);
    open_ = {{.kind = kind, .item = std::move(item), .title = label_}};
    drawnRows_.clear();
}

bool Sheets::openSelected() {
    const Sheet& files = upper();
    if (files.selected >= files.rows.size() || files.rows[files.selected].opens.empty()) return false;
    const Sheet::Row& row = files.rows[files.selected];
    Sheet sheet{.kind = Sheet::Kind::difference,
                .item = files.item,
                .path = row.opens,
                .title = row.text,
                .to = files.to};
    open_.push_back(std::move(sheet));
    drawnRows_.clear();
    return true;
}

std::string Sheets::selectedAction() const {
    const Sheet& sheet = upper();
    return sheet.selected < sheet.rows.size() ? sheet.rows[sheet.selected].action : "";
}

void Sheets::close() {
    open_.pop_back();
    drawnRows_.clear();
}

bool Sheets::fail() {
    if (!isOpen() || !upper().isWaiting) return false;
    close();
    return true;
}

void Sheets::fill(const nlohmann::json& reply) {
    if (!isOpen() || !upper().isWaiting) return;
    switch (upper().kind) {
    case Sheet::Kind::files: fillFiles(ItemChanges::fromJSON(reply)); break;
    case Sheet::Kind::difference: fillDiff(diffFromJSON(reply)); break;
    case Sheet::Kind::clipboard: fillClipboard(reply); break;
    }
    open_.back().isWaiting = false;
    drawnRows_.clear();
}

void Sheets::fillFiles(const ItemChanges& changes) {
    Sheet& sheet = open_.back();
    sheet.title = label_ + ": " + GitRecords::counts(changes.set);
    sheet.to = changes.range.to.value_or("");
    for (const FileChange& file : changes.set.files) {
        Sheet::Row row{.text = pathText(file.oldPath, file.path), .opens = file.path};
        if (file.isBinary)
            row.tail = {{"(binary)", Style::plain}};
        else
            row.tail = {{"+" + std::to_string(file.added), Style::added},
                        {" −" + std::to_string(file.removed), Style::removed}};
        if (const std::string_view status = statusText(file); !status.empty())
            row.tail.push_back({"  " + std::string(status)});
        if (file.isSubmodule) row.tail.push_back({"  (submodule)"});
        sheet.rows.push_back(std::move(row));
    }
    const auto left = changes.set.fileCount - static_cast<std::int64_t>(changes.set.files.size());
    if (left > 0) sheet.rows.push_back({"… and " + std::to_string(left) + " more", Style::note});
}

void Sheets::fillDiff(const FileDiff& diff) {
    Sheet& sheet = open_.back();
    const auto add = [&](std::string text) { sheet.rows.push_back({std::move(text), Style::note}); };
    for (const std::string& note : diff.notes)
        add(lineText(note));
    std::int64_t highest = 0;
    for (const DiffLine& line : diff.lines)
        highest = std::max({highest, line.oldNumber.value_or(0), line.newNumber.value_or(0)});
    const std::size_t width = std::to_string(highest).size();
    for (const DiffLine& line : diff.lines) {
        const Form form = formOf(line.kind);
        Sheet::Row row{.text = lineText(line.text), .style = form.style};
        if (!form.sign.empty())
            row.before = padded(line.oldNumber, width) + " " + padded(line.newNumber, width) + " " +
                         std::string(form.sign) + " ";
        sheet.rows.push_back(std::move(row));
    }
    if (diff.isBinary) add("a binary file, which has no lines");
    if (diff.isShortened) add("… the rest is left out");
    if (sheet.rows.empty()) add("no line differs");
}

void Sheets::fillClipboard(const nlohmann::json& reply) {
    std::optional<std::string> text;
    bool canBeCopied = false;
    const RecordReader reader(reply);
    reader.optional("text", text);
    reader.required("canBeCopied", canBeCopied);
    Sheet& sheet = open_.back();
    if (canBeCopied)
        sheet.rows.push_back({.text = "Copy this instead", .style = Style::strong, .action = "copy"});
    sheet.rows.push_back({.text = "Empty the clipboard", .style = Style::strong, .action = "clear"});
    for (std::string_view rest = text ? std::string_view(*text) : ""; !rest.empty();)
        sheet.rows.push_back({.text = lineText(Unicode::takeLine(rest))});
    if (!text) sheet.rows.push_back({"It is neither kept nor shown.", Style::note});
}

void Sheets::select(std::size_t row) {
    Sheet& sheet = open_.back();
    sheet.selected = std::min(row, std::max<std::size_t>(sheet.rows.size(), 1) - 1);
}

void Sheets::move(long rows) {
    const long at = static_cast<long>(upper().selected) + rows;
    select(static_cast<std::size_t>(std::max(at, 0L)));
}

void Sheets::movePage(bool forward) {
    const long step = static_cast<long>(std::max<std::size_t>(shown_, 2)) - 1; // a row stays in view
    Sheet& sheet = open_.back();
    const long top = static_cast<long>(sheet.top) + (forward ? step : -step);
    sheet.top = static_cast<std::size_t>(std::max(top, 0L)); // a frame takes it back where that is too far
    move(forward ? step : -step);
}

void Sheets::drawn(const Frame& frame) {
    drawnRows_.clear();
    if (!isOpen() || !frame.sheet) return;
    open_.back().top = frame.sheet->top;
    shown_ = std::max<std::size_t>(frame.sheet->shown, 1);
    drawnRows_ = frame.entryOfRow;
}

bool Sheets::click(std::size_t screenRow) {
    if (screenRow >= drawnRows_.size() || drawnRows_[screenRow] == Frame::noEntry) return false;
    const bool wasSelected = drawnRows_[screenRow] == upper().selected;
    select(drawnRows_[screenRow]);
    return wasSelected;
}

} // namespace quorvik
