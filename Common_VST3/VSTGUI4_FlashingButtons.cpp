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

// One tick of the flash clock of a flashing button at its flashing
// position. The first tick after a start fixes the grid at now + interval
// with the phase off; later ticks invert the phase once when the grid point
// has come, and move the grid point by one interval. Answers whether the
// picture has to be redrawn.
bool advanceFlash(int32_t now, int32_t interval, bool& flashOn, int32_t& nextFlashTime)
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

} // namespace

//--- VSTGUI4_FlashingPushButton

VSTGUI4_FlashingPushButton::VSTGUI4_FlashingPushButton(const CRect& size, IControlListener* listener, int32_t tag,
                                                       CBitmap* background)
    : VSTGUI4_PushButton(size, listener, tag, background)
{
}

VSTGUI4_FlashingPushButton::VSTGUI4_FlashingPushButton(const VSTGUI4_FlashingPushButton& other)
    : VSTGUI4_PushButton(other), flashBitmap(other.flashBitmap)
{
}

VSTGUI4_FlashingPushButton::~VSTGUI4_FlashingPushButton() = default;

void VSTGUI4_FlashingPushButton::startFlashing(int32_t interval)
{
    flashing = true;
    flashInterval = interval;
    nextFlashTime = 0;
}

void VSTGUI4_FlashingPushButton::updateFlashing(int32_t now)
{
    if (value != getMin()) return;
    if (!flashing) return;
    if (advanceFlash(now, flashInterval, flashOn, nextFlashTime)) setDirty(true);
}

void VSTGUI4_FlashingPushButton::stopFlashing()
{
    flashing = false;
    flashOn = false;
    nextFlashTime = 0;
    setDirty(true);
}

void VSTGUI4_FlashingPushButton::setFlashBitmap(CBitmap* bitmap)
{
    flashBitmap = bitmap;
    if (flashOn) setDirty(true);
}

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
    : COnOffButton(size, listener, tag, background, style)
{
}

VSTGUI4_FlashingOnOffButton::VSTGUI4_FlashingOnOffButton(const VSTGUI4_FlashingOnOffButton& other)
    : COnOffButton(other), flashBitmap(other.flashBitmap)
{
    setWantsFocus(true);
}

VSTGUI4_FlashingOnOffButton::~VSTGUI4_FlashingOnOffButton() = default;

void VSTGUI4_FlashingOnOffButton::startFlashing(int32_t interval)
{
    flashing = true;
    flashInterval = interval;
    nextFlashTime = 0;
}

void VSTGUI4_FlashingOnOffButton::updateFlashing(int32_t now)
{
    if (value != getMax()) return;
    if (!flashing) return;
    if (advanceFlash(now, flashInterval, flashOn, nextFlashTime)) setDirty(true);
}

void VSTGUI4_FlashingOnOffButton::stopFlashing()
{
    flashing = false;
    flashOn = false;
    nextFlashTime = 0;
    setDirty(true);
}

void VSTGUI4_FlashingOnOffButton::setFlashBitmap(CBitmap* bitmap)
{
    flashBitmap = bitmap;
    if (flashOn) setDirty(true);
}

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
