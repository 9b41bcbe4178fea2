#include "Common_VST3/VSTGUI4_DoubleClickKnob.h"

#include "vstgui/lib/cbitmap.h"

using namespace VSTGUI;

VSTGUI4_DoubleClickKnob::VSTGUI4_DoubleClickKnob(const CRect& size, IControlListener* listener, int32_t tag,
                                                 CBitmap* background, const CPoint& offset)
    : CAnimKnob(size, listener, tag, background, offset)
{
}

VSTGUI4_DoubleClickKnob::VSTGUI4_DoubleClickKnob(const VSTGUI4_DoubleClickKnob& other)
    : CAnimKnob(other), mouseWheelEnabled(other.mouseWheelEnabled)
{
    setWantsFocus(true);
}

VSTGUI4_DoubleClickKnob::~VSTGUI4_DoubleClickKnob() = default;

bool VSTGUI4_DoubleClickKnob::onWheel(const CPoint& where, const float& distance, const CButtonState& buttons)
{
    if (!mouseWheelEnabled) return false;
    return CAnimKnob::onWheel(where, distance, buttons);
}

bool VSTGUI4_DoubleClickKnob::checkDefaultValue(CButtonState button)
{
    if (!(button.isLeftButton() && button.isDoubleClick())) return CAnimKnob::checkDefaultValue(button);
    beginEdit();
    setValue(getDefaultValue());
    valueChanged();
    endEdit();
    invalid();
    return true;
}
