#pragma once

// The attributes of one element of a UI description, by name.

#include "vstgui/lib/crect.h"

#include <map>
#include <string>

namespace VSTGUI {

class UIAttributes : public CBaseObject, public std::map<std::string, std::string> {
public:
    UIAttributes() = default;
    UIAttributes(const UIAttributes&) = default;

    bool hasAttribute(UTF8StringPtr name) const;
    // Null when the attribute is absent.
    const std::string* getAttributeValue(UTF8StringPtr name) const;
    void setAttribute(UTF8StringPtr name, UTF8StringPtr value);
    void setAttribute(const std::string& name, const std::string& value);
    void removeAttribute(UTF8StringPtr name);

    // Typed readers: false when the attribute is absent or malformed, and
    // then the output is unchanged. Points and sizes are "x, y"; rectangles
    // "left, top, right, bottom"; booleans "true" or "false".
    bool getPointAttribute(UTF8StringPtr name, CPoint& p) const;
    bool getRectAttribute(UTF8StringPtr name, CRect& r) const;
    bool getBooleanAttribute(UTF8StringPtr name, bool& b) const;
    bool getIntegerAttribute(UTF8StringPtr name, int32_t& i) const;
    bool getDoubleAttribute(UTF8StringPtr name, double& d) const;

    void setPointAttribute(UTF8StringPtr name, const CPoint& p);
    void setRectAttribute(UTF8StringPtr name, const CRect& r);
    void setBooleanAttribute(UTF8StringPtr name, bool b);
    void setIntegerAttribute(UTF8StringPtr name, int32_t i);
    void setDoubleAttribute(UTF8StringPtr name, double d);

    // Parsers of the same forms, for creators and descriptions.
    static bool stringToPoint(const std::string& text, CPoint& p);
    static bool stringToRect(const std::string& text, CRect& r);
    static bool stringToDouble(const std::string& text, double& d);
    static bool stringToInteger(const std::string& text, int32_t& i);
    static std::string pointToString(const CPoint& p);
    static std::string doubleToString(double d);
};

} // namespace VSTGUI
