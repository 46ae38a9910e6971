#include "quorvik_island/Terminal/CardRows.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <memory>

namespace quorvik {

namespace {

struct Form {
    std::string_view sign;
    Style style;
};

Form formOf(CardLine::Kind kind) {
    switch (kind) {
    case CardLine::Kind::command: return {"", Style::strong};
    case CardLine::Kind::removed: return {"- ", Style::removed};
    case CardLine::Kind::added: return {"+ ", Style::added};
    case CardLine::Kind::context: return {"  ", Style::plain};
    case CardLine::Kind::note: return {"· ", Style::note};
    case CardLine::Kind::text:
    case CardLine::Kind::member: break;
    }
    return {"", Style::plain};
}

constexpr std::string_view goesOn = "↪ ";

} // namespace

CardRows::CardRows(const CardState& card, std::size_t width) : width_(std::max<std::size_t>(width, 4)) {
    const RequestCard& shown = card.card();
    if (card.isQuestion()) {
        addQuestion(card);
        return;
    }
    for (const CardLine& line : shown.body) {
        const Form form = formOf(line.kind);
        add(line, form.sign, form.style);
    }
    for (const std::string& grant : shown.grants)
        addOwn(grant, "A ");
    if (rows_.empty()) addOwn("(no input)");
}

void CardRows::addOwn(std::string text, std::string_view sign) {
    own_.push_back(
        std::make_unique<CardLine>(CardLine{.kind = CardLine::Kind::note, .text = std::move(text)}));
    add(*own_.back(), sign, Style::note);
}

void CardRows::addQuestion(const CardState& card) {
    const auto& questions = card.card().questions;
    const CardQuestion& question = questions[card.question()];
    if (questions.size() > 1)
        addOwn("question " + std::to_string(card.question() + 1) + " of " + std::to_string(questions.size()));
    for (const CardLine& line : question.text)
        add(line, "", Style::strong);
    for (std::size_t index = 0; index < question.options.size(); ++index) {
        const auto& option = question.options[index];
        const bool isChosen = card.answer().chosen.contains(index);
        std::string text = std::to_string(index + 1) + " ";
        if (question.multiSelect)
            text += isChosen ? "[x] " : "[ ] ";
        else
            text += isChosen ? "(x) " : "( ) ";
        const std::size_t offset = text.size();
        text += option.label.text;
        CardLine line{.text = std::move(text)};
        for (const auto& range : option.label.escapes)
            line.escapes.push_back({range.begin + offset, range.end + offset});
        if (!option.description.text.empty()) {
            line.text += " — ";
            const std::size_t after = line.text.size();
            line.text += option.description.text;
            for (const auto& range : option.description.escapes)
                line.escapes.push_back({range.begin + after, range.end + after});
        }
        own_.push_back(std::make_unique<CardLine>(std::move(line)));
        add(*own_.back(), "", isChosen ? Style::strong : Style::plain);
    }
    if (card.answer().own) addOwn("w (x) " + drawable(*card.answer().own));
}

void CardRows::add(const CardLine& line, std::string_view sign, Style style) {
    std::size_t begin = 0;
    std::string_view before = sign;
    do {
        const std::string_view rest = std::string_view(line.text).substr(begin);
        const std::size_t room = width_ - std::min(Unicode::columnCount(before), width_ - 2);
        std::size_t length = Unicode::firstColumns(rest, room).size();
        if (length == 0 && !rest.empty()) { // cannot be: a character has two columns at most
            std::string_view character = rest;
            length = Unicode::takeCharacter(character).size();
        }
        const bool isProse = line.kind == CardLine::Kind::text || line.kind == CardLine::Kind::note;
        if (isProse && length < rest.size()) {
            const std::size_t blank = rest.substr(0, length).find_last_of(' ');
            if (blank != rest.npos && blank > length / 2) length = blank + 1;
        }
        rows_.push_back({&line, begin, begin + length, before, style});
        begin += length;
        before = isProse ? (sign.empty() ? std::string_view("") : std::string_view("  ")) : goesOn;
    } while (begin < line.text.size());
}

void CardRows::write(std::size_t index, RowWriter& writer) const {
    const Row& row = rows_[index];
    const std::string_view text = row.line->text;
    if (!row.sign.empty()) writer.add(row.sign, row.sign == goesOn ? Style::border : row.style);
    std::size_t at = row.begin;
    while (at < row.end) {
        std::size_t next = row.end;
        Style style = row.style;
        for (const auto* ranges : {&row.line->escapes, &row.line->hidden}) {
            const auto range = std::ranges::upper_bound(*ranges, at, {}, &VisibleText::Range::end);
            if (range == ranges->end()) continue;
            if (range->begin <= at) {
                next = std::min(row.end, range->end);
                style = Style::hidden;
                break;
            }
            next = std::min(next, range->begin);
        }
        writer.add(text.substr(at, next - at), style);
        at = next;
    }
}

} // namespace quorvik
