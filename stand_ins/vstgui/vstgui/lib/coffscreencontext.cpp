#include "vstgui/lib/coffscreencontext.h"

#include <cairo.h>

namespace VSTGUI {

COffscreenContext* COffscreenContext::create(CFrame*, CCoord width, CCoord height, double scaleFactor)
{
    auto bitmap = owned(new CBitmap(width, height, scaleFactor));
    if (!bitmap->isLoaded()) return nullptr;
    return new COffscreenContext(bitmap);
}

COffscreenContext::COffscreenContext(CBitmap* b)
    : CDrawContext(b->getCairoSurface(),
                   CRect(0, 0, b->getCairoSurface() ? cairo_image_surface_get_width(b->getCairoSurface()) : 0,
                         b->getCairoSurface() ? cairo_image_surface_get_height(b->getCairoSurface()) : 0),
                   b->getScaleFactor()),
      bitmap(b)
{
}

void COffscreenContext::copyFrom(CDrawContext* pContext, CRect destRect, CPoint srcOffset)
{
    if (!pContext) return;
    cairo_surface_flush(getSurface());
    pContext->paintBitmap(bitmap, destRect, srcOffset, 1.f, CAIRO_OPERATOR_SOURCE);
}

void COffscreenContext::beginDraw()
{
    saveGlobalState();
}

void COffscreenContext::endDraw()
{
    restoreGlobalState();
    CDrawContext::endDraw();
}

} // namespace VSTGUI
