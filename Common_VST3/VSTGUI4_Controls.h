#pragma once

// The panel's own controls and their view creators, so that a UI description
// can name them by class:
//
//   class                        base creator        attribute of its own
//   VSTGUI4_PushButton           CControl            -
//   VSTGUI4_FlashingPushButton   VSTGUI4_PushButton  "flashBitmap" (bitmap)
//   VSTGUI4_FlashingOnOffButton  COnOffButton        "flashBitmap" (bitmap)
//   VSTGUI4_DoubleClickKnob      CAnimKnob           -
//   VSTGUI4_ViewWithMinimumSize  CView               "minSize" (point, "x, y")
//
// "flashBitmap" names a bitmap of the description; a name the description
// does not know leaves the button's flash bitmap as it was. "minSize" is read
// as a whole number before the first comma and one after it; a value without
// a comma leaves the minimum size as it was.

#include "Common_VST3/VSTGUI4_DoubleClickKnob.h"
#include "Common_VST3/VSTGUI4_FlashingButtons.h"
#include "Common_VST3/VSTGUI4_PushButton.h"
#include "Common_VST3/VSTGUI4_ViewWithMinimumSize.h"

// Interface thread. Registers the five creators with the view factory; to
// be called before a panel that uses them is built. Later calls do nothing.
void VSTGUI4_registerControls();
