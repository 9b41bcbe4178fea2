#pragma once

// A drawing context on a picture of its own, kept for copying into other
// contexts: the panel's graph and keyboard images.

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"

namespace VSTGUI {

class CFrame;

class COffscreenContext : public CDrawContext {
public:
    // A transparent picture of width x height whole units at
    // `scaleFactor` pixels per unit, with one reference for the caller;
    // null for an empty size. The frame may be null.
    static COffscreenContext* create(CFrame* frame, CCoord width, CCoord height, double scaleFactor = 1.0);
    // A context drawing into an existing bitmap, at the bitmap's scale.
    explicit COffscreenContext(CBitmap* bitmap);

    // Copies the rectangle of the picture that starts at srcOffset into
    // destRect of another context, replacing what was there (transparent
    // pixels included). Between pictures of one scale factor, whole units
    // copy pixel for pixel.
    void copyFrom(CDrawContext* pContext, CRect destRect, CPoint srcOffset = CPoint(0, 0));

    CBitmap* getBitmap() const { return bitmap; }
    CCoord getWidth() const { return bitmap->getWidth(); }
    CCoord getHeight() const { return bitmap->getHeight(); }

    void beginDraw() override;
    void endDraw() override;

    CLASS_METHODS_NOCOPY(COffscreenContext, CDrawContext)

private:
    SharedPointer<CBitmap> bitmap;
};

} // namespace VSTGUI
