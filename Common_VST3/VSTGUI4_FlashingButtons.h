#pragma once

#include "Common_VST3/VSTGUI4_PushButton.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/controls/cbuttons.h"

// Two buttons that can blink to draw the user's eye: while flashing, and
// only while they stand at their flashing position, they alternate between
// their normal picture and `flashBitmap`. The flash bitmap is laid out like
// the normal one and drawn by the same rule, so it may have a pressed (or
// on) half of its own.
//
// The clock is the caller's: updateFlashing(now) is called on every tick of
// the editor's timer, with `now` and the interval in the same units (timer
// ticks). The phase changes on a fixed grid of nextFlashTime += interval, so
// a late tick does not stretch the rhythm; after a pause each following
// tick catches up one change of phase.
//
// Every operation: interface thread.

// One tick of the flash clock of a button at its flashing position: the
// first tick after a start fixes the grid at now + interval with the phase
// off; later ticks invert the phase once when the grid point has come and
// move it by one interval. Answers whether the picture must be redrawn.
bool VSTGUI4_advanceFlash(int32_t now, int32_t interval, bool& flashOn, int32_t& nextFlashTime);

// The flashing of a button, on top of the button itself; the button says
// at which position it flashes.
template <class Button>
class VSTGUI4_Flashing : public Button {
public:
    using Button::Button;
    // A copy takes the flash bitmap and starts neither flashing nor started.
    VSTGUI4_Flashing(const VSTGUI4_Flashing& other) : Button(other), flashBitmap(other.flashBitmap) {}

    // flashing := true, the interval taken, the phase to start anew at the
    // next updateFlashing.
    void startFlashing(int32_t interval)
    {
        flashing = true;
        flashInterval = interval;
        nextFlashTime = 0;
    }
    // One tick of the clock: see above.
    void updateFlashing(int32_t now)
    {
        if (!atFlashingPosition() || !flashing) return;
        if (VSTGUI4_advanceFlash(now, flashInterval, flashOn, nextFlashTime)) this->setDirty(true);
    }
    // Back to the normal picture, not flashing.
    void stopFlashing()
    {
        flashing = false;
        flashOn = false;
        nextFlashTime = 0;
        this->setDirty(true);
    }

    void setFlashBitmap(VSTGUI::CBitmap* bitmap)
    {
        flashBitmap = bitmap;
        if (flashOn) this->setDirty(true);
    }
    VSTGUI::CBitmap* getFlashBitmap() const { return flashBitmap; }
    bool isFlashing() const { return flashing; }
    bool isFlashOn() const { return flashOn; }
    int32_t getFlashInterval() const { return flashInterval; }
    // 0 while the phase is not started.
    int32_t getNextFlashTime() const { return nextFlashTime; }

protected:
    virtual bool atFlashingPosition() const = 0;

    VSTGUI::SharedPointer<VSTGUI::CBitmap> flashBitmap; // shown while flashOn is set
    bool flashing = false;                            // in the flashing state
    bool flashOn = false;                             // phase of the flash
    int32_t flashInterval = 0;                        // time between changes of phase
    int32_t nextFlashTime = 0;                        // time of the next change; 0: not started
};

// A momentary button that flashes while at rest (its value at the minimum).
class VSTGUI4_FlashingPushButton : public VSTGUI4_Flashing<VSTGUI4_PushButton> {
public:
    VSTGUI4_FlashingPushButton(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                               int32_t tag = -1, VSTGUI::CBitmap* background = nullptr);
    VSTGUI4_FlashingPushButton(const VSTGUI4_FlashingPushButton& other) = default;
    ~VSTGUI4_FlashingPushButton() override;

    void draw(VSTGUI::CDrawContext* context) override;

    CLASS_METHODS(VSTGUI4_FlashingPushButton, VSTGUI4_PushButton)

protected:
    bool atFlashingPosition() const override { return value == getMin(); }
};

// An on/off button that flashes while on (its value at the maximum).
class VSTGUI4_FlashingOnOffButton : public VSTGUI4_Flashing<VSTGUI::COnOffButton> {
public:
    VSTGUI4_FlashingOnOffButton(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                                int32_t tag = -1, VSTGUI::CBitmap* background = nullptr,
                                int32_t style = kPreListenerUpdate);
    // A copy also wants the focus.
    VSTGUI4_FlashingOnOffButton(const VSTGUI4_FlashingOnOffButton& other);
    ~VSTGUI4_FlashingOnOffButton() override;

    void draw(VSTGUI::CDrawContext* context) override;

    CLASS_METHODS(VSTGUI4_FlashingOnOffButton, COnOffButton)

protected:
    bool atFlashingPosition() const override { return value == getMax(); }
};
