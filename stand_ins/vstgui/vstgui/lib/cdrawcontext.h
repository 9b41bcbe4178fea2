#pragma once

// Drawing on a cairo surface. Coordinates pass through the current
// transform (views draw in the coordinates of their parent container);
// the clip rectangle is kept in surface coordinates and limits every
// drawing operation. Lines of an odd whole width are placed on pixel
// centres, so that a one-pixel line from (0, 5) to (10, 5) covers exactly
// the pixels 0..9 of row 5, and a stroked rectangle lies inside its
// rectangle.

#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/cdrawdefs.h"
#include "vstgui/lib/cfont.h"

#include <utility>
#include <vector>

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace VSTGUI {

class CBitmap;

class CDrawContext : public CBaseObject {
public:
    using LinePair = std::pair<CPoint, CPoint>;
    using LineList = std::vector<LinePair>;
    using PointList = std::vector<CPoint>;

    // Draws on the surface, which is kept referenced; surfaceRect is its
    // extent in surface pixels (normally 0, 0, width, height). With a scale
    // factor s, one unit of the coordinates is s pixels: the whole drawing
    // is scaled, and pictures of the same factor copy pixel for pixel.
    CDrawContext(cairo_surface_t* surface, const CRect& surfaceRect, double scaleFactor = 1.0);
    ~CDrawContext() override;
    CDrawContext(const CDrawContext&) = delete;
    CDrawContext& operator=(const CDrawContext&) = delete;

    //--- Lines and shapes, in the frame colour, fill colour, line width and
    // line style of the state.
    void moveTo(const CPoint& point);
    void lineTo(const CPoint& point);
    const CPoint& getPenPosition() const { return penPosition; }
    void drawLine(const CPoint& start, const CPoint& end);
    void drawLine(const LinePair& line) { drawLine(line.first, line.second); }
    void drawLines(const LineList& lines);
    // numberOfLines pairs of points, start and end of each line.
    void drawLines(const CPoint* points, const int32_t& numberOfLines);
    // A closed polygon through the points.
    void drawPolygon(const PointList& points, const CDrawStyle drawStyle = kDrawStroke);
    void drawPolygon(const CPoint* points, int32_t numberOfPoints, const CDrawStyle drawStyle = kDrawStroke);
    // An open line through the points.
    void drawPolyline(const PointList& points);
    void drawRect(const CRect& rect, const CDrawStyle drawStyle = kDrawStroke);
    void drawEllipse(const CRect& rect, const CDrawStyle drawStyle = kDrawStroke);
    // A rectangle with corners rounded by the radius.
    void drawRoundRect(const CRect& rect, CCoord radius, const CDrawStyle drawStyle = kDrawStroke);
    // One pixel in a colour.
    void drawPoint(const CPoint& point, const CColor& color);
    // Makes the rectangle fully transparent.
    void clearRect(const CRect& rect);

    //--- Pictures: the part of the bitmap that starts at offset, into dest,
    // unscaled, blended over what is there.
    void drawBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& offset = CPoint(0, 0),
                    float alpha = 1.f);

    //--- Text, in the font and font colour of the state.
    void setFont(const CFontRef font, const CCoord& size = 0, const int32_t& style = -1);
    CFontRef getFont() const { return state.font.get(); }
    void setFontColor(const CColor& color) { state.fontColor = color; }
    const CColor& getFontColor() const { return state.fontColor; }
    CCoord getStringWidth(UTF8StringPtr string);
    // The string in the rectangle, centred vertically and aligned
    // horizontally, clipped to the rectangle.
    void drawString(UTF8StringPtr string, const CRect& rect, const CHoriTxtAlign hAlign = kCenterText,
                    bool antialias = true);
    // The string with its baseline starting at the point.
    void drawString(UTF8StringPtr string, const CPoint& point, bool antialias = true);

    //--- State.
    void setLineStyle(const CLineStyle& style) { state.lineStyle = style; }
    const CLineStyle& getLineStyle() const { return state.lineStyle; }
    void setLineWidth(CCoord width) { state.lineWidth = width; }
    CCoord getLineWidth() const { return state.lineWidth; }
    void setDrawMode(CDrawMode mode) { state.drawMode = mode; }
    CDrawMode getDrawMode() const { return state.drawMode; }
    void setFillColor(const CColor& color) { state.fillColor = color; }
    const CColor& getFillColor() const { return state.fillColor; }
    void setFrameColor(const CColor& color) { state.frameColor = color; }
    const CColor& getFrameColor() const { return state.frameColor; }
    // Multiplies the alpha of everything drawn, 0..1.
    void setGlobalAlpha(float alpha);
    float getGlobalAlpha() const { return state.globalAlpha; }

    // The clip rectangle in the current coordinates; it replaces the one
    // before, limited to the surface.
    void setClipRect(const CRect& clip);
    CRect& getClipRect(CRect& clip) const;
    void resetClipRect();

    // Saves and restores the whole state: colours, font, line, mode, clip,
    // alpha and transform.
    void saveGlobalState();
    void restoreGlobalState();

    //--- Transform of the coordinates.
    const CGraphicsTransform& getCurrentTransform() const { return state.transform; }
    // Applies a transform on top of the current one until the matching pop.
    void pushTransform(const CGraphicsTransform& transform);
    void popTransform();

    // Applies a transform for the length of a scope.
    class Transform {
    public:
        Transform(CDrawContext& context, const CGraphicsTransform& transform) : context(context)
        {
            context.pushTransform(transform);
        }
        ~Transform() { context.popTransform(); }
        Transform(const Transform&) = delete;
        Transform& operator=(const Transform&) = delete;

    private:
        CDrawContext& context;
    };

    //--- Surface.
    const CRect& getSurfaceRect() const { return surfaceRect; }
    double getScaleFactor() const { return scaleFactor; }
    cairo_t* getCairo() const { return cr; }
    cairo_surface_t* getSurface() const { return surface; }
    virtual void beginDraw() {}
    virtual void endDraw();

    CLASS_METHODS_NOCOPY(CDrawContext, CBaseObject)

protected:
    friend class COffscreenContext;
    // Paints a bitmap with a cairo operator (over, or source for a copy).
    void paintBitmap(CBitmap* bitmap, const CRect& dest, const CPoint& offset, float alpha, int cairoOperator);

private:
    struct State {
        CColor frameColor = kBlackCColor;
        CColor fillColor = kWhiteCColor;
        CColor fontColor = kBlackCColor;
        SharedPointer<CFontDesc> font;
        CCoord lineWidth = 1;
        CLineStyle lineStyle;
        CDrawMode drawMode;
        CRect clipRect;
        float globalAlpha = 1.f;
        CGraphicsTransform transform;
    };
    class DrawScope;

    void strokeSettings();
    // Adds the rectangle to the path on whole pixels of the surface: filled
    // areas keep sharp edges at any scale, drawn whole or in parts.
    void pixelRectangle(const CRect& rect);
    // The shift that puts lines of an odd whole width on pixel centres.
    double lineOffset() const;

    cairo_surface_t* surface;
    cairo_t* cr;
    CRect surfaceRect;
    double scaleFactor = 1.0;
    State state;
    std::vector<State> stateStack;
    std::vector<CGraphicsTransform> transformStack;
    CPoint penPosition;
};

} // namespace VSTGUI
