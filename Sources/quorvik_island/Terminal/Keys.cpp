#include "quorvik_island/Terminal/Keys.h"

#include <algorithm>

namespace quorvik {

namespace {

using enum KeyPlace;

constexpr KeyRule table[] = {
    {permission, KeyAction::allow, {"a"}, "a", "allow it this once"},
    {permission, KeyAction::always, {"A"}, "A", "allow, and keep the rules that the card tells"},
    {permission, KeyAction::deny, {"d"}, "d", "deny it; you may say why"},
    {permission, KeyAction::ask, {"t"}, "t", "answer in the agent's own terminal"},
    {permission, KeyAction::secrets, {"v"}, "v", "show what is hidden, or hide it again"},
    {question, KeyAction::choose, {"1", "2", "3", "4", "5", "6"}, "1–6", "choose; again: not"},
    {question, KeyAction::ownWords, {"w"}, "w", "answer in your own words"},
    {question, KeyAction::confirm, {"Enter"}, "Enter", "go on; after the last question: send"},
    {question, KeyAction::back, {"Left", "h"}, "h ←", "back to the question before"},
    {question, KeyAction::deny, {"d"}, "d", "refuse to answer; you may say why"},
    {question, KeyAction::ask, {"t"}, "t", "answer in the agent's own terminal"},
    {sheet,
     KeyAction::unfold,
     {"Enter", "Right", "l", "Click"},
     "Enter →",
     "what differs in the file; do it"},
    {sheet, KeyAction::fold, {"Esc", "Left", "h"}, "Esc ←", "back, and from the first to the list"},
    {firstRun, KeyAction::connect, {"c"}, "c", "connect the agents that are here"},
    {firstRun, KeyAction::example, {"d"}, "d", "show a moving example"},
    {everywhere, KeyAction::down, {"j", "Down", "WheelDown"}, "j ↓", "down"},
    {everywhere, KeyAction::up, {"k", "Up", "WheelUp"}, "k ↑", "up"},
    {everywhere, KeyAction::first, {"g", "Home"}, "g", "to the first"},
    {everywhere, KeyAction::last, {"G", "End"}, "G", "to the last"},
    {everywhere, KeyAction::pageDown, {"PgDn", "Ctrl-D", " "}, "PgDn", "read on in the card; a page down"},
    {everywhere, KeyAction::pageUp, {"PgUp", "Ctrl-U"}, "PgUp", "back in the card; a page up"},
    {everywhere,
     KeyAction::unfold,
     {"Enter", "Right", "l", "Click"},
     "Enter →",
     "unfold; Enter on changes of git's: their files"},
    {everywhere, KeyAction::fold, {"Esc"}, "Esc", "fold; leave the filter"},
    {everywhere, KeyAction::nextRequest, {"n", "Tab"}, "n", "the next request that waits"},
    {everywhere, KeyAction::previousRequest, {"N"}, "N", "the one before"},
    {everywhere, KeyAction::acknowledge, {"x"}, "x", "seen: off the island with it"},
    {everywhere, KeyAction::pick, {"p"}, "p", "pick for the notch; on the first: unpick"},
    {everywhere, KeyAction::open, {"o"}, "o", "open its terminal, log or page"},
    {everywhere, KeyAction::filter, {"/"}, "/", "show only what holds a word"},
    {everywhere, KeyAction::refresh, {"r"}, "r", "refresh; start the app if it does not run"},
    {everywhere, KeyAction::redraw, {"Ctrl-L"}, "Ctrl-L", "draw the screen anew"},
    {everywhere, KeyAction::mouse, {"m"}, "m", "leave the mouse to the terminal, or take it"},
    {everywhere, KeyAction::suspend, {"Ctrl-Z"}, "Ctrl-Z", "back to the shell; fg returns"},
    {everywhere, KeyAction::help, {"?"}, "?", "this help"},
    {everywhere, KeyAction::quit, {"q", "Ctrl-C"}, "q", "quit"},
};

} // namespace

std::span<const KeyRule> keyRules() {
    return table;
}

const KeyRule* keyRule(std::string_view key, KeyPlace place) {
    for (const KeyPlace wanted : {place, everywhere}) {
        const auto found = std::ranges::find_if(table, [&](const KeyRule& rule) {
            return rule.place == wanted && std::ranges::find(rule.keys, key) != rule.keys.end();
        });
        if (found != std::end(table)) return found;
    }
    return nullptr;
}

std::string_view heading(KeyPlace place) {
    switch (place) {
    case permission: return "A permission";
    case question: return "A question";
    case sheet: return "Changes in git, and what was copied";
    case firstRun: return "As long as no agent is connected";
    case everywhere: break;
    }
    return "Everywhere";
}

} // namespace quorvik
