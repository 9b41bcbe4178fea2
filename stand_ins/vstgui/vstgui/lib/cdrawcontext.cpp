#include "vstgui/lib/cdrawcontext.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/platform/cairo_support.h"

#include <cairo.h>

#include <cmath>

namespace VSTGUI {

const CLineStyle kLineSolid;
const CLineStyle kLineOnOffDash(CLineStyle::kLineCapButt, CLineStyle::kLineJoinMiter, 0, {1, 1});

CRect CGraphicsTransform::transform(const CRect& r) const
{
    const CPoint a = transform(r.getTopLeft());
    const CPoint b = transform(r.getTopRight());
    const CPoint c = transform(r.getBottomLeft());
    const CPoint d = transform(r.getBottomRight());
    return CRect(std::min({a.x, b.x, c.x, d.x}), std::min({a.y, b.y, c.y, d.y}),
                 std::max({a.x, b.x, c.x, d.x}), std::max({a.y, b.y, c.y, d.y}));
}

CGraphicsTransform CGraphicsTransform::inverse() const
{
    const double det = m11 * m22 - m12 * m21;
    CGraphicsTransform r;
    if (det == 0) return r;
    r.m11 = m22 / det;
    r.m12 = -m12 / det;
    r.m21 = -m21 / det;
    r.m22 = m11 / det;
    r.dx = -(r.m11 * dx + r.m12 * dy);
    r.dy = -(r.m21 * dx + r.m22 * dy);
    return r;
}

// Sets up cairo for one drawing operation: the clip in surface
// coordinates, then the transform and the anti-aliasing of the state.
class CDrawContext::DrawScope {
public:
    explicit DrawScope(CDrawContext& c) : cr(c.cr)
    {
        cairo_save(cr);
        cairo_identity_matrix(cr);
        const CRect& clip = c.state.clipRect;
        cairo_rectangle(cr, clip.left, clip.top, clip.getWidth(), clip.getHeight());
        cairo_clip(cr);
        const CGraphicsTransform& t = c.state.transform;
        cairo_matrix_t m;
        cairo_matrix_init(&m, t.m11, t.m21, t.m12, t.m22, t.dx, t.dy);
        cairo_set_matrix(cr, &m);
        cairo_set_antialias(cr, c.state.drawMode.modeIgnoringIntegralMode() == kAntiAliasing
                                    ? CAIRO_ANTIALIAS_DEFAULT
                                    : CAIRO_ANTIALIAS_NONE);
    }
    ~DrawScope() { cairo_restore(cr); }
    DrawScope(const DrawScope&) = delete;
    DrawScope& operator=(const DrawScope&) = delete;

private:
    cairo_t* cr;
};

CDrawContext::CDrawContext(cairo_surface_t* s, const CRect& rect, double scale)
    : surface(cairo_surface_reference(s)), cr(cairo_create(s)), surfaceRect(rect), scaleFactor(scale > 0 ? scale : 1.0)
{
    state.clipRect = surfaceRect;
    state.transform.scale(scaleFactor, scaleFactor);
    state.font = kSystemFont;
}

CDrawContext::~CDrawContext()
{
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
}

void CDrawContext::endDraw()
{
    cairo_surface_flush(surface);
}

void CDrawContext::setGlobalAlpha(float alpha)
{
    state.globalAlpha = alpha < 0.f ? 0.f : (alpha > 1.f ? 1.f : alpha);
}

void CDrawContext::setClipRect(const CRect& clip)
{
    CRect r = state.transform.transform(clip);
    r.normalize();
    // On whole pixels of the surface: a clip edge inside a pixel would let
    // that pixel be blended by coverage, which cairo rounds differently
    // depending on the rest of the clip, so that a part drawn alone would
    // not match the same part of a drawing of the whole.
    r = CRect(std::round(r.left), std::round(r.top), std::round(r.right), std::round(r.bottom));
    r.bound(surfaceRect);
    state.clipRect = r;
}

CRect& CDrawContext::getClipRect(CRect& clip) const
{
    clip = state.transform.inverse().transform(state.clipRect);
    return clip;
}

void CDrawContext::resetClipRect()
{
    state.clipRect = surfaceRect;
}

void CDrawContext::saveGlobalState()
{
    stateStack.push_back(state);
}

void CDrawContext::restoreGlobalState()
{
    if (stateStack.empty()) return;
    state = stateStack.back();
    stateStack.pop_back();
}

void CDrawContext::pushTransform(const CGraphicsTransform& transform)
{
    transformStack.push_back(state.transform);
    state.transform = state.transform * transform;
}

void CDrawContext::popTransform()
{
    if (transformStack.empty()) return;
    state.transform = transformStack.back();
    transformStack.pop_back();
}

double CDrawContext::lineOffset() const
{
    if (!state.drawMode.integralMode()) return 0;
    const long w = std::lround(state.lineWidth);
    return (double(w) == state.lineWidth && (w % 2) == 1) ? 0.5 : 0;
}

void CDrawContext::strokeSettings()
{
    CairoSupport::setSourceColor(cr, state.frameColor, state.globalAlpha);
    cairo_set_line_width(cr, state.lineWidth);
    static const cairo_line_cap_t caps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_ROUND, CAIRO_LINE_CAP_SQUARE};
    static const cairo_line_join_t joins[] = {CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_ROUND, CAIRO_LINE_JOIN_BEVEL};
    cairo_set_line_cap(cr, caps[state.lineStyle.getLineCap()]);
    cairo_set_line_join(cr, joins[state.lineStyle.getLineJoin()]);
    const auto& dashes = state.lineStyle.getDashLengths();
    if (dashes.empty()) {
        cairo_set_dash(cr, nullptr, 0, 0);
    } else {
        std::vector<double> lengths;
        for (CCoord d : dashes) lengths.push_back(d * state.lineWidth);
        cairo_set_dash(cr, lengths.data(), int(lengths.size()), state.lineStyle.getDashPhase() * state.lineWidth);
    }
}

