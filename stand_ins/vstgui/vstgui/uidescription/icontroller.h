#pragma once

// The controller a UI description builds views for: it is the listener of
// the controls, may create custom views, sees (and may replace) every view
// made, and makes the sub-controllers that "sub-controller" attributes name.

#include "vstgui/lib/controls/icontrollistener.h"

namespace VSTGUI {

class CView;
class UIAttributes;
class IUIDescription;

class IController : public IControlListener {
public:
    // The tag of a control tag name; registeredTag is the one the
    // description lists (-1 if none).
    virtual int32_t getTagForName(UTF8StringPtr name, int32_t registeredTag) const { return registeredTag; }
    virtual IControlListener* getControlListener(UTF8StringPtr controlTagName) { return this; }
    // A view for an element with "custom-view-name", or null.
    virtual CView* createView(const UIAttributes& attributes, const IUIDescription* description)
    {
        return nullptr;
    }
    // Every view made, with its children added; the result is what the
    // panel keeps (null drops the view).
    virtual CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* description)
    {
        return view;
    }
    // The controller for a "sub-controller" name, or null. The view that
    // names it owns it afterwards.
    virtual IController* createSubController(UTF8StringPtr name, const IUIDescription* description)
    {
        return nullptr;
    }
};

} // namespace VSTGUI
