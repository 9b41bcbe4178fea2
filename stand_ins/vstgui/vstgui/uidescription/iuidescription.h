#pragma once

#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/cfont.h"

#include <string>

namespace VSTGUI {

class CBitmap;
class IController;
class IControlListener;
class IViewFactory;

// What view creators may ask of the description that builds them.
class IUIDescription {
public:
    virtual ~IUIDescription() = default;

    // Resources by name; null or false when the description has none.
    virtual CBitmap* getBitmap(UTF8StringPtr name) const = 0;
    virtual CFontRef getFont(UTF8StringPtr name) const = 0;
    // A colour by name, or written out as "#rrggbb" or "#rrggbbaa".
    virtual bool getColor(UTF8StringPtr name, CColor& color) const = 0;
    // The tag of a control tag name, -1 for an unknown name.
    virtual int32_t getTagForName(UTF8StringPtr name) const = 0;
    virtual IControlListener* getControlListener(UTF8StringPtr name) const = 0;
    virtual IController* getController() const = 0;
    virtual const IViewFactory* getViewFactory() const = 0;

    // Names of resources, for writing attributes back; null when unknown.
    virtual UTF8StringPtr lookupColorName(const CColor& color) const = 0;
    virtual UTF8StringPtr lookupFontName(const CFontRef font) const = 0;
    virtual UTF8StringPtr lookupBitmapName(const CBitmap* bitmap) const = 0;
    virtual UTF8StringPtr lookupControlTagName(const int32_t tag) const = 0;
};

} // namespace VSTGUI