void CDrawContext::moveTo(const CPoint& point)
{
    penPosition = point;
}

void CDrawContext::lineTo(const CPoint& point)
{
    drawLine(penPosition, point);
    penPosition = point;
}

void CDrawContext::drawLine(const CPoint& start, const CPoint& end)
{
    DrawScope scope(*this);
    const double o = lineOffset();
    cairo_move_to(cr, start.x + o, start.y + o);
    cairo_line_to(cr, end.x + o, end.y + o);
    strokeSettings();
    cairo_stroke(cr);
}

void CDrawContext::drawLines(const LineList& lines)
{
    if (lines.empty()) return;
    DrawScope scope(*this);
    const double o = lineOffset();
    for (const auto& l : lines) {
        cairo_move_to(cr, l.first.x + o, l.first.y + o);
        cairo_line_to(cr, l.second.x + o, l.second.y + o);
    }
    strokeSettings();
    cairo_stroke(cr);
}

void CDrawContext::drawLines(const CPoint* points, const int32_t& numberOfLines)
{
    if (!points || numberOfLines <= 0) return;
    LineList lines;
    for (int32_t i = 0; i < numberOfLines; ++i) lines.emplace_back(points[2 * i], points[2 * i + 1]);
    drawLines(lines);
}

void CDrawContext::drawPolygon(const PointList& points, const CDrawStyle drawStyle)
{
    if (points.size() < 2) return;
    DrawScope scope(*this);
    const bool stroke = drawStyle != kDrawFilled;
    const double o = stroke ? lineOffset() : 0;
    cairo_move_to(cr, points[0].x + o, points[0].y + o);
    for (size_t i = 1; i < points.size(); ++i) cairo_line_to(cr, points[i].x + o, points[i].y + o);
    cairo_close_path(cr);
    if (drawStyle != kDrawStroke) {
        CairoSupport::setSourceColor(cr, state.fillColor, state.globalAlpha);
        if (stroke)
            cairo_fill_preserve(cr);
        else
            cairo_fill(cr);
    }
    if (stroke) {
        strokeSettings();
        cairo_stroke(cr);
    }
}

void CDrawContext::drawPolygon(const CPoint* points, int32_t numberOfPoints, const CDrawStyle drawStyle)
{
    if (!points || numberOfPoints <= 0) return;
    drawPolygon(PointList(points, points + numberOfPoints), drawStyle);
}

void CDrawContext::drawPolyline(const PointList& points)
{
    if (points.size() < 2) return;
    DrawScope scope(*this);
    const double o = lineOffset();
    cairo_move_to(cr, points[0].x + o, points[0].y + o);
    for (size_t i = 1; i < points.size(); ++i) cairo_line_to(cr, points[i].x + o, points[i].y + o);
    strokeSettings();
    cairo_stroke(cr);
}

