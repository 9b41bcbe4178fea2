#include "panelart/Keyboard_Pictures.h"

#include "panel/Corvane_KeyboardGeometry.h"
#include "panelart/Panel_Painter.h"

namespace panelart {

namespace {

// The keyboard's size on the panel: 46 white keys of 12 pixels.
constexpr int kWidth = 552;
constexpr int kHeight = 96;

// The clearance between the keys, alike in every picture: a dark warm line
// that parts ivory keys quietly and rims the black ones.
constexpr Colour kGap = rgb(0x47443e);

// How a look shades its keys.
enum class Finish { shaded, flat };

struct KeyboardLook {
    const char* name;
    Colour whiteTop, whiteBottom;
    Colour blackTop, blackBottom;
    Finish finish;
    // A removed key carries a small dot near its front end.
    bool dot;
};

constexpr Colour kWhite = rgb(0xffffff);
constexpr Colour kBlack = rgb(0x000000);
constexpr Colour kDot = rgb(0x8e1a20);
constexpr Colour kDotOnBlack = rgb(0xb8262d);

const KeyboardLook looks[] = {
    // Ivory and near-black.
    {"keyboard", rgb(0xf8f4ea), rgb(0xe6dfcc), rgb(0x2d3035), rgb(0x0f1013), Finish::shaded, false},
    // The accent teal: light on the white keys, deep on the black ones.
    {"keyboard_highlighted", mix(palette::accent, kWhite, 0.6), mix(palette::accent, kWhite, 0.3),
     mix(palette::accent_deep, palette::accent, 0.45), palette::accent_deep, Finish::shaded, false},
    // Amber: the note passes uncorrected.
    {"keyboard_bypassed", mix(palette::amber, kWhite, 0.62), mix(palette::amber, kWhite, 0.38),
     mix(palette::amber, kBlack, 0.5), mix(palette::amber, kBlack, 0.7), Finish::shaded, false},
    // Greyed, with a dark red dot.
    {"keyboard_removed", rgb(0x9fa3a9), rgb(0x8a8e95), rgb(0x50545b), rgb(0x3c4046), Finish::shaded, true},
    // Flat and dim, with barely a shade: out of use.
    {"keyboard_off", rgb(0x5e646d), rgb(0x565c65), rgb(0x383d44), rgb(0x32373e), Finish::flat, false},
};

bool empty(const Corvane_KeyRect& r)
{
    return r.right <= r.left || r.bottom <= r.top;
}

Box box_of(const Corvane_KeyRect& r)
{
    return Box{r.left, r.top, r.right - r.left, r.bottom - r.top};
}

// Limits drawing to the key's own rectangles; whole pixels, so nothing
// spills into the clearance.
void clip_to(cairo_t* cr, const Corvane_KeyShape& key)
{
    cairo_new_path(cr);
    if (!empty(key.upper)) cairo_rectangle(cr, key.upper.left, key.upper.top, key.upper.right - key.upper.left,
                                           key.upper.bottom - key.upper.top);
    if (!key.black && !empty(key.lower))
        cairo_rectangle(cr, key.lower.left, key.lower.top, key.lower.right - key.lower.left,
                        key.lower.bottom - key.lower.top);
    cairo_clip(cr);
}

// A white key: its colour running down the key, the shadow of the
// keyboard's lid across the top, a lighter left edge and a darker front lip.
void paint_white(cairo_t* cr, const Corvane_KeyShape& key, const KeyboardLook& look)
{
    const Box front = box_of(key.lower);
    vertical_gradient(cr, Box{0, 0, 0, front.y + front.h}, look.whiteTop, look.whiteBottom);
    cairo_paint(cr);
    if (look.finish == Finish::flat) return;
    vertical_gradient(cr, Box{0, 0, 0, 7}, rgb(0x000000, 0.28), rgb(0x000000, 0));
    cairo_paint(cr);
    fill_rectangle(cr, Box{front.x, 0, 1, front.y + front.h}, rgb(0xffffff, 0.35));
    fill_rectangle(cr, Box{front.x, front.y + front.h - 3, front.w, 3}, mix(look.whiteBottom, kBlack, 0.14));
    fill_rectangle(cr, Box{front.x, front.y + front.h - 1, front.w, 1}, mix(look.whiteBottom, kBlack, 0.26));
}

// A black key: a body with a sheen on its top face and a lighter bevel at
// its front end.
void paint_black(cairo_t* cr, const Corvane_KeyShape& key, const KeyboardLook& look)
{
    const Box b = box_of(key.upper);
    vertical_gradient(cr, Box{0, b.y, 0, b.h}, look.blackTop, look.blackBottom);
    cairo_paint(cr);
    if (look.finish == Finish::flat) return;
    const double bevel = 5;
    vertical_gradient(cr, Box{0, b.y, 0, b.h - bevel}, rgb(0xffffff, 0.03), rgb(0xffffff, 0.16));
    cairo_rectangle(cr, b.x + 1, b.y, b.w - 2, b.h - bevel);
    cairo_fill(cr);
    fill_rectangle(cr, Box{b.x, b.y + b.h - bevel, b.w, bevel}, mix(look.blackTop, kWhite, 0.18));
    fill_rectangle(cr, Box{b.x, b.y + b.h - 1, b.w, 1}, mix(look.blackBottom, kBlack, 0.3));
}

// The removed mark: a small dot centred near the key's front end.
void paint_dot(cairo_t* cr, const Corvane_KeyShape& key)
{
    const Box b = box_of(key.black ? key.upper : key.lower);
    const double radius = key.black ? 2.0 : 2.5;
    set_colour(cr, key.black ? kDotOnBlack : kDot);
    cairo_arc(cr, b.x + b.w / 2, b.y + b.h - (key.black ? 9 : 8), radius, 0, 2 * 3.14159265358979323846);
    cairo_fill(cr);
}

void paint_keyboard(cairo_t* cr, const KeyboardLook& look)
{
    Corvane_KeyShape keys[corvane_keyboard_keys];
    Corvane_KeyboardLayout(kWidth, kHeight, keys);
    fill_rectangle(cr, Box{0, 0, kWidth, kHeight}, kGap);
    for (const Corvane_KeyShape& key : keys) {
        cairo_save(cr);
        clip_to(cr, key);
        if (key.black)
            paint_black(cr, key, look);
        else
            paint_white(cr, key, look);
        if (look.dot) paint_dot(cr, key);
        cairo_restore(cr);
    }
}

} // namespace

bool for_each_keyboard_picture(const std::function<bool(const std::string&, cairo_surface_t*)>& visit)
{
    for (const KeyboardLook& look : looks) {
        Canvas canvas(kWidth, kHeight);
        paint_keyboard(canvas.context(), look);
        if (!visit(std::string(look.name) + ".png", canvas.picture())) return false;
    }
    return true;
}

} // namespace panelart
