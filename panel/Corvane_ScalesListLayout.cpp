#include "panel/Corvane_ScalesListLayout.h"

namespace {

// The columns across the list, left to right, by Corvane_ListColumn.
struct ColumnSpan {
    double left, right;
};
constexpr ColumnSpan columns[] = {
    {0, 52},    // name
    {52, 104},  // cents
    {104, 154}, // bypass
    {154, 204}, // remove
};

// The side of a mark box, centred in its cell.
constexpr double boxSize = 14;

bool isMark(Corvane_ListColumn column)
{
    return column == Corvane_ListColumn::bypass || column == Corvane_ListColumn::remove;
}

} // namespace

Corvane_ListRect Corvane_ListCell(int visibleRow, Corvane_ListColumn column)
{
    if (visibleRow < 0 || visibleRow >= corvane_list::visibleRows) return Corvane_ListRect{0, 0, 0, 0};
    const ColumnSpan& span = columns[int(column)];
    const double top = corvane_list::headingHeight + visibleRow * corvane_list::rowHeight;
    const Corvane_ListRect cell{span.left, top, span.right, top + corvane_list::rowHeight};
    if (!isMark(column)) return cell;
    const double x = (cell.left + cell.right - boxSize) / 2;
    const double y = (cell.top + cell.bottom - boxSize) / 2;
    return Corvane_ListRect{x, y, x + boxSize, y + boxSize};
}

Corvane_ListRect Corvane_ListHeading(Corvane_ListColumn column)
{
    const ColumnSpan& span = columns[int(column)];
    return Corvane_ListRect{span.left, 0, span.right, corvane_list::headingHeight};
}
