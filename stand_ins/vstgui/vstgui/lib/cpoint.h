#pragma once

#include "vstgui/lib/vstguibase.h"

namespace VSTGUI {

struct CRect;

// A point, or a size when it stands for a width and a height.
struct CPoint {
    constexpr CPoint(CCoord x = 0, CCoord y = 0) : x(x), y(y) {}

    CCoord x;
    CCoord y;

    CPoint& offset(CCoord dx, CCoord dy)
    {
        x += dx;
        y += dy;
        return *this;
    }
    CPoint& offset(const CPoint& p) { return offset(p.x, p.y); }
    CPoint& offsetInverse(const CPoint& p) { return offset(-p.x, -p.y); }
    CPoint& makeIntegral()
    {
        x = CCoord(int64_t(x + (x < 0 ? -0.5 : 0.5)));
        y = CCoord(int64_t(y + (y < 0 ? -0.5 : 0.5)));
        return *this;
    }
    bool isInside(const CRect& r) const;

    bool operator==(const CPoint& o) const { return x == o.x && y == o.y; }
    bool operator!=(const CPoint& o) const { return !(*this == o); }
    CPoint operator+(const CPoint& o) const { return CPoint(x + o.x, y + o.y); }
    CPoint operator-(const CPoint& o) const { return CPoint(x - o.x, y - o.y); }
    CPoint operator-() const { return CPoint(-x, -y); }
    CPoint& operator+=(const CPoint& o) { return offset(o); }
    CPoint& operator-=(const CPoint& o) { return offsetInverse(o); }
};

} // namespace VSTGUI
