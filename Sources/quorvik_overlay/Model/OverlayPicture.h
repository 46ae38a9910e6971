#pragma once

#include "QuorvikApp/FrontEnds/CardState.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// What the overlay looks like.
enum class OverlayShape {
    hidden, ///< nothing is going on
    pill,   ///< one line: the most urgent item, and the next ones as dots
    list,   ///< all items
    card    ///< a request, with everything that it takes to decide
};

/// How urgent something looks; a sign says the same without a colour.
enum class Tone { awaiting, quiet, failed, working, done, faint };

/// Something that a button, a row or a key demands.
enum class Press {
    allow,
    always,
    deny,        ///< asks for the reason first; the second time it denies
    ask,         ///< in the agent's own terminal
    secrets,     ///< shows what is hidden, or hides it again
    choose,      ///< an option of the question; takes its index
    confirm,     ///< the next question; after the last one: sends the answers
    back,        ///< the question before
    nextRequest, ///< another request that waits
    fold,        ///< the card or the list becomes the pill; first takes a reason back
    unfold,      ///< the pill becomes the card of what waits, else the list
};

/// One item, or a request whose session has no item. All texts are on one line and drive no terminal; they
/// come from agents, and may be of any script and length.
struct ItemPicture {
    std::string key;     ///< of the item, or "request:" and the request's id
    std::string request; ///< id of the request that waits there; empty when there is none
    std::string mark;    ///< "CC"
    std::string source;  ///< "Claude Code"
    std::string state;   ///< "awaiting"
    std::string sign;    ///< "?", one character
    std::string age;     ///< "8 s"; empty for a request without an item
    std::string label;
    std::string activity; ///< may be empty
    Tone tone = Tone::working;

    /// The whole of it in words, for assistive technology: "Claude Code, awaiting, 8 s: Fix the login bug".
    std::string spoken() const;
};

struct ButtonPicture {
    Press press{};
    std::string text;  ///< "Allow"
    std::string key;   ///< that does the same: "a"; empty when there is none
    std::string about; ///< what it does, for assistive technology and as a tip
    bool isEnabled = true;
};

/// A request's card. Pointers are valid until the model hears of something.
struct CardPicture {
    std::string page;     ///< names what the card shows; another page is another content
    std::string request;  ///< id
    std::string headline; ///< one line of 400 characters at most
    const std::vector<CardLine>* body = nullptr; ///< null for a question
    const CardQuestion* question = nullptr;      ///< null for a permission
    CardState::Answer answer;                    ///< of the question
    std::string place;                           ///< "1 of 2" questions; empty for a single one
    std::vector<std::string> grants;             ///< what "Always" keeps, a sentence each
    std::vector<ButtonPicture> buttons;
    std::string note;           ///< why something cannot be done, or what was refused; may be empty
    std::string others;         ///< "1 of 3" requests; empty for a single one
    bool opensByItself = false; ///< the user has not asked for it
    bool asksWhyNot = false;    ///< a field for the reason is shown
};

struct OverlayPicture {
    OverlayShape shape = OverlayShape::hidden;
    std::optional<ItemPicture> primary; ///< of the pill and the card; absent: `notice` stands in its place
    std::vector<ItemPicture> bubbles;   ///< of the pill and the card
    std::string more;                   ///< what the pill has no room for: "+3"; may be empty
    std::vector<ItemPicture> rows;      ///< of the list
    std::string moreRows;               ///< what the list has no room for: "3 more"; may be empty
    std::optional<CardPicture> card;
    std::string notice;             ///< what does not work, or that nothing is going on; may be empty
    bool isConnected = true;        ///< else everything is as it was last seen
    std::optional<Date> nextChange; ///< when an age or the notice changes by itself
};

} // namespace quorvik
