#pragma once

// A picture held as a cairo image surface (32-bit premultiplied ARGB):
// loaded from a PNG resource, made empty at a size, or the target of an
// offscreen context.

#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/cresourcedescription.h"
#include "vstgui/lib/crect.h"

typedef struct _cairo_surface cairo_surface_t;

namespace VSTGUI {

class CDrawContext;

class CBitmap : public CBaseObject {
public:
    // Loads the PNG file the description names. A file that is missing or
    // not a PNG gives a bitmap that is not loaded, of size 0 x 0.
    explicit CBitmap(const CResourceDescription& desc);
    // A transparent picture of the size, in whole units, held at
    // `scaleFactor` pixels per unit (the frame's content scale) so that it
    // stays sharp on a scaled window.
    CBitmap(CCoord width, CCoord height, double scaleFactor = 1.0);
    // Takes a reference to an image surface.
    explicit CBitmap(cairo_surface_t* surface);
    ~CBitmap() override;
    CBitmap(const CBitmap&) = delete;
    CBitmap& operator=(const CBitmap&) = delete;

    // Draws the part of the picture that starts at offset into rect, at
    // its own scale, limited to rect and to the picture.
    virtual void draw(CDrawContext* context, const CRect& rect, const CPoint& offset = CPoint(0, 0),
                      float alpha = 1.f);

    // Size in units: pixels divided by the scale factor.
    CCoord getWidth() const;
    CCoord getHeight() const;
    // Pixels per unit, 1 for pictures loaded from files.
    double getScaleFactor() const { return scaleFactor; }
    CPoint getSize() const { return CPoint(getWidth(), getHeight()); }
    bool isLoaded() const { return surface != nullptr; }
    const CResourceDescription& getResourceDescription() const { return resourceDesc; }

    // The image surface, or null when not loaded.
    cairo_surface_t* getCairoSurface() const { return surface; }

    // Writes the picture as a PNG file; false if it is not loaded or the
    // file cannot be written. The file appears whole or not at all.
    bool writePNG(UTF8StringPtr path) const;

    CLASS_METHODS_NOCOPY(CBitmap, CBaseObject)

private:
    cairo_surface_t* surface = nullptr;
    CResourceDescription resourceDesc;
    double scaleFactor = 1.0;
};

// Reads and writes single pixels of a bitmap as straight (unpremultiplied)
// colours.
class CBitmapPixelAccess : public CBaseObject {
public:
    // Null for a bitmap that is not loaded.
    static CBitmapPixelAccess* create(CBitmap* bitmap);
    ~CBitmapPixelAccess() override;

    // False outside the picture.
    bool setPosition(uint32_t x, uint32_t y);
    bool getColor(CColor& color) const;
    bool setColor(const CColor& color);
    uint32_t getBitmapWidth() const { return width; }
    uint32_t getBitmapHeight() const { return height; }

private:
    explicit CBitmapPixelAccess(CBitmap* bitmap);
    SharedPointer<CBitmap> bitmap;
    unsigned char* data = nullptr;
    int stride = 0;
    uint32_t width = 0, height = 0;
    uint32_t x = 0, y = 0;
    bool modified = false;
};

} // namespace VSTGUI
