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

// A momentary button that flashes while at rest (its value at the minimum).
class VSTGUI4_FlashingPushButton : public VSTGUI4_PushButton {
public:
    VSTGUI4_FlashingPushButton(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                               int32_t tag = -1, VSTGUI::CBitmap* background = nullptr);
    // A copy takes the flash bitmap and starts neither flashing nor started.
    VSTGUI4_FlashingPushButton(const VSTGUI4_FlashingPushButton& other);
    ~VSTGUI4_FlashingPushButton() override;

    // flashing := true, the interval taken, the phase to start anew at the
    // next updateFlashing.
    void startFlashing(int32_t interval);
    // One tick of the clock: see above.
    void updateFlashing(int32_t now);
    // Back to the normal picture, not flashing.
    void stopFlashing();

    void setFlashBitmap(VSTGUI::CBitmap* bitmap);
    VSTGUI::CBitmap* getFlashBitmap() const { return flashBitmap; }
    bool isFlashing() const { return flashing; }
    bool isFlashOn() const { return flashOn; }
    int32_t getFlashInterval() const { return flashInterval; }
    // 0 while the phase is not started.
    int32_t getNextFlashTime() const { return nextFlashTime; }

    void draw(VSTGUI::CDrawContext* context) override;

    CLASS_METHODS(VSTGUI4_FlashingPushButton, VSTGUI4_PushButton)

protected:
    VSTGUI::SharedPointer<VSTGUI::CBitmap> flashBitmap; // shown while flashOn is set
    bool flashing = false;                            // in the flashing state
    bool flashOn = false;                             // phase of the flash
    int32_t flashInterval = 0;                        // time between changes of phase
    int32_t nextFlashTime = 0;                        // time of the next change; 0: not started
};

// An on/off button that flashes while on (its value at the maximum).
class VSTGUI4_FlashingOnOffButton : public VSTGUI::COnOffButton {
public:
    VSTGUI4_FlashingOnOffButton(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                                int32_t tag = -1, VSTGUI::CBitmap* background = nullptr,
                                int32_t style = kPreListenerUpdate);
    // A copy takes the flash bitmap, starts neither flashing nor started, and
    // wants the focus.
    VSTGUI4_FlashingOnOffButton(const VSTGUI4_FlashingOnOffButton& other);
    ~VSTGUI4_FlashingOnOffButton() override;

    void startFlashing(int32_t interval);
    void updateFlashing(int32_t now);
    void stopFlashing();

    void setFlashBitmap(VSTGUI::CBitmap* bitmap);
    VSTGUI::CBitmap* getFlashBitmap() const { return flashBitmap; }
    bool isFlashing() const { return flashing; }
    bool isFlashOn() const { return flashOn; }
    int32_t getFlashInterval() const { return flashInterval; }
    int32_t getNextFlashTime() const { return nextFlashTime; }

    void draw(VSTGUI::CDrawContext* context) override;

    CLASS_METHODS(VSTGUI4_FlashingOnOffButton, COnOffButton)

protected:
    VSTGUI::SharedPointer<VSTGUI::CBitmap> flashBitmap;
    bool flashing = false;
    bool flashOn = false;
    int32_t flashInterval = 0;
    int32_t nextFlashTime = 0;
};
