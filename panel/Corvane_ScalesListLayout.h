#pragma once

// The layout of the scales list, in pixels relative to the list's top left
// corner: a heading row, then the visible rows, each with the note's name,
// its pitch in cents and two mark boxes, "Bypass" and "Remove". The list
// view hit-tests and copies by these rectangles, and the picture program
// draws the list's pictures by the same ones.

struct Corvane_ListRect {
    double left, top, right, bottom;
};

namespace corvane_list {
constexpr double width = 204;
constexpr double height = 258;
constexpr double headingHeight = 18;
constexpr double rowHeight = 20;
constexpr int visibleRows = 12;
} // namespace corvane_list

enum class Corvane_ListColumn { name, cents, bypass, remove };

// The cell of a visible row (0 for the topmost shown) in a column; the mark
// columns give the box itself, smaller than the cell. Any thread.
Corvane_ListRect Corvane_ListCell(int visibleRow, Corvane_ListColumn column);
// The heading's cell of a column.
Corvane_ListRect Corvane_ListHeading(Corvane_ListColumn column);
