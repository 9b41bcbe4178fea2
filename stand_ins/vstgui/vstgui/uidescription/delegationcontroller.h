#pragma once

#include "vstgui/uidescription/icontroller.h"

namespace VSTGUI {

// A controller that hands everything to another one; sub-controllers
// derive from it and replace what they need.
class DelegationController : public IController {
public:
    explicit DelegationController(IController* controller) : controller(controller) {}

    void valueChanged(CControl* pControl) override
    {
        if (controller) controller->valueChanged(pControl);
    }
    int32_t controlModifierClicked(CControl* pControl, CButtonState button) override
    {
        return controller ? controller->controlModifierClicked(pControl, button) : 0;
    }
    void controlBeginEdit(CControl* pControl) override
    {
        if (controller) controller->controlBeginEdit(pControl);
    }
    void controlEndEdit(CControl* pControl) override
    {
        if (controller) controller->controlEndEdit(pControl);
    }
    int32_t getTagForName(UTF8StringPtr name, int32_t registeredTag) const override
    {
        return controller ? controller->getTagForName(name, registeredTag) : registeredTag;
    }
    IControlListener* getControlListener(UTF8StringPtr controlTagName) override
    {
        return controller ? controller->getControlListener(controlTagName) : this;
    }
    CView* createView(const UIAttributes& attributes, const IUIDescription* description) override
    {
        return controller ? controller->createView(attributes, description) : nullptr;
    }
    CView* verifyView(CView* view, const UIAttributes& attributes, const IUIDescription* description) override
    {
        return controller ? controller->verifyView(view, attributes, description) : view;
    }
    IController* createSubController(UTF8StringPtr name, const IUIDescription* description) override
    {
        return controller ? controller->createSubController(name, description) : nullptr;
    }

protected:
    IController* controller;
};

} // namespace VSTGUI
