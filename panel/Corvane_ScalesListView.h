#pragma once

#include <cstdint>

#include "vstgui/lib/cview.h"

namespace VSTGUI {
class UIAttributes;
class IUIDescription;
} // namespace VSTGUI

class Corvane_PanelOwner;
class Scale_State;

// The table of the Auto-mode page: one row per note of the scale object's
// current scale, with the note's name, its pitch above the key in whole
// cents and two marks, bypassed and removed. Twelve rows show at a time;
// the scale arrows step the first row shown. A click on a row's mark box
// toggles that mark (setting one clears the other), mirrors the row's new
// state on the keyboard's column and tells the owner, whose engine takes the
// marks. The list's background bitmap shows empty rows; the marks are
// copied from "bypassed-bitmap" and "removed-bitmap"; a view with its mouse
// disabled shows "off-bitmap" alone.
//
// Every operation: interface thread.
class Corvane_ScalesListView : public VSTGUI::CView {
public:
    explicit Corvane_ScalesListView(const VSTGUI::CRect& size);
    ~Corvane_ScalesListView() override;

    // Reads the three bitmaps; a missing or unknown one stays null.
    void readAttributes(const VSTGUI::UIAttributes& attributes, const VSTGUI::IUIDescription* description);
    void setOwner(Corvane_PanelOwner* owner, Scale_State* scaleState);
    void setBitmaps(VSTGUI::CBitmap* bypassed, VSTGUI::CBitmap* removed, VSTGUI::CBitmap* off);

    // One row further up or down the scale; false, and nothing redrawn, at
    // the end.
    bool stepUp();
    bool stepDown();
    // Redraws after a step of either direction.
    void refreshAfterStepUp();
    void refreshAfterStepDown();
    // The first row shown.
    int getFirstRow() const { return firstRow; }

    // Marks of every row of the current scale, through the scale object so
    // that twelve-note scales carry them to the keyboard's keys:
    // major and minor keep the notes of that scale from the key (a note of
    // another tuning counts by its nearest semitone) and remove the others;
    // all clears every mark; bypass all and remove all mark every row.
    void setMajor();
    void setMinor();
    void setAll();
    void bypassAll();
    void removeAll();

    // The row and column under a point in view coordinates; false off the
    // rows (the column is then meaningless).
    bool rowAt(double x, double y, int& row, int& column) const;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS_NOCOPY(Corvane_ScalesListView, CView)

protected:
    int rows() const;
    // The first row shown, kept in range and back at the top when the scale
    // changed since the last look.
    void followScale();

    Corvane_PanelOwner* owner = nullptr;
    Scale_State* scaleState = nullptr;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> bypassedBitmap;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> removedBitmap;
    VSTGUI::SharedPointer<VSTGUI::CBitmap> offBitmap;
    int32_t firstRow = 0;
    // The scale the first row belongs to; -1 before the first look.
    int8_t shownScale = -1;

private:
    // What followScale would make of the first row, without storing it.
    int shownFirstRow() const;
    // Rows shown from the first: up to the visible rows, fewer at the end.
    int shownRows() const;
    // Marks of a row of the current scale, with its key.
    void markRow(int row, uint8_t bypassed, uint8_t removed);
    // Keeps the rows whose nearest semitone has its flag set, removes the
    // others.
    void keepScaleNotes(const int16_t* flags);
};

// Registers the view's creator ("Corvane_ScalesListView" on the base
// "CView") with the view factory; once per process.
void Corvane_ScalesListView_register();
