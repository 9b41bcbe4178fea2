#pragma once

// Reading a pitch plot back from its pixels: the curves by their colours,
// the note grid by its grey lines, text by its dark pixels.

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "render/Pitch_Plot.h"

namespace plot_image {

struct Rgb {
    double r, g, b;
};

class Image {
public:
    // Takes over the surface; an unreadable one leaves the image empty.
    explicit Image(cairo_surface_t* surface)
    {
        if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
            cairo_surface_flush(surface);
            w = cairo_image_surface_get_width(surface);
            h = cairo_image_surface_get_height(surface);
            const int stride = cairo_image_surface_get_stride(surface);
            const unsigned char* data = cairo_image_surface_get_data(surface);
            pixels.resize(size_t(w) * size_t(h));
            for (int y = 0; y < h; ++y) {
                const auto* row = reinterpret_cast<const uint32_t*>(data + size_t(y) * size_t(stride));
                std::copy(row, row + w, pixels.begin() + long(y) * w);
            }
        }
        cairo_surface_destroy(surface);
    }

    static Image from_png(const std::string& path)
    {
        return Image(cairo_image_surface_create_from_png(path.c_str()));
    }

    int width() const { return w; }
    int height() const { return h; }

    Rgb at(int x, int y) const
    {
        const uint32_t p = pixels[size_t(y) * size_t(w) + size_t(x)];
        return {double((p >> 16) & 0xff) / 255.0, double((p >> 8) & 0xff) / 255.0, double(p & 0xff) / 255.0};
    }

private:
    int w = 0;
    int h = 0;
    std::vector<uint32_t> pixels;
};

inline bool is(const Rgb& p, render::Plot_Colour c, double tolerance = 0.06)
{
    return std::fabs(p.r - c.red) <= tolerance && std::fabs(p.g - c.green) <= tolerance &&
           std::fabs(p.b - c.blue) <= tolerance;
}

inline bool is_grey(const Rgb& p, double below)
{
    return std::fabs(p.r - p.g) < 0.02 && std::fabs(p.g - p.b) < 0.02 && p.r < below;
}

// Rows of column x, within [top, bottom), whose pixel has the colour.
inline std::vector<int> rows_of(const Image& image, int x, render::Plot_Colour c, int top, int bottom)
{
    std::vector<int> rows;
    for (int y = std::max(0, top); y < std::min(bottom, image.height()); ++y) {
        if (is(image.at(x, y), c)) rows.push_back(y);
    }
    return rows;
}

inline double mean(const std::vector<int>& values)
{
    double sum = 0.0;
    for (int v : values) sum += v;
    return values.empty() ? -1.0 : sum / double(values.size());
}

// The first and last columns within [left, right) holding a pixel of the
// colour between the rows top and bottom; {-1, -1} if none does.
inline std::pair<int, int> columns_of(const Image& image, render::Plot_Colour c, int left, int right, int top,
                                      int bottom)
{
    int first = -1, last = -1;
    for (int x = std::max(0, left); x < std::min(right, image.width()); ++x) {
        if (rows_of(image, x, c, top, bottom).empty()) continue;
        if (first < 0) first = x;
        last = x;
    }
    return {first, last};
}

inline size_t count_of(const Image& image, render::Plot_Colour c, int left, int right, int top, int bottom)
{
    size_t n = 0;
    for (int x = std::max(0, left); x < std::min(right, image.width()); ++x)
        n += rows_of(image, x, c, top, bottom).size();
    return n;
}

// The grid lines crossing column x between top and bottom, top to bottom,
// and which of them are the stronger C lines.
struct Grid {
    std::vector<int> rows;
    std::vector<bool> strong;
};

inline Grid grid_at(const Image& image, int x, int top, int bottom)
{
    Grid grid;
    for (int y = top; y < bottom; ++y) {
        const Rgb p = image.at(x, y);
        if (!is_grey(p, 0.95)) continue;
        grid.rows.push_back(y);
        grid.strong.push_back(p.r < 0.7);
    }
    return grid;
}

// The whole pixels inside the plot's frame of a picture of that size.
struct Area {
    int left, right, top, bottom;
    explicit Area(const Image& image)
    {
        const render::Plot_Area a = render::Pitch_Plot::area(image.width(), image.height());
        left = int(std::ceil(a.left));
        right = int(std::floor(a.left + a.width));
        top = int(std::ceil(a.top));
        bottom = int(std::floor(a.top + a.height));
    }
    std::pair<int, int> columns(const Image& image, render::Plot_Colour c) const
    {
        return columns_of(image, c, left, right, top, bottom);
    }
};

// Whether the rectangle holds text: pixels much darker than any grid line.
inline bool has_dark_pixels(const Image& image, int left, int right, int top, int bottom)
{
    for (int y = std::max(0, top); y < std::min(bottom, image.height()); ++y)
        for (int x = std::max(0, left); x < std::min(right, image.width()); ++x)
            if (is_grey(image.at(x, y), 0.3)) return true;
    return false;
}

} // namespace plot_image
