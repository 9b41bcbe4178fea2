#pragma once

#include "vstgui/lib/vstguibase.h"

namespace VSTGUI {

// Mouse buttons and modifier keys of a mouse event. kControl is the
// command modifier (the Ctrl key here), kApple the platform's other one
// (the Super key here).
enum CButton : int32_t {
    kLButton = 1 << 1,
    kMButton = 1 << 2,
    kRButton = 1 << 3,
    kShift = 1 << 4,
    kControl = 1 << 5,
    kAlt = 1 << 6,
    kApple = 1 << 7,
    kButton4 = 1 << 8,
    kButton5 = 1 << 9,
    kDoubleClick = 1 << 10,
    kMouseWheelInverted = 1 << 11
};

class CButtonState {
public:
    constexpr CButtonState(int32_t state = 0) : state(state) {}

    int32_t getButtonState() const { return state & (kLButton | kMButton | kRButton | kButton4 | kButton5); }
    int32_t getModifierState() const { return state & (kShift | kControl | kAlt | kApple); }

    bool isLeftButton() const { return (state & kLButton) != 0; }
    bool isRightButton() const { return (state & kRButton) != 0; }
    bool isDoubleClick() const { return (state & kDoubleClick) != 0; }

    int32_t operator()() const { return state; }
    operator int32_t() const { return state; }
    CButtonState& operator=(int32_t s)
    {
        state = s;
        return *this;
    }
    CButtonState& operator|=(int32_t s)
    {
        state |= s;
        return *this;
    }
    bool operator==(int32_t s) const { return state == s; }
    bool operator!=(int32_t s) const { return state != s; }

private:
    int32_t state;
};

} // namespace VSTGUI
