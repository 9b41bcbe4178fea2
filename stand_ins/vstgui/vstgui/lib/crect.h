#pragma once

// A rectangle by its edges. Right and bottom lie outside: a rectangle of
// (0, 0, 10, 10) covers pixels 0..9 in both directions and contains the
// point (9.5, 9.5) but not (10, 10).

#include "vstgui/lib/cpoint.h"

#include <algorithm>

namespace VSTGUI {

struct CRect {
    constexpr CRect(CCoord left = 0, CCoord top = 0, CCoord right = 0, CCoord bottom = 0)
        : left(left), top(top), right(right), bottom(bottom)
    {
    }
    CRect(const CPoint& origin, const CPoint& size)
        : left(origin.x), top(origin.y), right(origin.x + size.x), bottom(origin.y + size.y)
    {
    }

    CCoord left;
    CCoord top;
    CCoord right;
    CCoord bottom;

    CCoord getWidth() const { return right - left; }
    CCoord getHeight() const { return bottom - top; }
    CRect& setWidth(CCoord w)
    {
        right = left + w;
        return *this;
    }
    CRect& setHeight(CCoord h)
    {
        bottom = top + h;
        return *this;
    }
    CPoint getTopLeft() const { return CPoint(left, top); }
    CPoint getTopRight() const { return CPoint(right, top); }
    CPoint getBottomLeft() const { return CPoint(left, bottom); }
    CPoint getBottomRight() const { return CPoint(right, bottom); }
    CPoint getCenter() const { return CPoint(left + getWidth() / 2, top + getHeight() / 2); }
    CPoint getSize() const { return CPoint(getWidth(), getHeight()); }
    CRect& setTopLeft(const CPoint& p)
    {
        const CPoint size = getSize();
        left = p.x;
        top = p.y;
        return setSize(size);
    }
    CRect& setSize(const CPoint& size)
    {
        right = left + size.x;
        bottom = top + size.y;
        return *this;
    }

    CRect& offset(CCoord dx, CCoord dy)
    {
        left += dx;
        right += dx;
        top += dy;
        bottom += dy;
        return *this;
    }
    CRect& offset(const CPoint& p) { return offset(p.x, p.y); }
    CRect& offsetInverse(const CPoint& p) { return offset(-p.x, -p.y); }
    // Moves the rectangle so that its top left corner lies at (x, y).
    CRect& moveTo(CCoord x, CCoord y) { return offset(x - left, y - top); }
    CRect& moveTo(const CPoint& p) { return moveTo(p.x, p.y); }

    // Moves every edge inwards by deltaX and deltaY (outwards when negative).
    CRect& inset(CCoord deltaX, CCoord deltaY)
    {
        left += deltaX;
        right -= deltaX;
        top += deltaY;
        bottom -= deltaY;
        return *this;
    }
    CRect& inset(const CPoint& p) { return inset(p.x, p.y); }
    CRect& extend(CCoord deltaX, CCoord deltaY) { return inset(-deltaX, -deltaY); }

    // Limits the rectangle to the bounds; an outside rectangle becomes empty
    // at the nearest edge.
    CRect& bound(const CRect& r)
    {
        left = std::max(left, r.left);
        top = std::max(top, r.top);
        right = std::min(right, r.right);
        bottom = std::min(bottom, r.bottom);
        if (right < left) right = left;
        if (bottom < top) bottom = top;
        return *this;
    }
    // The smallest rectangle holding both; an empty one is ignored.
    CRect& unite(const CRect& r)
    {
        if (r.isEmpty()) return *this;
        if (isEmpty()) return *this = r;
        left = std::min(left, r.left);
        top = std::min(top, r.top);
        right = std::max(right, r.right);
        bottom = std::max(bottom, r.bottom);
        return *this;
    }
    // Orders the edges so that left <= right and top <= bottom.
    CRect& normalize()
    {
        if (left > right) std::swap(left, right);
        if (top > bottom) std::swap(top, bottom);
        return *this;
    }
    CRect& makeIntegral()
    {
        CPoint tl = getTopLeft().makeIntegral();
        CPoint br = getBottomRight().makeIntegral();
        left = tl.x;
        top = tl.y;
        right = br.x;
        bottom = br.y;
        return *this;
    }
    CRect& centerInside(const CRect& r)
    {
        const CPoint c = r.getCenter();
        return moveTo(c.x - getWidth() / 2, c.y - getHeight() / 2);
    }

    bool pointInside(const CPoint& p) const
    {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }
    bool isEmpty() const { return right <= left || bottom <= top; }
    // True when the two rectangles share at least one pixel.
    bool rectOverlap(const CRect& r) const
    {
        return right > r.left && left < r.right && bottom > r.top && top < r.bottom;
    }

    bool operator==(const CRect& o) const
    {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    bool operator!=(const CRect& o) const { return !(*this == o); }
};

inline bool CPoint::isInside(const CRect& r) const
{
    return r.pointInside(*this);
}

} // namespace VSTGUI