void CDrawContext::drawRect(const CRect& rect, const CDrawStyle drawStyle)
{
    CRect r(rect);
    r.normalize();
    DrawScope scope(*this);
    if (drawStyle != kDrawStroke) {
        pixelRectangle(r);
        CairoSupport::setSourceColor(cr, state.fillColor, state.globalAlpha);
        cairo_fill(cr);
    }
    if (drawStyle != kDrawFilled) {
        const double half = state.lineWidth / 2;
        cairo_rectangle(cr, r.left + half, r.top + half, r.getWidth() - state.lineWidth,
                        r.getHeight() - state.lineWidth);
        strokeSettings();
        cairo_stroke(cr);
    }
}

void CDrawContext::drawEllipse(const CRect& rect, const CDrawStyle drawStyle)
{
    CRect r(rect);
    r.normalize();
    if (r.isEmpty()) return;
    DrawScope scope(*this);
    auto path = [&](double inset) {
        const double w = r.getWidth() - 2 * inset;
        const double h = r.getHeight() - 2 * inset;
        if (w <= 0 || h <= 0) return false;
        cairo_save(cr);
        cairo_translate(cr, r.left + inset + w / 2, r.top + inset + h / 2);
        cairo_scale(cr, w / 2, h / 2);
        cairo_new_path(cr);
        cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
        cairo_restore(cr);
        return true;
    };
    if (drawStyle != kDrawStroke && path(0)) {
        CairoSupport::setSourceColor(cr, state.fillColor, state.globalAlpha);
        cairo_fill(cr);
    }
    if (drawStyle != kDrawFilled && path(state.lineWidth / 2)) {
        strokeSettings();
        cairo_stroke(cr);
    }
}

void CDrawContext::drawRoundRect(const CRect& rect, CCoord radius, const CDrawStyle drawStyle)
{
    CRect r(rect);
    r.normalize();
    if (r.isEmpty()) return;
    DrawScope scope(*this);
    auto path = [&](double inset) {
        const CRect b(r.left + inset, r.top + inset, r.right - inset, r.bottom - inset);
        const double rad = std::max(0.0, std::min({double(radius), b.getWidth() / 2, b.getHeight() / 2}));
        cairo_new_path(cr);
        cairo_arc(cr, b.right - rad, b.top + rad, rad, -M_PI / 2, 0);
        cairo_arc(cr, b.right - rad, b.bottom - rad, rad, 0, M_PI / 2);
        cairo_arc(cr, b.left + rad, b.bottom - rad, rad, M_PI / 2, M_PI);
        cairo_arc(cr, b.left + rad, b.top + rad, rad, M_PI, 3 * M_PI / 2);
        cairo_close_path(cr);
    };
    if (drawStyle != kDrawStroke) {
        path(0);
        CairoSupport::setSourceColor(cr, state.fillColor, state.globalAlpha);
        cairo_fill(cr);
    }
    if (drawStyle != kDrawFilled) {
        path(state.lineWidth / 2);
        strokeSettings();
        cairo_stroke(cr);
    }
}

void CDrawContext::drawPoint(const CPoint& point, const CColor& color)
{
    DrawScope scope(*this);
    cairo_rectangle(cr, point.x, point.y, 1, 1);
    CairoSupport::setSourceColor(cr, color, state.globalAlpha);
    cairo_fill(cr);
}

void CDrawContext::clearRect(const CRect& rect)
{
    DrawScope scope(*this);
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    pixelRectangle(rect);
    cairo_fill(cr);
}

void CDrawContext::pixelRectangle(const CRect& rect)
{
    CRect r = state.transform.transform(rect);
    r = CRect(std::round(r.left), std::round(r.top), std::round(r.right), std::round(r.bottom));
    cairo_matrix_t user;
    cairo_get_matrix(cr, &user);
    cairo_identity_matrix(cr);
    cairo_rectangle(cr, r.left, r.top, r.getWidth(), r.getHeight());
    cairo_set_matrix(cr, &user);
}

void CDrawContext::drawBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& offset, float alpha)
{
    paintBitmap(bitmap, dest, offset, alpha, CAIRO_OPERATOR_OVER);
}

