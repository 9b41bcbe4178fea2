#include "graph/views/Corvane_Cursors.h"

using namespace VSTGUI;

const Corvane_CursorEntry corvaneCursorTable[corvaneCursorCount] = {
    {9000, kCursorCopy, "pencil: draw lines, curves and notes"},
    {9001, kCursorCopy, "arrow with plus: copy a point"},
    {9002, kCursorCopy, "arrow with plus: copy a segment"},
    {9003, kCursorSizeAll, "arrow over a point: move it"},
    {9004, kCursorSizeAll, "arrow over a segment: move it"},
    {9005, kCursorHSize, "double arrow: drag a note's edge"},
    {9006, kCursorDefault, "scissors: cut"},
    {9007, kCursorSizeAll, "magnifier: zoom band"},
    {9008, kCursorDefault, "magnifier with plus: zoom in"},
    {9009, kCursorDefault, "magnifier with minus: zoom out"},
    {9010, kCursorIBeam, "I-beam: select a range"},
    {9011, kCursorHand, "closed hand: scrolling"},
    {9012, kCursorHSize, "bar with arrows: move a time point"},
    {9013, kCursorHSize, "bracket with arrows: move a time region"},
    {9014, kCursorCopy, "arrow with clipboard: paste"},
};

const Corvane_CursorEntry* corvaneCursorEntry(uint32_t id)
{
    if (id < corvaneFirstCursorId || id >= corvaneFirstCursorId + corvaneCursorCount) return nullptr;
    return &corvaneCursorTable[id - corvaneFirstCursorId];
}

Corvane_CursorSet::Corvane_CursorSet()
{
    for (uint32_t i = 0; i < corvaneCursorCount; ++i) {
        auto bitmap = owned(new CBitmap(CResourceDescription(int32_t(corvaneCursorTable[i].id))));
        if (bitmap->isLoaded()) bitmaps[i] = bitmap;
    }
}

CBitmap* Corvane_CursorSet::find(uint32_t id, CPoint& hotSpot) const
{
    const Corvane_CursorEntry* entry = corvaneCursorEntry(id);
    if (!entry) return nullptr;
    CBitmap* bitmap = bitmaps[id - corvaneFirstCursorId];
    const Corvane_CursorHotSpot& spot = corvaneCursorHotSpots[id - corvaneFirstCursorId];
    if (bitmap) hotSpot = CPoint(spot.x, spot.y);
    return bitmap;
}

uint32_t Corvane_CursorSet::loadedCount() const
{
    uint32_t n = 0;
    for (const auto& b : bitmaps) n += b ? 1 : 0;
    return n;
}
