#pragma once

// Helpers of the library's tests: files in a scratch folder, pictures
// written with cairo directly (not through the library), and pixel reads.

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/coffscreencontext.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace vstgui_test {

// A fresh folder under the build's scratch folder, named after the test.
inline std::string scratchDir()
{
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string dir = std::string(CORVANE_TEST_TMP) + "/vstgui_" + info->test_suite_name() + "_" + info->name();
    ::mkdir(CORVANE_TEST_TMP, 0755);
    ::mkdir(dir.c_str(), 0755);
    return dir;
}

inline void writeText(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

struct Rgba {
    uint8_t r, g, b, a;
};

// A PNG of vertical bands: band i (of height bandHeight, full width) has
// colours[i].
inline void writeBandsPNG(const std::string& path, int width, int bandHeight, const std::vector<Rgba>& colours)
{
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, bandHeight * int(colours.size()));
    cairo_t* cr = cairo_create(s);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    for (size_t i = 0; i < colours.size(); ++i) {
        const Rgba& c = colours[i];
        cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, c.a / 255.0);
        cairo_rectangle(cr, 0, double(i) * bandHeight, width, bandHeight);
        cairo_fill(cr);
    }
    cairo_destroy(cr);
    cairo_surface_write_to_png(s, path.c_str());
    cairo_surface_destroy(s);
}

// The colour of one pixel of a bitmap, read straight from its surface.
inline VSTGUI::CColor pixel(VSTGUI::CBitmap* bitmap, int x, int y)
{
    VSTGUI::CColor c(0, 0, 0, 0);
    auto* access = VSTGUI::CBitmapPixelAccess::create(bitmap);
    if (!access) return c;
    if (access->setPosition(uint32_t(x), uint32_t(y))) access->getColor(c);
    access->forget();
    return c;
}

inline VSTGUI::CColor pixel(VSTGUI::COffscreenContext* context, int x, int y)
{
    return pixel(context->getBitmap(), x, y);
}

inline std::string str(const VSTGUI::CColor& c)
{
    return c.toString();
}

// Two colours alike within a tolerance per channel.
inline bool near(const VSTGUI::CColor& a, const VSTGUI::CColor& b, int tolerance = 2)
{
    auto d = [](int x, int y) { return x > y ? x - y : y - x; };
    return d(a.red, b.red) <= tolerance && d(a.green, b.green) <= tolerance && d(a.blue, b.blue) <= tolerance &&
           d(a.alpha, b.alpha) <= tolerance;
}

} // namespace vstgui_test