void CDrawContext::paintBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& offset, float alpha,
                               int cairoOperator)
{
    if (!bitmap || !bitmap->isLoaded() || dest.isEmpty()) return;
    cairo_surface_t* source = bitmap->getCairoSurface();
    cairo_surface_t* copy = nullptr;
    if (source == surface) {
        // Drawing a surface onto itself: take the picture first.
        copy = cairo_surface_create_similar_image(source, CAIRO_FORMAT_ARGB32,
                                                  cairo_image_surface_get_width(source),
                                                  cairo_image_surface_get_height(source));
        cairo_t* c = cairo_create(copy);
        cairo_set_source_surface(c, source, 0, 0);
        cairo_set_operator(c, CAIRO_OPERATOR_SOURCE);
        cairo_paint(c);
        cairo_destroy(c);
        source = copy;
    }
    {
        DrawScope scope(*this);
        // Limit to the destination and to the part of the picture that exists.
        CRect limit(dest.left, dest.top, dest.left - offset.x + bitmap->getWidth(),
                    dest.top - offset.y + bitmap->getHeight());
        limit.bound(dest);
        // On whole pixels of the surface, so that a picture's edge is
        // drawn alike whether the picture is drawn whole or in parts.
        CRect pixels = state.transform.transform(limit);
        pixels = CRect(std::round(pixels.left), std::round(pixels.top), std::round(pixels.right),
                       std::round(pixels.bottom));
        cairo_matrix_t user;
        cairo_get_matrix(cr, &user);
        cairo_identity_matrix(cr);
        cairo_rectangle(cr, pixels.left, pixels.top, pixels.getWidth(), pixels.getHeight());
        cairo_clip(cr);
        cairo_set_matrix(cr, &user);
        cairo_set_source_surface(cr, source, dest.left - offset.x, dest.top - offset.y);
        // The picture's pixels per unit: a picture of the context's own
        // factor lands pixel for pixel, and other scales take each pixel
        // of the nearest: sharp, and alike whether the picture is drawn
        // whole or in parts.
        const double b = bitmap->getScaleFactor();
        if (b != 1.0) {
            cairo_matrix_t m;
            cairo_matrix_init_scale(&m, b, b);
            cairo_matrix_translate(&m, -(dest.left - offset.x), -(dest.top - offset.y));
            cairo_pattern_set_matrix(cairo_get_source(cr), &m);
        }
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_set_operator(cr, cairo_operator_t(cairoOperator));
        const double a = double(alpha) * state.globalAlpha;
        if (a >= 1.0)
            cairo_paint(cr);
        else
            cairo_paint_with_alpha(cr, a);
    }
    if (copy) cairo_surface_destroy(copy);
}

void CDrawContext::setFont(const CFontRef font, const CCoord& size, const int32_t& style)
{
    if (!font) return;
    if (size == 0 && style == -1) {
        state.font = font;
        return;
    }
    auto* f = new CFontDesc(*font);
    if (size != 0) f->setSize(size);
    if (style != -1) f->setStyle(style);
    state.font = owned(f);
}

CCoord CDrawContext::getStringWidth(UTF8StringPtr string)
{
    if (!string || !*string) return 0;
    cairo_save(cr);
    CairoSupport::selectFont(cr, *state.font);
    cairo_text_extents_t e;
    cairo_text_extents(cr, string, &e);
    cairo_restore(cr);
    return e.x_advance;
}

void CDrawContext::drawString(UTF8StringPtr string, const CRect& rect, const CHoriTxtAlign hAlign, bool antialias)
{
    if (!string || !*string || rect.isEmpty()) return;
    DrawScope scope(*this);
    cairo_rectangle(cr, rect.left, rect.top, rect.getWidth(), rect.getHeight());
    cairo_clip(cr);
    CairoSupport::selectFont(cr, *state.font);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, antialias ? CAIRO_ANTIALIAS_GRAY : CAIRO_ANTIALIAS_NONE);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    cairo_text_extents_t te;
    cairo_text_extents(cr, string, &te);
    double x = rect.left;
    if (hAlign == kCenterText)
        x = rect.left + (rect.getWidth() - te.x_advance) / 2;
    else if (hAlign == kRightText)
        x = rect.right - te.x_advance;
    const double y = rect.top + (rect.getHeight() + fe.ascent - fe.descent) / 2;
    cairo_move_to(cr, std::round(x), std::round(y));
    CairoSupport::setSourceColor(cr, state.fontColor, state.globalAlpha);
    cairo_show_text(cr, string);
}

void CDrawContext::drawString(UTF8StringPtr string, const CPoint& point, bool antialias)
{
    if (!string || !*string) return;
    DrawScope scope(*this);
    CairoSupport::selectFont(cr, *state.font);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, antialias ? CAIRO_ANTIALIAS_GRAY : CAIRO_ANTIALIAS_NONE);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
    cairo_move_to(cr, point.x, point.y);
    CairoSupport::setSourceColor(cr, state.fontColor, state.globalAlpha);
    cairo_show_text(cr, string);
}

} // namespace VSTGUI
