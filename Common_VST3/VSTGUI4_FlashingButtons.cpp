#include "Common_VST3/VSTGUI4_FlashingButtons.h"

#include "vstgui/lib/cbitmap.h"

using namespace VSTGUI;

namespace {

// Times wrap around instead of overflowing, so that no clock value can make
// the arithmetic undefined.
int32_t addTimes(int32_t a, int32_t b)
{
    return int32_t(uint32_t(a) + uint32_t(b));
}

} // namespace

bool VSTGUI4_advanceFlash(int32_t now, int32_t interval, bool& flashOn, int32_t& nextFlashTime)
{
    if (nextFlashTime == 0) {
        nextFlashTime = addTimes(now, interval);
        const bool wasOn = flashOn;
        flashOn = false;
        return wasOn;
    }
    if (nextFlashTime > now) return false;
    flashOn = !flashOn;
    nextFlashTime = addTimes(nextFlashTime, interval);
    return true;
}

//--- VSTGUI4_FlashingPushButton

VSTGUI4_FlashingPushButton::VSTGUI4_FlashingPushButton(const CRect& size, IControlListener* listener, int32_t tag,
                                                       CBitmap* background)
    : VSTGUI4_Flashing(size, listener, tag, background)
{
}

VSTGUI4_FlashingPushButton::~VSTGUI4_FlashingPushButton() = default;

void VSTGUI4_FlashingPushButton::draw(CDrawContext* context)
{
    if (flashOn && flashBitmap) {
        drawHalfFor(context, flashBitmap);
        setDirty(false);
        return;
    }
    VSTGUI4_PushButton::draw(context);
}

//--- VSTGUI4_FlashingOnOffButton

VSTGUI4_FlashingOnOffButton::VSTGUI4_FlashingOnOffButton(const CRect& size, IControlListener* listener,
                                                         int32_t tag, CBitmap* background, int32_t style)
    : VSTGUI4_Flashing(size, listener, tag, background, style)
{
}

VSTGUI4_FlashingOnOffButton::VSTGUI4_FlashingOnOffButton(const VSTGUI4_FlashingOnOffButton& other)
    : VSTGUI4_Flashing(other)
{
    setWantsFocus(true);
}

VSTGUI4_FlashingOnOffButton::~VSTGUI4_FlashingOnOffButton() = default;

void VSTGUI4_FlashingOnOffButton::draw(CDrawContext* context)
{
    if (flashOn && flashBitmap) {
        // The picture of the on/off button for the present value: the lower
        // half (one view height down) when on.
        const CCoord top = value == getMax() ? getHeight() : 0;
        flashBitmap->draw(context, getViewSize(), CPoint(0, top), 1.f);
        setDirty(false);
        return;
    }
    COnOffButton::draw(context);
}
