#pragma once

#include <cstdint>

// The commands that the number keys of the panel can run, in the order of
// the options dialog's pop-up menus: a row's index is what the preferences
// store for a key. Rows whose text begins with "-" are separators.
struct Corvane_KeyCommand {
    enum Action : uint8_t {
        kNone,      // separators and "<none selected>"
        kPress,     // a button's press and release
        kToggle,    // a two-state parameter flips
        kSetValue,  // the parameter takes `value` (a tool)
        kStepUp,    // the parameter moves one step up its range
        kStepDown,  // and down
    };
    const char* text;
    int32_t parameter; // -1 for none
    Action action;
    double value;
};

constexpr int corvane_key_command_count = 56;
extern const Corvane_KeyCommand corvane_key_commands[corvane_key_command_count];

// The commands of the keys "1" to "9" and "0", in that order, until the
// preferences give others: the ten tools.
extern const int32_t corvane_default_key_bindings[10];
