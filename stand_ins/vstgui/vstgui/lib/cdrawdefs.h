#pragma once

// Settings of drawing: anti-aliasing, line styles, fill styles, text
// alignment and the transform of the drawing coordinates.

#include "vstgui/lib/crect.h"

#include <vector>

namespace VSTGUI {

enum CDrawModeFlags : uint32_t {
    kAliasing = 0,
    kAntiAliasing = 1,
    // Coordinates are used as given rather than placed on pixel centres.
    kNonIntegralMode = 0xF000000
};

class CDrawMode {
public:
    constexpr CDrawMode(uint32_t mode = kAliasing) : mode(mode) {}
    uint32_t modeIgnoringIntegralMode() const { return mode & ~uint32_t(kNonIntegralMode); }
    bool integralMode() const { return (mode & kNonIntegralMode) == 0; }
    uint32_t operator()() const { return mode; }
    bool operator==(const CDrawMode& o) const { return mode == o.mode; }
    bool operator!=(const CDrawMode& o) const { return mode != o.mode; }

private:
    uint32_t mode;
};

enum CDrawStyle {
    kDrawStroke,
    kDrawFilled,
    kDrawFilledAndStroked
};

enum CHoriTxtAlign {
    kLeftText = 0,
    kCenterText,
    kRightText
};

// The style of a line: its caps and joins and an optional dash pattern in
// multiples of the line width.
class CLineStyle {
public:
    enum LineCap { kLineCapButt = 0, kLineCapRound, kLineCapSquare };
    enum LineJoin { kLineJoinMiter = 0, kLineJoinRound, kLineJoinBevel };
    using CoordVector = std::vector<CCoord>;

    CLineStyle(LineCap cap = kLineCapButt, LineJoin join = kLineJoinMiter, CCoord dashPhase = 0,
               const CoordVector& dashLengths = {})
        : cap(cap), join(join), dashPhase(dashPhase), dashLengths(dashLengths)
    {
    }

    LineCap getLineCap() const { return cap; }
    LineJoin getLineJoin() const { return join; }
    CCoord getDashPhase() const { return dashPhase; }
    const CoordVector& getDashLengths() const { return dashLengths; }
    void setLineCap(LineCap c) { cap = c; }
    void setLineJoin(LineJoin j) { join = j; }
    void setDashPhase(CCoord p) { dashPhase = p; }
    CoordVector& getDashLengths() { return dashLengths; }

    bool operator==(const CLineStyle& o) const
    {
        return cap == o.cap && join == o.join && dashPhase == o.dashPhase &&
               dashLengths == o.dashLengths;
    }
    bool operator!=(const CLineStyle& o) const { return !(*this == o); }

private:
    LineCap cap;
    LineJoin join;
    CCoord dashPhase;
    CoordVector dashLengths;
};

extern const CLineStyle kLineSolid;
extern const CLineStyle kLineOnOffDash;

// An affine transform of drawing coordinates:
// x' = m11 * x + m12 * y + dx, y' = m21 * x + m22 * y + dy.
struct CGraphicsTransform {
    double m11 = 1, m12 = 0, m21 = 0, m22 = 1, dx = 0, dy = 0;

    CGraphicsTransform& translate(double x, double y)
    {
        dx += x;
        dy += y;
        return *this;
    }
    CGraphicsTransform& translate(const CPoint& p) { return translate(p.x, p.y); }
    CGraphicsTransform& scale(double sx, double sy)
    {
        m11 *= sx;
        m12 *= sx;
        dx *= sx;
        m21 *= sy;
        m22 *= sy;
        dy *= sy;
        return *this;
    }
    // The transform that applies t first and this one after.
    CGraphicsTransform operator*(const CGraphicsTransform& t) const
    {
        CGraphicsTransform r;
        r.m11 = m11 * t.m11 + m12 * t.m21;
        r.m12 = m11 * t.m12 + m12 * t.m22;
        r.m21 = m21 * t.m11 + m22 * t.m21;
        r.m22 = m21 * t.m12 + m22 * t.m22;
        r.dx = m11 * t.dx + m12 * t.dy + dx;
        r.dy = m21 * t.dx + m22 * t.dy + dy;
        return r;
    }
    CPoint transform(const CPoint& p) const
    {
        return CPoint(m11 * p.x + m12 * p.y + dx, m21 * p.x + m22 * p.y + dy);
    }
    // The bounding box of the transformed rectangle.
    CRect transform(const CRect& r) const;
    CGraphicsTransform inverse() const;
    bool isIdentity() const
    {
        return m11 == 1 && m12 == 0 && m21 == 0 && m22 == 1 && dx == 0 && dy == 0;
    }
};

} // namespace VSTGUI
