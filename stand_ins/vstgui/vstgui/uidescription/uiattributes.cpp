#include "vstgui/uidescription/uiattributes.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace VSTGUI {

bool UIAttributes::hasAttribute(UTF8StringPtr name) const
{
    return name && find(name) != end();
}

const std::string* UIAttributes::getAttributeValue(UTF8StringPtr name) const
{
    if (!name) return nullptr;
    auto it = find(name);
    return it == end() ? nullptr : &it->second;
}

void UIAttributes::setAttribute(UTF8StringPtr name, UTF8StringPtr value)
{
    if (!name) return;
    (*this)[name] = value ? value : "";
}

void UIAttributes::setAttribute(const std::string& name, const std::string& value)
{
    (*this)[name] = value;
}

void UIAttributes::removeAttribute(UTF8StringPtr name)
{
    if (name) erase(name);
}

namespace {

// Reads a number in the C locale's notation, whatever the process locale.
bool parseDouble(const char* begin, const char*& end, double& out)
{
    std::istringstream in(std::string(begin, std::strlen(begin)));
    in.imbue(std::locale::classic());
    double d = 0;
    in >> d;
    if (in.fail()) return false;
    const auto consumed = in.eof() ? std::strlen(begin) : size_t(in.tellg());
    end = begin + consumed;
    out = d;
    return true;
}

// Numbers separated by commas and blanks; false for anything else.
bool parseList(const std::string& text, std::vector<double>& values, size_t count)
{
    values.clear();
    const char* p = text.c_str();
    while (*p) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) break;
        double d;
        const char* end = p;
        if (!parseDouble(p, end, d) || end == p) return false;
        values.push_back(d);
        p = end;
        while (*p == ' ' || *p == '\t') ++p;
        if (*p == ',') ++p;
        else if (*p) return false;
    }
    return values.size() == count;
}

} // namespace

bool UIAttributes::stringToPoint(const std::string& text, CPoint& p)
{
    std::vector<double> v;
    if (!parseList(text, v, 2)) return false;
    p = CPoint(v[0], v[1]);
    return true;
}

bool UIAttributes::stringToRect(const std::string& text, CRect& r)
{
    std::vector<double> v;
    if (!parseList(text, v, 4)) return false;
    r = CRect(v[0], v[1], v[2], v[3]);
    return true;
}

bool UIAttributes::stringToDouble(const std::string& text, double& d)
{
    std::vector<double> v;
    if (!parseList(text, v, 1)) return false;
    d = v[0];
    return true;
}

bool UIAttributes::stringToInteger(const std::string& text, int32_t& i)
{
    const char* s = text.c_str();
    while (*s == ' ') ++s;
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(s, &end, 10);
    if (end == s || errno != 0) return false;
    while (*end == ' ') ++end;
    if (*end) return false;
    if (v < INT32_MIN || v > INT32_MAX) return false;
    i = int32_t(v);
    return true;
}

std::string UIAttributes::doubleToString(double d)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << d;
    return out.str();
}

std::string UIAttributes::pointToString(const CPoint& p)
{
    return doubleToString(p.x) + ", " + doubleToString(p.y);
}

bool UIAttributes::getPointAttribute(UTF8StringPtr name, CPoint& p) const
{
    const std::string* v = getAttributeValue(name);
    return v && stringToPoint(*v, p);
}

bool UIAttributes::getRectAttribute(UTF8StringPtr name, CRect& r) const
{
    const std::string* v = getAttributeValue(name);
    return v && stringToRect(*v, r);
}

bool UIAttributes::getBooleanAttribute(UTF8StringPtr name, bool& b) const
{
    const std::string* v = getAttributeValue(name);
    if (!v) return false;
    if (*v == "true") {
        b = true;
        return true;
    }
    if (*v == "false") {
        b = false;
        return true;
    }
    return false;
}

bool UIAttributes::getIntegerAttribute(UTF8StringPtr name, int32_t& i) const
{
    const std::string* v = getAttributeValue(name);
    return v && stringToInteger(*v, i);
}

bool UIAttributes::getDoubleAttribute(UTF8StringPtr name, double& d) const
{
    const std::string* v = getAttributeValue(name);
    return v && stringToDouble(*v, d);
}

void UIAttributes::setPointAttribute(UTF8StringPtr name, const CPoint& p)
{
    setAttribute(name, pointToString(p).c_str());
}

void UIAttributes::setRectAttribute(UTF8StringPtr name, const CRect& r)
{
    setAttribute(name, (doubleToString(r.left) + ", " + doubleToString(r.top) + ", " + doubleToString(r.right) +
                        ", " + doubleToString(r.bottom)).c_str());
}

void UIAttributes::setBooleanAttribute(UTF8StringPtr name, bool b)
{
    setAttribute(name, b ? "true" : "false");
}

void UIAttributes::setIntegerAttribute(UTF8StringPtr name, int32_t i)
{
    setAttribute(name, std::to_string(i).c_str());
}

void UIAttributes::setDoubleAttribute(UTF8StringPtr name, double d)
{
    setAttribute(name, doubleToString(d).c_str());
}

} // namespace VSTGUI
