#pragma once

// Creators for the UI description's factory of views made from an empty
// rectangle: whatever the description sets comes through the creators of
// their bases, or later from the sub-controller.

#include "vstgui/lib/crect.h"
#include "vstgui/uidescription/iviewcreator.h"
#include "vstgui/uidescription/uiviewfactory.h"

template <class View>
class VSTGUI4_PlainViewCreator : public VSTGUI::ViewCreatorAdapter {
public:
    VSTGUI4_PlainViewCreator(VSTGUI::IdStringPtr name, VSTGUI::IdStringPtr baseName) : name(name), baseName(baseName) {}
    VSTGUI::IdStringPtr getViewName() const override { return name; }
    VSTGUI::IdStringPtr getBaseViewName() const override { return baseName; }
    VSTGUI::CView* create(const VSTGUI::UIAttributes&, const VSTGUI::IUIDescription*) const override
    {
        return new View(VSTGUI::CRect());
    }

private:
    VSTGUI::IdStringPtr name;
    VSTGUI::IdStringPtr baseName;
};

// Registers the creator of `View` under `name` once, for the program's
// life; later calls do nothing. Interface thread.
template <class View>
void VSTGUI4_registerPlainView(VSTGUI::IdStringPtr name, VSTGUI::IdStringPtr baseName)
{
    static const VSTGUI4_PlainViewCreator<View> creator(name, baseName);
    static const bool registered = (VSTGUI::UIViewFactory::registerViewCreator(creator), true);
    (void)registered;
}
