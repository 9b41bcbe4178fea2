#pragma once

// The factory of views by class name, from the view creators registered
// with it. The library's own classes are registered when the library is
// first used; a program registers its creators before building a panel.

#include "vstgui/uidescription/iviewcreator.h"
#include "vstgui/uidescription/iviewfactory.h"

#include <list>
#include <string>

namespace VSTGUI {

class UIViewFactory : public IViewFactory {
public:
    UIViewFactory();

    CView* createView(const UIAttributes& attributes, const IUIDescription* description) const override;
    bool applyAttributeValues(CView* view, const UIAttributes& attributes,
                              const IUIDescription* desc) const override;

    // The attribute names of a class and its bases.
    bool getAttributeNamesForView(CView* view, std::list<std::string>& attributeNames) const;
    bool getAttributeValue(CView* view, const std::string& attributeName, std::string& stringValue,
                           const IUIDescription* desc) const;
    IViewCreator::AttrType getAttributeType(CView* view, const std::string& attributeName) const;
    // The class of a view as the creators name it (the most derived one
    // that has a creator), or null.
    IdStringPtr getViewName(CView* view) const;
    // The creator registered for a class name, or null.
    static const IViewCreator* getViewCreator(IdStringPtr className);

    // Interface thread. A creator is kept by address and replaces one of
    // the same name; it must outlive its registration.
    static void registerViewCreator(const IViewCreator& viewCreator);
    static void unregisterViewCreator(const IViewCreator& viewCreator);
};

} // namespace VSTGUI
