#pragma once

#include <cstdint>

// The hot spots of the custom cursors 9000 to 9014, in pixels from the
// top-left of their 24 x 24 pictures: one table for the program that draws
// the pictures and for the views that hand them to the window.
struct Corvane_CursorHotSpot {
    uint32_t id;
    int32_t x, y;
};

constexpr int32_t corvaneCursorSize = 24;
constexpr uint32_t corvaneFirstCursorId = 9000;
constexpr uint32_t corvaneCursorCount = 15;

constexpr Corvane_CursorHotSpot corvaneCursorHotSpots[corvaneCursorCount] = {
    {9000, 2, 21},   // pencil, at its tip
    {9001, 3, 2},    // arrow with plus, at the arrow's tip
    {9002, 3, 2},    // arrow with plus over a segment
    {9003, 3, 2},    // arrow over a point
    {9004, 3, 2},    // arrow over a segment
    {9005, 12, 12},  // double arrow across
    {9006, 12, 12},  // scissors
    {9007, 9, 9},    // magnifier, at the lens's centre
    {9008, 9, 9},    // magnifier with plus
    {9009, 9, 9},    // magnifier with minus
    {9010, 12, 12},  // I-beam
    {9011, 12, 12},  // closed hand
    {9012, 12, 12},  // bar with arrows
    {9013, 12, 12},  // bracket with arrows
    {9014, 3, 2},    // arrow with clipboard
};
