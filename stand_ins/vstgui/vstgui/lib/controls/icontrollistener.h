#pragma once

#include "vstgui/lib/cbuttonstate.h"

namespace VSTGUI {

class CControl;

// Hears of a control's changes: its value, and the start and end of an edit
// gesture.
class IControlListener {
public:
    virtual ~IControlListener() = default;
    virtual void valueChanged(CControl* pControl) = 0;
    // A press with a modifier or the right button; non-zero takes it.
    virtual int32_t controlModifierClicked(CControl* pControl, CButtonState button) { return 0; }
    virtual void controlBeginEdit(CControl* pControl) {}
    virtual void controlEndEdit(CControl* pControl) {}
};

} // namespace VSTGUI
