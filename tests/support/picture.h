#pragma once

// Pictures of the panel as plain arrays of 0xRRGGBB pixels, from PNG files
// (read with cairo) or from whatever a test grabs from a screen, and the
// comparisons the editor tests make on regions of them.

#include <cairo.h>

#include <algorithm>
#include <cstdlib>
#include <cstdint>
#include <string>
#include <vector>

#include "support/ui_layout.h"

namespace test_panel {

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;  // 0xAARRGGBB, row by row; AA is ff for screens

    bool empty() const { return pixels.empty(); }
    // The colour, 0xRRGGBB.
    uint32_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)] & 0xffffff; }
    unsigned alpha(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)] >> 24; }
    Rect whole() const { return Rect{0, 0, width, height}; }
};

// The colour, 0xRRGGBB, of a pixel of an image surface (an offscreen
// view's picture).
inline uint32_t surfacePixel(cairo_surface_t* surface, int x, int y)
{
    cairo_surface_flush(surface);
    const auto* row = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(surface) +
                                                        y * cairo_image_surface_get_stride(surface));
    return row[x] & 0xffffff;
}

// A pixel near a colour, each channel within 64: lines of one pixel are
// drawn with smoothing, so that a neighbour's colour may show through.
inline bool nearColour(uint32_t pixel, uint32_t colour)
{
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(int((pixel >> shift) & 0xff) - int((colour >> shift) & 0xff)) > 64) return false;
    return true;
}

// A PNG file as a picture; empty when the file is no PNG. Colours of pixels
// with alpha below 255 are as cairo stores them (premultiplied).
inline Picture readPNG(const std::string& path)
{
    Picture picture;
    cairo_surface_t* surface = cairo_image_surface_create_from_png(path.c_str());
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
        cairo_surface_flush(surface);
        picture.width = cairo_image_surface_get_width(surface);
        picture.height = cairo_image_surface_get_height(surface);
        const int stride = cairo_image_surface_get_stride(surface);
        const unsigned char* data = cairo_image_surface_get_data(surface);
        // A picture without alpha has undefined upper bytes.
        const uint32_t opaque = cairo_image_surface_get_format(surface) == CAIRO_FORMAT_ARGB32 ? 0u : 0xff000000u;
        picture.pixels.resize(size_t(picture.width) * size_t(picture.height));
        for (int y = 0; y < picture.height; ++y) {
            const auto* row = reinterpret_cast<const uint32_t*>(data + size_t(y) * size_t(stride));
            uint32_t* out = picture.pixels.data() + size_t(y) * size_t(picture.width);
            for (int x = 0; x < picture.width; ++x) out[x] = row[x] | opaque;
        }
    }
    cairo_surface_destroy(surface);
    return picture;
}

// Writes a picture as an opaque PNG file, so that a failing comparison can
// be looked at; false when it cannot be written.
inline bool writePNG(const Picture& picture, const std::string& path)
{
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height);
    cairo_surface_flush(surface);
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < picture.height && data; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(data + size_t(y) * size_t(stride));
        for (int x = 0; x < picture.width; ++x) row[x] = picture.at(x, y);
    }
    cairo_surface_mark_dirty(surface);
    const bool ok = cairo_surface_write_to_png(surface, path.c_str()) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(surface);
    return ok;
}

// Pixels of the region (clipped to both pictures) whose colours differ.
inline long differingPixels(const Picture& a, const Picture& b, const Rect& region)
{
    const int x0 = std::max(region.x, 0), y0 = std::max(region.y, 0);
    const int x1 = std::min({region.right(), a.width, b.width});
    const int y1 = std::min({region.bottom(), a.height, b.height});
    long count = 0;
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            if (a.at(x, y) != b.at(x, y)) ++count;
        }
    }
    return count;
}

// Pixels outside every one of the regions that differ.
inline long differingPixelsOutside(const Picture& a, const Picture& b, const std::vector<Rect>& regions)
{
    long count = 0;
    const int w = std::min(a.width, b.width), h = std::min(a.height, b.height);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            if (a.at(x, y) == b.at(x, y)) continue;
            const bool inside =
                std::any_of(regions.begin(), regions.end(), [&](const Rect& r) { return r.contains(x, y); });
            if (!inside) ++count;
        }
    }
    return count;
}

} // namespace test_panel
