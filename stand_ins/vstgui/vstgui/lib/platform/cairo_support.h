#pragma once

// Internal helpers between the library's types and cairo.

#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/cfont.h"

#include <cairo.h>

namespace VSTGUI {
namespace CairoSupport {

// Selects the font's family, slant, weight and size on the context.
void selectFont(cairo_t* cr, const CFontDesc& font);

// A context on a small scratch surface, for measuring text outside
// drawing; made for each use, so that no cairo object outlives its use.
class MeasuringContext {
public:
    MeasuringContext();
    ~MeasuringContext();
    MeasuringContext(const MeasuringContext&) = delete;
    MeasuringContext& operator=(const MeasuringContext&) = delete;
    cairo_t* get() const { return cr; }

private:
    cairo_surface_t* surface;
    cairo_t* cr;
};

inline void setSourceColor(cairo_t* cr, const CColor& c, double globalAlpha = 1.0)
{
    cairo_set_source_rgba(cr, c.normRed(), c.normGreen(), c.normBlue(), c.normAlpha() * globalAlpha);
}

} // namespace CairoSupport
} // namespace VSTGUI
