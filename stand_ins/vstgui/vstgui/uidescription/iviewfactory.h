#pragma once

#include "vstgui/lib/vstguibase.h"

namespace VSTGUI {

class CView;
class UIAttributes;
class IUIDescription;

class IViewFactory {
public:
    virtual ~IViewFactory() = default;
    // A view of the class the "class" attribute names with all attributes
    // applied, or null.
    virtual CView* createView(const UIAttributes& attributes, const IUIDescription* description) const = 0;
    // Applies the attributes of the view's class and its bases.
    virtual bool applyAttributeValues(CView* view, const UIAttributes& attributes,
                                      const IUIDescription* desc) const = 0;
};

} // namespace VSTGUI
