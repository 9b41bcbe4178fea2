#pragma once

// Makes the views of one class for UI descriptions and applies the
// attributes that class adds to its base's. The factory applies a class's
// creator and then those of its bases, up to the root.

#include "vstgui/lib/vstguibase.h"

#include <list>
#include <string>

namespace VSTGUI {

class CView;
class UIAttributes;
class IUIDescription;

class IViewCreator {
public:
    virtual ~IViewCreator() = default;

    enum AttrType {
        kUnknownType,
        kBooleanType,
        kIntegerType,
        kFloatType,
        kStringType,
        kColorType,
        kFontType,
        kBitmapType,
        kPointType,
        kRectType,
        kTagType,
        kListType,
        kGradientType
    };

    virtual IdStringPtr getViewName() const = 0;
    virtual IdStringPtr getBaseViewName() const = 0;
    virtual CView* create(const UIAttributes& attributes, const IUIDescription* description) const = 0;
    // Reads this class's own attributes into the view; false stops the
    // creation.
    virtual bool apply(CView* view, const UIAttributes& attributes, const IUIDescription* description) const = 0;
    virtual bool getAttributeNames(std::list<std::string>& attributeNames) const = 0;
    virtual AttrType getAttributeType(const std::string& attributeName) const = 0;
    // The attribute's value written as the description would hold it.
    virtual bool getAttributeValue(CView* view, const std::string& attributeName, std::string& stringValue,
                                   const IUIDescription* desc) const = 0;
};

// Defaults for creators that add no attributes of their own.
class ViewCreatorAdapter : public IViewCreator {
public:
    bool apply(CView*, const UIAttributes&, const IUIDescription*) const override { return true; }
    bool getAttributeNames(std::list<std::string>&) const override { return true; }
    AttrType getAttributeType(const std::string&) const override { return kUnknownType; }
    bool getAttributeValue(CView*, const std::string&, std::string&, const IUIDescription*) const override
    {
        return false;
    }
};

} // namespace VSTGUI
