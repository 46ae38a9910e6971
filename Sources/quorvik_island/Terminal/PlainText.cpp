#include "quorvik_island/Terminal/PlainText.h"

#include "quorvik_island/Terminal/Frame.h"

#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

std::string sentence(const SnapshotItem& item) {
    const SessionRecord& record = *item.record;
    std::string text(displayName(record.source));
    text += ", " + itemLabel(record) + ": " + std::string(rawValue(item.display));
    if (record.summary && !record.summary->empty()) text += ", " + *record.summary;
    return drawable(text);
}

std::string_view signOf(CardLine::Kind kind) {
    switch (kind) {
    case CardLine::Kind::removed: return "removed: ";
    case CardLine::Kind::added: return "added: ";
    case CardLine::Kind::context: return "stays: ";
    case CardLine::Kind::command: return "command: ";
    default: return "";
    }
}

std::optional<std::size_t> numberOf(std::string_view text) {
    const auto number = Number::integer<std::int64_t>(text);
    if (!number || *number < 0) return std::nullopt;
    return static_cast<std::size_t>(*number);
}

} // namespace

std::vector<std::string> changesInWords(const Snapshot& before, const Snapshot& after) {
    std::map<std::string, const SnapshotItem*> known;
    for (const SnapshotItem* item : before.items())
        known.emplace(item->id(), item);
    std::vector<std::string> lines;
    for (const SnapshotItem* item : after.items()) {
        const auto found = known.find(item->id());
        const bool isNew = found == known.end();
        if (isNew || found->second->display != item->display) lines.push_back(sentence(*item));
        if (!isNew) known.erase(found);
    }
    for (const auto& [key, item] : known)
        lines.push_back(drawable(std::string(displayName(item->record->source)) + ", " +
                                 itemLabel(*item->record) + ": gone"));
    return lines;
}

std::vector<PlainRequest::Choice> PlainRequest::choices() const {
    const RequestCard& card = card_.card();
    std::vector<Choice> choices;
    const bool isHidden = card.hidesSecrets && !card_.showsSecrets(); // nothing unseen is allowed
    if (isHidden) choices.push_back(Choice::showHidden);
    if (card.allow && !isHidden && !card_.isQuestion()) choices.push_back(Choice::allow);
    if (card.always && !isHidden && !card_.isQuestion()) choices.push_back(Choice::always);
    if (card.deny) choices.push_back(Choice::deny);
    if (card.ask) choices.push_back(Choice::ask);
    return choices;
}

std::vector<std::string> PlainRequest::lines() const {
    const RequestCard& card = card_.card();
    std::vector<std::string> lines;
    std::size_t number = 0;
    const auto put = [&](std::string_view text) {
        lines.push_back("  " + std::to_string(++number) + " " + std::string(text));
    };
    if (card_.question() == 0) lines.push_back(card.headline + ".");
    if (card_.isQuestion()) {
        const CardQuestion& question = card.questions[card_.question()];
        for (const CardLine& line : question.text)
            lines.push_back(line.text);
        if (card.allow)
            for (const auto& option : question.options)
                put(option.label.text +
                    (option.description.text.empty() ? "" : ": " + option.description.text));
    }
    for (const CardLine& line : card.body)
        lines.push_back("  " + std::string(signOf(line.kind)) + line.text);
    if (!card.allow) lines.push_back("It cannot be allowed here: " + card.whyNoAllow + ".");
    for (const Choice choice : choices()) {
        switch (choice) {
        case Choice::showHidden: put("show what is hidden, then it may be allowed"); break;
        case Choice::allow: put("allow"); break;
        case Choice::always: {
            std::string text = "allow always, that is:";
            for (const std::string& grant : card.grants)
                text += (&grant == &card.grants.front() ? " " : "; ") + grant;
            put(text);
            break;
        }
        case Choice::deny: put("deny; a reason may follow the number"); break;
        case Choice::ask: put("answer in its terminal"); break;
        }
    }
    if (card_.isQuestion() && card.allow) {
        const bool many = card.questions[card_.question()].multiSelect;
        lines.push_back(many ? "Type numbers with commas between them, or = and your own words:"
                             : "Type a number, or = and your own words:");
    } else {
        lines.emplace_back("Type a number:");
    }
    for (std::string& line : lines)
        line = drawable(line);
    return lines;
}

std::optional<ApprovalResponse> PlainRequest::take(std::string_view typed, std::string& problem) {
    problem.clear();
    typed = Unicode::trimmed(typed, Unicode::isWhitespaceOrNewline);
    const RequestCard& card = card_.card();
    const bool answers = card_.isQuestion() && card.allow;
    const std::size_t options = answers ? card.questions[card_.question()].options.size() : 0;
    const auto next = [&]() -> std::optional<ApprovalResponse> {
        if (card_.goOn()) return std::nullopt;
        return ApprovalResponse{.decision = ApprovalDecision::allow, .answers = card_.answers()};
    };
    if (answers && typed.starts_with('=')) {
        const auto words = Unicode::trimmed(typed.substr(1), Unicode::isWhitespace);
        if (words.empty()) {
            problem = "No words.";
            return std::nullopt;
        }
        card_.answerWith(std::string(words));
        return next();
    }

    const std::size_t digits = std::min(typed.find_first_not_of("0123456789"), typed.size());
    const auto number = numberOf(typed.substr(0, digits));
    const auto rest = Unicode::trimmed(typed.substr(digits), Unicode::isWhitespace);
    const auto choices = this->choices();
    if (number && *number > options && *number <= options + choices.size()) {
        switch (choices[*number - options - 1]) {
        case Choice::deny: {
            ApprovalResponse response{.decision = ApprovalDecision::deny};
            if (!rest.empty()) response.message = std::string(rest);
            return response;
        }
        case Choice::showHidden:
            if (!rest.empty()) break;
            card_.toggleSecrets();
            return std::nullopt;
        case Choice::allow:
            if (rest.empty()) return ApprovalResponse{.decision = ApprovalDecision::allow};
            break;
        case Choice::always:
            if (rest.empty()) return ApprovalResponse{.decision = ApprovalDecision::allowAlways};
            break;
        case Choice::ask:
            if (rest.empty()) return ApprovalResponse{.decision = ApprovalDecision::ask};
            break;
        }
        problem = "Nothing may follow that number.";
        return std::nullopt;
    }

    // The numbers of options.
    std::set<std::size_t> chosen;
    for (std::string_view left = typed; !left.empty();) {
        const std::size_t comma = std::min(left.find(','), left.size());
        const auto one = numberOf(Unicode::trimmed(left.substr(0, comma), Unicode::isWhitespace));
        if (!one || *one < 1 || *one > options) {
            chosen.clear();
            break;
        }
        chosen.insert(*one - 1);
        left.remove_prefix(std::min(comma + 1, left.size()));
    }
    const bool many = answers && card.questions[card_.question()].multiSelect;
    if (chosen.empty() || (chosen.size() > 1 && !many)) {
        problem = "That is none of the choices.";
        return std::nullopt;
    }
    for (const std::size_t option : chosen)
        if (!card_.answer().chosen.contains(option)) card_.choose(option);
    return next();
}

} // namespace quorvik
