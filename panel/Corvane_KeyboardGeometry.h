#pragma once

// The shapes of the 78 keys of the on-screen keyboard (MIDI notes 19 to 96:
// 46 white keys, 32 black ones), for a keyboard of a given size in pixels.
// The keyboard view hit-tests and copies by these rectangles, and the
// picture program draws the keyboard pictures by the same ones, so the two
// always agree.
//
// A white key is two rectangles: the narrow part between the black keys
// (upper) and the full-width part in front of them (lower). No rectangle of
// one key overlaps another key's: every key keeps one pixel clear of its
// neighbours, and that clearance belongs to no key, so that a hit test with
// the edges included never finds two keys. Coordinates are relative to the
// keyboard's top left corner; right and bottom edges are exclusive.

struct Corvane_KeyRect {
    double left, top, right, bottom;
};

struct Corvane_KeyShape {
    bool black;
    // A black key's rectangle is `upper`; its `lower` is empty.
    Corvane_KeyRect upper;
    Corvane_KeyRect lower;
};

constexpr int corvane_keyboard_keys = 78;
constexpr int corvane_keyboard_lowest_note = 19;
constexpr int corvane_keyboard_white_keys = 46;

// True for the black keys' pitch classes (C is 0).
bool Corvane_IsBlackPitchClass(int pitchClass);

// The shapes of all keys by key index (note - 19) for a keyboard of
// width x height pixels. Any thread.
void Corvane_KeyboardLayout(double width, double height, Corvane_KeyShape (&keys)[corvane_keyboard_keys]);
