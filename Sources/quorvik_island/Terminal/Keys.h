#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace quorvik {

/// One key, or one movement of the mouse.
struct Key {
    /// The character itself ("a", "ä"), or "Up" "Down" "Left" "Right" "PgUp" "PgDn" "Home" "End" "Enter"
    /// "Esc" "Tab" "Backspace" "Delete" "Ctrl-L" … "Click" "WheelUp" "WheelDown".
    std::string name;
    std::size_t row = 0, column = 0; ///< of the mouse
    bool isPasted = false;           ///< part of a text that was pasted: never a command
};

enum class KeyAction {
    up,
    down,
    first,
    last,
    pageUp,
    pageDown,
    unfold,
    fold,
    allow,
    always,
    deny,
    ask,
    choose,
    ownWords,
    confirm,
    back,
    nextRequest,
    previousRequest,
    secrets,
    acknowledge,
    pick,
    open,
    filter,
    refresh,
    redraw,
    mouse,
    connect,
    example,
    suspend,
    help,
    quit
};

/// Where a key has its meaning. A rule of a narrower place goes before one of `everywhere`.
enum class KeyPlace { permission, question, sheet, firstRun, everywhere };

/// One row of the table of keys, by which keys are understood and the help is made.
struct KeyRule {
    KeyPlace place;
    KeyAction action;
    std::array<std::string_view, 6> keys; ///< unused ones are empty
    std::string_view shown;               ///< "j ↓"
    std::string_view meaning;             ///< a few words; empty: not in the help
};

std::span<const KeyRule> keyRules();

/// The rule for the key in that place; null when the key means nothing there.
const KeyRule* keyRule(std::string_view key, KeyPlace place);

/// The heading of a place's keys in the help.
std::string_view heading(KeyPlace place);

} // namespace quorvik
