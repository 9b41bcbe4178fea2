#pragma once

#include <cstdint>
#include <string>

#include "vstgui/lib/cview.h"

class Corvane_MainGraphView;

// The piano strip at the side of the pitch graph: each key stands at the
// height of its note in the main view, so that it scrolls and zooms with
// that view, and carries the note's name and octave (0 cents is C 3).
//
// Every operation: interface thread.
class Corvane_KeyboardGraphView : public VSTGUI::CView {
public:
    explicit Corvane_KeyboardGraphView(const VSTGUI::CRect& size);

    // The view whose pitches the keys follow; null draws nothing.
    void setMainView(Corvane_MainGraphView* view) { mainView = view; }
    Corvane_MainGraphView* getMainView() const { return mainView; }
    // The twelve note names from C in the spelling of the scale and key,
    // and the scale's reference offset in cents (the detune).
    void setNoteNames(const char* const names[12], int32_t referenceOffset);
    // White (true) or black key of a note index 0..11 from C.
    static bool isWhiteKey(int32_t noteIndex);
    // Note index 0..11 and octave of a pitch in cents relative to the
    // reference offset, as the strip labels it.
    static void noteOf(int32_t cents, int32_t& noteIndex, int32_t& octave);

    void draw(VSTGUI::CDrawContext* context) override;
    // The wheel scrolls the main view up and down.
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const VSTGUI::CButtonState& buttons) override;

    CLASS_METHODS(Corvane_KeyboardGraphView, CView)

protected:
    void drawKey(VSTGUI::CDrawContext* context, int32_t pitch, const char* label, bool white);

    Corvane_MainGraphView* mainView = nullptr;
    std::string noteNames[12];
    bool named = false;
    int32_t offset = 0;
};

// Registers the creator of "Corvane_KeyboardGraphView" (base "CView") with
// the view factory; once per process.
void Corvane_KeyboardGraphView_register();
