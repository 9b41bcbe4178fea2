#include "vstgui/lib/cfont.h"

#include "vstgui/lib/platform/cairo_support.h"

namespace VSTGUI {

namespace {

// The family the standard fonts use, and the one an empty name stands for.
constexpr const char* kDefaultFamily = "DejaVu Sans";

} // namespace

CFontDesc::CFontDesc(UTF8StringPtr name, const CCoord& size, const int32_t style)
    : name(name ? name : ""), size(size), style(style)
{
}

CFontDesc::CFontDesc(const CFontDesc& font)
    : CBaseObject(), name(font.name), size(font.size), style(font.style)
{
}

void CFontDesc::setName(UTF8StringPtr newName)
{
    name = newName ? newName : "";
}

void CFontDesc::setSize(CCoord newSize)
{
    size = newSize;
}

void CFontDesc::setStyle(int32_t newStyle)
{
    style = newStyle;
}

double CFontDesc::getAscent() const
{
    CairoSupport::MeasuringContext context;
    CairoSupport::selectFont(context.get(), *this);
    cairo_font_extents_t e;
    cairo_font_extents(context.get(), &e);
    return e.ascent;
}

double CFontDesc::getDescent() const
{
    CairoSupport::MeasuringContext context;
    CairoSupport::selectFont(context.get(), *this);
    cairo_font_extents_t e;
    cairo_font_extents(context.get(), &e);
    return e.descent;
}

bool CFontDesc::operator==(const CFontDesc& o) const
{
    return name == o.name && size == o.size && style == o.style;
}

namespace CairoSupport {

void selectFont(cairo_t* cr, const CFontDesc& font)
{
    const char* family = font.getName();
    if (family == nullptr || *family == 0) family = kDefaultFamily;
    const auto slant = (font.getStyle() & kItalicFace) ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL;
    const auto weight = (font.getStyle() & kBoldFace) ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL;
    cairo_select_font_face(cr, family, slant, weight);
    cairo_set_font_size(cr, font.getSize() > 0 ? font.getSize() : 12.0);
}

MeasuringContext::MeasuringContext()
    : surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1)), cr(cairo_create(surface))
{
}

MeasuringContext::~MeasuringContext()
{
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
}

} // namespace CairoSupport

namespace {

CFontDesc systemFont(kDefaultFamily, 12);
CFontDesc normalFontVeryBig(kDefaultFamily, 18);
CFontDesc normalFontBig(kDefaultFamily, 14);
CFontDesc normalFont(kDefaultFamily, 12);
CFontDesc normalFontSmall(kDefaultFamily, 11);
CFontDesc normalFontSmaller(kDefaultFamily, 10);
CFontDesc normalFontVerySmall(kDefaultFamily, 9);
CFontDesc symbolFont(kDefaultFamily, 12);

} // namespace

const CFontRef kSystemFont = &systemFont;
const CFontRef kNormalFontVeryBig = &normalFontVeryBig;
const CFontRef kNormalFontBig = &normalFontBig;
const CFontRef kNormalFont = &normalFont;
const CFontRef kNormalFontSmall = &normalFontSmall;
const CFontRef kNormalFontSmaller = &normalFontSmaller;
const CFontRef kNormalFontVerySmall = &normalFontVerySmall;
const CFontRef kSymbolFont = &symbolFont;

} // namespace VSTGUI
