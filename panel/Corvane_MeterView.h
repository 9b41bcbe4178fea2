#pragma once

#include "vstgui/lib/controls/cvumeter.h"

// A centre-zero meter: a horizontal bar lit from its middle to the value,
// to the right for values above half the travel and to the left below it,
// in whole segments. Only the drawing differs from the stock meter; the
// bitmaps, segment count and binding come from the UI description. The
// on and off bitmaps must have the view's width.
//
// Every operation: interface thread.
class Corvane_MeterView : public VSTGUI::CVuMeter {
public:
    explicit Corvane_MeterView(const VSTGUI::CRect& size);

    void draw(VSTGUI::CDrawContext* context) override;

    CLASS_METHODS(Corvane_MeterView, CVuMeter)
};

// Registers the view's creator ("Corvane_MeterView" on the base "CVuMeter")
// with the view factory; once per process.
void Corvane_MeterView_register();
