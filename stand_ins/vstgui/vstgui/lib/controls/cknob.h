#pragma once

// Knobs. The mouse turns them by the frame's knob mode: circular (the value
// follows the angle of the pointer around the centre), relative circular
// (the angle moved since the last point is added) or linear (a vertical or
// horizontal drag of 200 pixels spans the range; with kShift the drag is
// finer by the zoom factor). The wheel adds wheelInc of the range per step,
// a tenth of it with kShift.

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/controls/ccontrol.h"

namespace VSTGUI {

enum { kCircularMode = 0, kRelativCircularMode, kLinearMode };

class CKnob : public CControl {
public:
    CKnob(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background,
          CBitmap* handle = nullptr, const CPoint& offset = CPoint(0, 0));
    CKnob(const CKnob& k) = default;

    // Angles in radians, clockwise from the positive x axis.
    virtual void setStartAngle(float val);
    float getStartAngle() const { return startAngle; }
    virtual void setRangeAngle(float val);
    float getRangeAngle() const { return rangeAngle; }
    virtual void setZoomFactor(float val) { zoomFactor = val; }
    float getZoomFactor() const { return zoomFactor; }
    void setInsetValue(CCoord val) { inset = val; }
    CCoord getInsetValue() const { return inset; }
    void setColorHandle(const CColor& c) { colorHandle = c; }
    const CColor& getColorHandle() const { return colorHandle; }
    void setColorShadowHandle(const CColor& c) { colorShadowHandle = c; }
    const CColor& getColorShadowHandle() const { return colorShadowHandle; }
    void setHandleBitmap(CBitmap* bitmap);
    CBitmap* getHandleBitmap() const { return handleBitmap; }

    // The normalized value for a point (parent coordinates) by its angle.
    float valueFromPoint(const CPoint& point) const;

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;

    CLASS_METHODS(CKnob, CControl)

protected:
    int32_t knobMode() const;
    // Sets a new normalized value inside a gesture and tells of it.
    void applyNormalized(float normalized);

    CPoint offset;
    SharedPointer<CBitmap> handleBitmap;
    CColor colorHandle = kWhiteCColor;
    CColor colorShadowHandle = kGreyCColor;
    float startAngle;
    float rangeAngle;
    float zoomFactor = 10.f;
    CCoord inset = 3;

    // The gesture.
    bool tracking = false;
    CPoint firstPoint;
    CPoint lastPoint;
    float startValue = 0.f;
    int32_t lastModifiers = 0;
};

// A knob drawn from a strip of pictures stacked vertically, one per step.
class CAnimKnob : public CKnob, public IMultiBitmapControl {
public:
    CAnimKnob(const CRect& size, IControlListener* listener, int32_t tag, int32_t subPixmaps,
              CCoord heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint(0, 0));
    CAnimKnob(const CRect& size, IControlListener* listener = nullptr, int32_t tag = -1,
              CBitmap* background = nullptr, const CPoint& offset = CPoint(0, 0));
    CAnimKnob(const CAnimKnob& k) = default;

    void setInverseBitmap(bool state) { inverseBitmap = state; }
    bool getInverseBitmap() const { return inverseBitmap; }
    // The picture shown for the current value, 0..subPixmaps-1.
    int32_t getImageIndex() const;

    void setBackground(CBitmap* background) override;
    void draw(CDrawContext* pContext) override;

    CLASS_METHODS(CAnimKnob, CKnob)

private:
    bool inverseBitmap = false;
};

} // namespace VSTGUI
