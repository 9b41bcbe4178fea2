#pragma once

#include <cstdint>

#include "graph/views/Corvane_CursorHotSpots.h"
#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cview.h"

// The custom cursors of the graph tools: ids 9000 to 9014, each a picture
// of the bundle's resources under its numeric id (the resource "bmp09000.png"
// for 9000, as integer resource ids resolve) with its hot spot, and
// the system cursor that stands in for it when the user has turned custom
// cursors off.
struct Corvane_CursorEntry {
    uint32_t id;
    VSTGUI::CCursorType system;
    const char* meaning;
};

// Rows in id order: row i holds id 9000 + i.
extern const Corvane_CursorEntry corvaneCursorTable[corvaneCursorCount];

// The row of an id, or null for an id outside 9000..9014.
const Corvane_CursorEntry* corvaneCursorEntry(uint32_t id);

// The pictures of the cursors, loaded from the bundle's resources. An id
// whose picture is missing has no bitmap.
//
// Every operation: interface thread.
class Corvane_CursorSet {
public:
    // Loads every picture the resources hold.
    Corvane_CursorSet();
    // The picture of an id, or null; `hotSpot` receives its hot spot.
    VSTGUI::CBitmap* find(uint32_t id, VSTGUI::CPoint& hotSpot) const;
    // Pictures that loaded.
    uint32_t loadedCount() const;

private:
    VSTGUI::SharedPointer<VSTGUI::CBitmap> bitmaps[corvaneCursorCount];
};
