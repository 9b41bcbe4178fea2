#pragma once

// A view with a value between a minimum and a maximum and a tag. Changes
// made by the user reach the listener and the dependents: valueChanged()
// tells both; beginEdit() and endEdit() enclose a gesture.

#include "vstgui/lib/controls/icontrollistener.h"
#include "vstgui/lib/cview.h"
#include "vstgui/lib/idependency.h"

namespace VSTGUI {

class CControl : public CView, public IDependency {
public:
    CControl(const CRect& size, IControlListener* listener = nullptr, int32_t tag = 0,
             CBitmap* background = nullptr);
    CControl(const CControl& c);
    ~CControl() override;

    //--- Value, in the control's own range.
    virtual void setValue(float val);
    virtual float getValue() const { return value; }
    // The value mapped to 0..1 over min..max; 0 for an empty range.
    virtual void setValueNormalized(float val);
    virtual float getValueNormalized() const;
    virtual void setMin(float val);
    virtual float getMin() const { return vmin; }
    virtual void setMax(float val);
    virtual float getMax() const { return vmax; }
    float getRange() const { return vmax - vmin; }
    virtual void setOldValue(float val) { oldValue = val; }
    virtual float getOldValue() const { return oldValue; }
    virtual void setDefaultValue(float val) { defaultValue = val; }
    virtual float getDefaultValue() const { return defaultValue; }
    // Limits the value to min..max.
    virtual void bounceValue();
    // On the default-value gesture (left button with kControl) sets the
    // default value as an edit of its own and answers true.
    virtual bool checkDefaultValue(CButtonState button);

    //--- Identity and listener.
    virtual void setTag(int32_t val) { tag = val; }
    virtual int32_t getTag() const { return tag; }
    virtual void setListener(IControlListener* l) { listener = l; }
    IControlListener* getListener() const { return listener; }

    //--- Edits.
    virtual void beginEdit();
    virtual void endEdit();
    bool isEditing() const { return editing > 0; }
    // Tells the listener and the dependents that the value changed.
    virtual void valueChanged();

    //--- Appearance and wheel.
    void setBackOffset(const CPoint& offset) { backOffset = offset; }
    const CPoint& getBackOffset() const { return backOffset; }
    void setWheelInc(float val) { wheelInc = val; }
    float getWheelInc() const { return wheelInc; }

    bool isDirty() const override;
    void setDirty(bool state = true) override;

    // Messages to dependents.
    static IdStringPtr kMessageValueChanged;
    static IdStringPtr kMessageBeginEdit;
    static IdStringPtr kMessageEndEdit;

    CLASS_METHODS_NOCOPY(CControl, CView)

protected:
    IControlListener* listener;
    int32_t tag;
    float oldValue = 1.f;
    float defaultValue = 0.5f;
    float value = 0.f;
    float vmin = 0.f;
    float vmax = 1.f;
    float wheelInc = 0.1f;
    int32_t editing = 0;
    CPoint backOffset;
};

// Controls made of several pictures stacked vertically in one bitmap.
class IMultiBitmapControl {
public:
    virtual ~IMultiBitmapControl() = default;
    virtual void setHeightOfOneImage(const CCoord& height) { heightOfOneImage = height; }
    virtual CCoord getHeightOfOneImage() const { return heightOfOneImage; }
    virtual void setNumSubPixmaps(int32_t num) { subPixmaps = num; }
    virtual int32_t getNumSubPixmaps() const { return subPixmaps; }
    // The picture height from the bitmap and the number of pictures, or
    // the number of pictures from the height.
    void autoComputeHeightOfOneImage();

protected:
    CCoord heightOfOneImage = 0;
    int32_t subPixmaps = 0;
};

} // namespace VSTGUI
