#include "vstgui/lib/cbitmap.h"

#include "vstgui/lib/cdrawcontext.h"

#include <cairo.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace VSTGUI {

CBitmap::CBitmap(const CResourceDescription& desc) : resourceDesc(desc)
{
    const std::string path = resolveResourcePath(desc);
    if (path.empty()) return;
    cairo_surface_t* s = cairo_image_surface_create_from_png(path.c_str());
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return;
    }
    surface = s;
}

CBitmap::CBitmap(CCoord width, CCoord height, double scale) : scaleFactor(scale > 0 ? scale : 1.0)
{
    // A hundredth of a pixel beyond a whole number counts as that number.
    const int w = int(std::ceil(width * scaleFactor - 0.01));
    const int h = int(std::ceil(height * scaleFactor - 0.01));
    if (w <= 0 || h <= 0) return;
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return;
    }
    surface = s;
}

CBitmap::CBitmap(cairo_surface_t* s)
{
    if (s) surface = cairo_surface_reference(s);
}

CBitmap::~CBitmap()
{
    if (surface) cairo_surface_destroy(surface);
}

void CBitmap::draw(CDrawContext* context, const CRect& rect, const CPoint& offset, float alpha)
{
    if (context) context->drawBitmap(this, rect, offset, alpha);
}

CCoord CBitmap::getWidth() const
{
    return surface ? cairo_image_surface_get_width(surface) / scaleFactor : 0;
}

CCoord CBitmap::getHeight() const
{
    return surface ? cairo_image_surface_get_height(surface) / scaleFactor : 0;
}

bool CBitmap::writePNG(UTF8StringPtr path) const
{
    if (!surface || !path || !*path) return false;
    cairo_surface_flush(surface);
    const std::string temp = std::string(path) + ".part";
    if (cairo_surface_write_to_png(surface, temp.c_str()) != CAIRO_STATUS_SUCCESS) {
        ::unlink(temp.c_str());
        return false;
    }
    if (std::rename(temp.c_str(), path) != 0) {
        ::unlink(temp.c_str());
        return false;
    }
    return true;
}

CBitmapPixelAccess* CBitmapPixelAccess::create(CBitmap* bitmap)
{
    if (!bitmap || !bitmap->isLoaded()) return nullptr;
    return new CBitmapPixelAccess(bitmap);
}

CBitmapPixelAccess::CBitmapPixelAccess(CBitmap* b) : bitmap(b)
{
    cairo_surface_t* s = b->getCairoSurface();
    cairo_surface_flush(s);
    data = cairo_image_surface_get_data(s);
    stride = cairo_image_surface_get_stride(s);
    width = uint32_t(cairo_image_surface_get_width(s));
    height = uint32_t(cairo_image_surface_get_height(s));
}

CBitmapPixelAccess::~CBitmapPixelAccess()
{
    if (modified) cairo_surface_mark_dirty(bitmap->getCairoSurface());
}

bool CBitmapPixelAccess::setPosition(uint32_t px, uint32_t py)
{
    if (px >= width || py >= height) return false;
    x = px;
    y = py;
    return true;
}

bool CBitmapPixelAccess::getColor(CColor& color) const
{
    if (!data) return false;
    const uint32_t pixel = *reinterpret_cast<const uint32_t*>(data + size_t(y) * size_t(stride) + size_t(x) * 4);
    const uint32_t a = pixel >> 24;
    auto unpremultiply = [a](uint32_t v) -> uint8_t {
        if (a == 0) return 0;
        return uint8_t((v * 255 + a / 2) / a);
    };
    color.alpha = uint8_t(a);
    color.red = unpremultiply((pixel >> 16) & 0xff);
    color.green = unpremultiply((pixel >> 8) & 0xff);
    color.blue = unpremultiply(pixel & 0xff);
    return true;
}

bool CBitmapPixelAccess::setColor(const CColor& color)
{
    if (!data) return false;
    const uint32_t a = color.alpha;
    auto premultiply = [a](uint32_t v) -> uint32_t { return (v * a + 127) / 255; };
    const uint32_t pixel = (a << 24) | (premultiply(color.red) << 16) | (premultiply(color.green) << 8) |
                           premultiply(color.blue);
    *reinterpret_cast<uint32_t*>(data + size_t(y) * size_t(stride) + size_t(x) * 4) = pixel;
    modified = true;
    return true;
}

} // namespace VSTGUI
