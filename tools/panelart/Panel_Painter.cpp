#include "panelart/Panel_Painter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace panelart {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;
// A knob travels 270 degrees, from down-left through the top to
// down-right; angles are clockwise from the positive x axis, as cairo's.
constexpr double kKnobStart = 135.0 * kDegree;
constexpr double kKnobTravel = 270.0 * kDegree;
constexpr double kKnobTop = 270.0 * kDegree;
constexpr const char* kFamily = "DejaVu Sans";
// Captions are never shrunk below this size, in pixels.
constexpr double kSmallestCaption = 7.0;

// Saves the context's state for the life of the scope.
class Saved {
public:
    explicit Saved(cairo_t* cr) : cr(cr) { cairo_save(cr); }
    ~Saved() { cairo_restore(cr); }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

private:
    cairo_t* cr;
};


Colour with_alpha(const Colour& c, double alpha)
{
    return Colour{c.r, c.g, c.b, alpha};
}


Box inset(const Box& b, double d)
{
    return Box{b.x + d, b.y + d, b.w - 2 * d, b.h - 2 * d};
}

// A small, fixed sequence of pseudo-random numbers in 0..1, so that the
// grain of the backgrounds is the same on every build.
class Grain {
public:
    double next()
    {
        state = state * 1664525u + 1013904223u;
        return double(state >> 8) / double(1u << 24);
    }

private:
    uint32_t state = 0x5eed1234u;
};

// A filled triangle pointing the way given, inside a square of side s at
// the centre (cx, cy).
void triangle(cairo_t* cr, double cx, double cy, double s, Direction d)
{
    const double h = s * 0.5;
    switch (d) {
    case Direction::up:
        cairo_move_to(cr, cx - h, cy + h * 0.55);
        cairo_line_to(cr, cx + h, cy + h * 0.55);
        cairo_line_to(cr, cx, cy - h * 0.65);
        break;
    case Direction::down:
        cairo_move_to(cr, cx - h, cy - h * 0.55);
        cairo_line_to(cr, cx + h, cy - h * 0.55);
        cairo_line_to(cr, cx, cy + h * 0.65);
        break;
    case Direction::left:
        cairo_move_to(cr, cx + h * 0.55, cy - h);
        cairo_line_to(cr, cx + h * 0.55, cy + h);
        cairo_line_to(cr, cx - h * 0.65, cy);
        break;
    case Direction::right:
        cairo_move_to(cr, cx - h * 0.55, cy - h);
        cairo_line_to(cr, cx - h * 0.55, cy + h);
        cairo_line_to(cr, cx + h * 0.65, cy);
        break;
    }
    cairo_close_path(cr);
    cairo_fill(cr);
}

// A line with an arrow head at each end, in the current source.
void double_arrow(cairo_t* cr, double x0, double y0, double x1, double y1, double head, double width)
{
    cairo_set_line_width(cr, width);
    cairo_move_to(cr, x0, y0);
    cairo_line_to(cr, x1, y1);
    cairo_stroke(cr);
    const bool horizontal = std::fabs(x1 - x0) >= std::fabs(y1 - y0);
    if (horizontal) {
        triangle(cr, x0 + head * 0.3, y0, head, Direction::left);
        triangle(cr, x1 - head * 0.3, y1, head, Direction::right);
    } else {
        triangle(cr, x0, y0 + head * 0.3, head, Direction::up);
        triangle(cr, x1, y1 - head * 0.3, head, Direction::down);
    }
}

void select_caption_font(cairo_t* cr, double size, bool bold)
{
    cairo_select_font_face(cr, kFamily, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
}

} // namespace

Colour mix(const Colour& a, const Colour& b, double t)
{
    return Colour{a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

void vertical_gradient(cairo_t* cr, const Box& b, const Colour& top, const Colour& bottom)
{
    cairo_pattern_t* p = cairo_pattern_create_linear(0, b.y, 0, b.y + b.h);
    cairo_pattern_add_color_stop_rgba(p, 0, top.r, top.g, top.b, top.a);
    cairo_pattern_add_color_stop_rgba(p, 1, bottom.r, bottom.g, bottom.b, bottom.a);
    cairo_set_source(cr, p);
    cairo_pattern_destroy(p);
}

void fill_rectangle(cairo_t* cr, const Box& b, const Colour& c)
{
    set_colour(cr, c);
    cairo_rectangle(cr, b.x, b.y, b.w, b.h);
    cairo_fill(cr);
}

void set_colour(cairo_t* cr, const Colour& c)
{
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

void rounded_rectangle(cairo_t* cr, const Box& b, double radius)
{
    const double r = std::min(radius, std::min(b.w, b.h) * 0.5);
    cairo_new_sub_path(cr);
    cairo_arc(cr, b.x + b.w - r, b.y + r, r, -90 * kDegree, 0);
    cairo_arc(cr, b.x + b.w - r, b.y + b.h - r, r, 0, 90 * kDegree);
    cairo_arc(cr, b.x + r, b.y + b.h - r, r, 90 * kDegree, 180 * kDegree);
    cairo_arc(cr, b.x + r, b.y + r, r, 180 * kDegree, 270 * kDegree);
    cairo_close_path(cr);
}

void paint_background(cairo_t* cr, int width, int height, double header_height)
{
    Saved saved(cr);
    const Box all{0, 0, double(width), double(height)};
    vertical_gradient(cr, all, palette::background_top, palette::background_bottom);
    cairo_paint(cr);

    // A brushed grain: each row a touch lighter or darker than its
    // neighbours, too faint to read as lines.
    Grain grain;
    for (int y = 0; y < height; ++y) {
        const double g = grain.next();
        if (g < 0.5)
            cairo_set_source_rgba(cr, 1, 1, 1, 0.018 * (0.5 - g));
        else
            cairo_set_source_rgba(cr, 0, 0, 0, 0.05 * (g - 0.5));
        cairo_rectangle(cr, 0, y, width, 1);
        cairo_fill(cr);
    }

    if (header_height > 0) {
        const Box header{0, 0, double(width), header_height};
        vertical_gradient(cr, header, palette::header_top, palette::header_bottom);
        cairo_rectangle(cr, header.x, header.y, header.w, header.h);
        cairo_fill(cr);
        set_colour(cr, rgb(0x000000, 0.6));
        cairo_rectangle(cr, 0, header_height - 1, width, 1);
        cairo_fill(cr);
        set_colour(cr, rgb(0xffffff, 0.06));
        cairo_rectangle(cr, 0, header_height, width, 1);
        cairo_fill(cr);
    }
}

void paint_plate(cairo_t* cr, const Box& b)
{
    Saved saved(cr);
    // A soft shadow below and right of the plate.
    set_colour(cr, rgb(0x000000, 0.28));
    rounded_rectangle(cr, Box{b.x + 1, b.y + 2, b.w - 1, b.h - 2}, 6);
    cairo_fill(cr);

    const Box plate{b.x + 0.5, b.y + 0.5, b.w - 1.5, b.h - 2.5};
    rounded_rectangle(cr, plate, 6);
    vertical_gradient(cr, plate, palette::plate_top, palette::plate_bottom);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, palette::plate_border);
    cairo_stroke(cr);

    // A highlight along the top edge and the rule under the heading.
    set_colour(cr, rgb(0xffffff, 0.07));
    cairo_rectangle(cr, b.x + 6, b.y + 1.5, b.w - 13, 1);
    cairo_fill(cr);
    set_colour(cr, palette::plate_rule);
    cairo_rectangle(cr, b.x + 8, b.y + 19, b.w - 17, 1);
    cairo_fill(cr);
    set_colour(cr, rgb(0xffffff, 0.04));
    cairo_rectangle(cr, b.x + 8, b.y + 20, b.w - 17, 1);
    cairo_fill(cr);
}

void paint_thumb(cairo_t* cr, const Box& b)
{
    Saved saved(cr);
    const Box bar = inset(b, 2.5);
    rounded_rectangle(cr, bar, std::min(bar.w, bar.h) * 0.5);
    const bool horizontal = b.w >= b.h;
    cairo_pattern_t* p = horizontal ? cairo_pattern_create_linear(0, bar.y, 0, bar.y + bar.h)
                                    : cairo_pattern_create_linear(bar.x, 0, bar.x + bar.w, 0);
    const Colour light = rgb(0x7a8592), dark = rgb(0x525b66);
    cairo_pattern_add_color_stop_rgba(p, 0, light.r, light.g, light.b, 1);
    cairo_pattern_add_color_stop_rgba(p, 1, dark.r, dark.g, dark.b, 1);
    cairo_set_source(cr, p);
    cairo_pattern_destroy(p);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, rgb(0x1a1d21));
    cairo_stroke(cr);

    // Three grip lines across the middle.
    set_colour(cr, rgb(0x2a2f36, 0.9));
    cairo_set_line_width(cr, 1);
    const double cx = b.x + b.w * 0.5, cy = b.y + b.h * 0.5;
    for (int i = -1; i <= 1; ++i) {
        if (horizontal) {
            cairo_move_to(cr, std::round(cx) + 3 * i + 0.5, bar.y + 3);
            cairo_line_to(cr, std::round(cx) + 3 * i + 0.5, bar.y + bar.h - 3);
        } else {
            cairo_move_to(cr, bar.x + 3, std::round(cy) + 3 * i + 0.5);
            cairo_line_to(cr, bar.x + bar.w - 3, std::round(cy) + 3 * i + 0.5);
        }
    }
    cairo_stroke(cr);
}

void paint_knob(cairo_t* cr, const Box& b, double value, KnobStyle style)
{
    Saved saved(cr);
    value = std::clamp(value, 0.0, 1.0);
    const double cx = b.x + b.w * 0.5, cy = b.y + b.h * 0.5;
    const double radius = std::min(b.w, b.h) * 0.5;
    const double arc_width = std::max(2.5, radius * 0.1);
    const double arc_radius = radius - arc_width * 0.5 - 0.75;
    const double angle = kKnobStart + kKnobTravel * value;

    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
    cairo_set_line_width(cr, arc_width);
    set_colour(cr, palette::recess);
    cairo_arc(cr, cx, cy, arc_radius, kKnobStart, kKnobStart + kKnobTravel);
    cairo_stroke(cr);

    double from = kKnobStart, to = angle;
    if (style == KnobStyle::from_centre) {
        from = std::min(kKnobTop, angle);
        to = std::max(kKnobTop, angle);
    }
    if (to - from > 0.5 * kDegree) {
        set_colour(cr, palette::accent);
        cairo_arc(cr, cx, cy, arc_radius, from, to);
        cairo_stroke(cr);
    }
    // The centre mark of a knob measured from its middle.
    if (style == KnobStyle::from_centre) {
        set_colour(cr, palette::text_dim);
        cairo_set_line_width(cr, 1.2);
        cairo_move_to(cr, cx, cy - radius + 0.5);
        cairo_line_to(cr, cx, cy - radius + arc_width + 1.5);
        cairo_stroke(cr);
    }

    // The body: a dome lit from the upper left, with a dark rim.
    const double body = radius * 0.68;
    cairo_pattern_t* dome =
        cairo_pattern_create_radial(cx - body * 0.35, cy - body * 0.45, body * 0.1, cx, cy, body * 1.05);
    const Colour& light = palette::knob_body_light;
    const Colour& dark = palette::knob_body_dark;
    cairo_pattern_add_color_stop_rgba(dome, 0, light.r, light.g, light.b, 1);
    cairo_pattern_add_color_stop_rgba(dome, 1, dark.r, dark.g, dark.b, 1);
    set_colour(cr, rgb(0x000000, 0.45));
    cairo_arc(cr, cx + 0.6, cy + 1.2, body + 0.6, 0, 2 * kPi);
    cairo_fill(cr);
    cairo_arc(cr, cx, cy, body, 0, 2 * kPi);
    cairo_set_source(cr, dome);
    cairo_pattern_destroy(dome);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, rgb(0x121417));
    cairo_stroke(cr);
    set_colour(cr, rgb(0xffffff, 0.08));
    cairo_arc(cr, cx, cy, body - 1.5, 200 * kDegree, 340 * kDegree);
    cairo_stroke(cr);

    // The pointer.
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, std::max(1.8, radius * 0.085));
    set_colour(cr, palette::knob_pointer);
    cairo_move_to(cr, cx + std::cos(angle) * body * 0.3, cy + std::sin(angle) * body * 0.3);
    cairo_line_to(cr, cx + std::cos(angle) * body * 0.86, cy + std::sin(angle) * body * 0.86);
    cairo_stroke(cr);
}

void paint_button_face(cairo_t* cr, const Box& b, FaceState state)
{
    Saved saved(cr);
    const Box face{b.x + 0.5, b.y + 0.5, b.w - 1, b.h - 1};
    const bool pressed = state == FaceState::pressed || state == FaceState::flash_pressed;
    const bool flash = state == FaceState::flash || state == FaceState::flash_pressed;
    Colour top = pressed ? palette::face_pressed_top : palette::face_top;
    Colour bottom = pressed ? palette::face_pressed_bottom : palette::face_bottom;
    if (flash) {
        top = mix(top, palette::red, pressed ? 0.45 : 0.6);
        bottom = mix(bottom, palette::red, pressed ? 0.35 : 0.45);
    }
    rounded_rectangle(cr, face, 3);
    vertical_gradient(cr, face, top, bottom);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, flash ? mix(palette::face_border, palette::red, 0.5) : palette::face_border);
    cairo_stroke(cr);
    if (pressed) {
        // An inner shadow along the top edge.
        set_colour(cr, rgb(0x000000, 0.35));
        cairo_rectangle(cr, b.x + 2, b.y + 1.5, b.w - 4, 1);
        cairo_fill(cr);
    } else {
        set_colour(cr, rgb(0xffffff, flash ? 0.22 : 0.12));
        cairo_rectangle(cr, b.x + 2.5, b.y + 1.5, b.w - 5, 1);
        cairo_fill(cr);
    }
}

void paint_toggle(cairo_t* cr, const Box& b, const std::string& caption, bool on, const Colour& led_on, bool flash)
{
    Saved saved(cr);
    paint_button_face(cr, b, on ? FaceState::pressed : FaceState::rest);
    const double led_radius = std::max(2.5, b.h * 0.16);
    const double led_x = b.x + 4 + led_radius * 2, led_y = b.y + b.h * 0.5;
    const Colour lit = flash ? mix(led_on, rgb(0xffffff), 0.45) : led_on;
    if (on) {
        cairo_pattern_t* glow = cairo_pattern_create_radial(led_x, led_y, 0, led_x, led_y, led_radius * 2.6);
        cairo_pattern_add_color_stop_rgba(glow, 0, lit.r, lit.g, lit.b, flash ? 0.75 : 0.45);
        cairo_pattern_add_color_stop_rgba(glow, 1, lit.r, lit.g, lit.b, 0);
        cairo_set_source(cr, glow);
        cairo_pattern_destroy(glow);
        cairo_arc(cr, led_x, led_y, led_radius * 2.6, 0, 2 * kPi);
        cairo_fill(cr);
    }
    cairo_arc(cr, led_x, led_y, led_radius, 0, 2 * kPi);
    set_colour(cr, on ? lit : mix(led_on, palette::recess, 0.78));
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 0.8);
    set_colour(cr, rgb(0x000000, 0.6));
    cairo_stroke(cr);
    if (on) {
        set_colour(cr, rgb(0xffffff, 0.55));
        cairo_arc(cr, led_x - led_radius * 0.3, led_y - led_radius * 0.35, led_radius * 0.35, 0, 2 * kPi);
        cairo_fill(cr);
    }
    const double text_left = led_x + led_radius + 2;
    const Colour text_colour = on ? (flash ? palette::red_bright : palette::text) : palette::text_dim;
    paint_caption(cr, Box{text_left, b.y, b.x + b.w - text_left - 2, b.h}, caption, std::min(11.0, b.h * 0.5), true,
                 text_colour);
}

void paint_switch(cairo_t* cr, const Box& b, int count, int lit, const SegmentMark* marks, const std::string* captions)
{
    Saved saved(cr);
    const Box field{b.x + 0.5, b.y + 0.5, b.w - 1, b.h - 1};
    rounded_rectangle(cr, field, 3);
    set_colour(cr, palette::recess);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, palette::recess_border);
    cairo_stroke(cr);

    const double width = b.w / count;
    for (int i = 0; i < count; ++i) {
        // Segments start and end on whole pixels, so that the dividers are
        // crisp whatever the width.
        const double left = std::round(b.x + width * i), right = std::round(b.x + width * (i + 1));
        const Box segment{left, b.y, right - left, b.h};
        if (i == lit) {
            const Box light{segment.x + 2, segment.y + 2, segment.w - 4, segment.h - 4};
            rounded_rectangle(cr, light, 2);
            vertical_gradient(cr, light, mix(palette::accent_deep, palette::accent, 0.35), palette::accent_deep);
            cairo_fill(cr);
            set_colour(cr, with_alpha(palette::accent, 0.9));
            cairo_rectangle(cr, light.x + 1, light.y, light.w - 2, 1);
            cairo_fill(cr);
        } else if (i > 0 && i != lit + 1) {
            set_colour(cr, palette::recess_border);
            cairo_rectangle(cr, left, b.y + 4, 1, b.h - 8);
            cairo_fill(cr);
        }
        const Colour ink = i == lit ? rgb(0xffffff) : palette::text_dim;
        if (marks[i] == SegmentMark::caption)
            paint_caption(cr, Box{segment.x + 2, segment.y, segment.w - 4, segment.h}, captions[i],
                         std::min(11.0, b.h * 0.5), i == lit, ink);
        else
            paint_segment_mark(cr, segment, marks[i], ink);
    }
}

void paint_popup(cairo_t* cr, const Box& b)
{
    Saved saved(cr);
    const Box field{b.x + 0.5, b.y + 0.5, b.w - 1, b.h - 1};
    rounded_rectangle(cr, field, 3);
    vertical_gradient(cr, field, rgb(0x191c21), rgb(0x1f2328));
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, palette::recess_border);
    cairo_stroke(cr);
    const double arrow_width = std::min(16.0, b.h);
    set_colour(cr, palette::recess_border);
    cairo_rectangle(cr, std::round(b.x + b.w - arrow_width) - 1, b.y + 4, 1, b.h - 8);
    cairo_fill(cr);
    set_colour(cr, palette::accent);
    triangle(cr, b.x + b.w - arrow_width * 0.5 - 1, b.y + b.h * 0.5, std::min(8.0, b.h * 0.36), Direction::down);
}

void paint_caption(cairo_t* cr, const Box& b, const std::string& text, double size, bool bold, const Colour& c)
{
    if (text.empty()) return;
    Saved saved(cr);
    cairo_text_extents_t te;
    for (;;) {
        select_caption_font(cr, size, bold);
        cairo_text_extents(cr, text.c_str(), &te);
        if (te.x_advance <= b.w || size <= kSmallestCaption) break;
        size -= 0.5;
    }
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    const double x = b.x + (b.w - te.x_advance) * 0.5;
    // Centre the capitals rather than the whole font box, which sits low
    // for text without descenders.
    const double capitals = -te.y_bearing > 0 ? std::min(-te.y_bearing, fe.ascent) : fe.ascent;
    const double baseline = b.y + (b.h + capitals * 0.92) * 0.5;
    cairo_move_to(cr, std::round(x), std::round(baseline));
    set_colour(cr, c);
    cairo_show_text(cr, text.c_str());
}

void paint_arrow(cairo_t* cr, const Box& b, Direction direction, const Colour& c)
{
    Saved saved(cr);
    set_colour(cr, c);
    triangle(cr, b.x + b.w * 0.5, b.y + b.h * 0.5, std::min(b.w, b.h) * 0.5, direction);
}

void paint_folder(cairo_t* cr, const Box& b, const Colour& c)
{
    Saved saved(cr);
    const double s = std::min(b.w, b.h) / 22.0;
    cairo_translate(cr, b.x + b.w * 0.5, b.y + b.h * 0.5);
    cairo_scale(cr, s, s);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    // The back with its tab, then the front leaf a little lower.
    cairo_move_to(cr, -7.5, -5.5);
    cairo_line_to(cr, -3, -5.5);
    cairo_line_to(cr, -1.5, -4);
    cairo_line_to(cr, 7.5, -4);
    cairo_line_to(cr, 7.5, 6);
    cairo_line_to(cr, -7.5, 6);
    cairo_close_path(cr);
    set_colour(cr, with_alpha(c, 0.55));
    cairo_fill(cr);
    cairo_move_to(cr, -7.5, -1.5);
    cairo_line_to(cr, 7.5, -1.5);
    cairo_line_to(cr, 7.5, 6);
    cairo_line_to(cr, -7.5, 6);
    cairo_close_path(cr);
    set_colour(cr, c);
    cairo_fill(cr);
}

void paint_zoom(cairo_t* cr, const Box& b, ZoomKind kind, const Colour& c)
{
    Saved saved(cr);
    set_colour(cr, c);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    const double cy = b.y + b.h * 0.5;
    const double lens_x = b.x + b.w * 0.32, lens_y = cy - 1, lens = std::min(b.h * 0.27, 5.0);
    cairo_set_line_width(cr, 1.4);
    cairo_arc(cr, lens_x, lens_y, lens, 0, 2 * kPi);
    cairo_stroke(cr);
    cairo_set_line_width(cr, 2.0);
    cairo_move_to(cr, lens_x + lens * 0.72, lens_y + lens * 0.72);
    cairo_line_to(cr, lens_x + lens * 1.45, lens_y + lens * 1.45);
    cairo_stroke(cr);
    // Plus or minus inside the lens.
    cairo_set_line_width(cr, 1.3);
    const double arm = lens * 0.5;
    cairo_move_to(cr, lens_x - arm, lens_y);
    cairo_line_to(cr, lens_x + arm, lens_y);
    const bool zoom_in = kind == ZoomKind::horizontal_in || kind == ZoomKind::vertical_in;
    if (zoom_in) {
        cairo_move_to(cr, lens_x, lens_y - arm);
        cairo_line_to(cr, lens_x, lens_y + arm);
    }
    cairo_stroke(cr);
    // The axis.
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
    const double ax = b.x + b.w * 0.7;
    const double span = std::min(b.h - 4.0, 11.0) * 0.5;
    if (kind == ZoomKind::horizontal_in || kind == ZoomKind::horizontal_out)
        double_arrow(cr, ax - span, cy, ax + span, cy, 5, 1.2);
    else
        double_arrow(cr, ax, cy - span, ax, cy + span, 5, 1.2);
}

void paint_segment_mark(cairo_t* cr, const Box& b, SegmentMark mark, const Colour& c)
{
    if (mark == SegmentMark::caption) return;
    Saved saved(cr);
    // Icons are drawn in a square of 16 units about the segment's centre.
    const double s = std::min(b.w, b.h) / 24.0;
    cairo_translate(cr, b.x + b.w * 0.5, b.y + b.h * 0.5);
    cairo_scale(cr, s, s);
    set_colour(cr, c);
    cairo_set_line_width(cr, 1.4);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    switch (mark) {
    case SegmentMark::caption:
        break;
    case SegmentMark::icon_draw_lines: {
        const double points[][2] = {{-7, 5}, {-2, -3}, {3, 2}, {7, -5}};
        cairo_move_to(cr, points[0][0], points[0][1]);
        for (const auto& p : points) cairo_line_to(cr, p[0], p[1]);
        cairo_stroke(cr);
        for (const auto& p : points) {
            cairo_arc(cr, p[0], p[1], 1.6, 0, 2 * kPi);
            cairo_fill(cr);
        }
        break;
    }
    case SegmentMark::icon_draw_curves:
        cairo_set_line_width(cr, 1.6);
        cairo_move_to(cr, -7.5, 4);
        cairo_curve_to(cr, -4, -9, 3, 9, 7.5, -4);
        cairo_stroke(cr);
        break;
    case SegmentMark::icon_draw_notes:
        rounded_rectangle(cr, Box{-8, -5, 8, 3.5}, 1.75);
        cairo_fill(cr);
        rounded_rectangle(cr, Box{1, 1.5, 7, 3.5}, 1.75);
        cairo_fill(cr);
        cairo_set_line_width(cr, 0.8);
        cairo_move_to(cr, -8, 6.5);
        cairo_line_to(cr, 8, 6.5);
        cairo_stroke(cr);
        break;
    case SegmentMark::icon_arrow:
        cairo_move_to(cr, -3.5, -7.5);
        cairo_line_to(cr, -3.5, 5);
        cairo_line_to(cr, -0.6, 2.2);
        cairo_line_to(cr, 1.8, 7.5);
        cairo_line_to(cr, 3.6, 6.7);
        cairo_line_to(cr, 1.2, 1.5);
        cairo_line_to(cr, 5, 1.5);
        cairo_close_path(cr);
        cairo_fill(cr);
        break;
    case SegmentMark::icon_scissors:
        cairo_arc(cr, -3.8, 4.5, 2.4, 0, 2 * kPi);
        cairo_stroke(cr);
        cairo_arc(cr, 3.8, 4.5, 2.4, 0, 2 * kPi);
        cairo_stroke(cr);
        cairo_move_to(cr, -2.4, 2.6);
        cairo_line_to(cr, 4.2, -7.5);
        cairo_move_to(cr, 2.4, 2.6);
        cairo_line_to(cr, -4.2, -7.5);
        cairo_stroke(cr);
        break;
    case SegmentMark::icon_zoom:
        cairo_arc(cr, -1.5, -1.5, 4.8, 0, 2 * kPi);
        cairo_stroke(cr);
        cairo_set_line_width(cr, 2.4);
        cairo_move_to(cr, 2.2, 2.2);
        cairo_line_to(cr, 6.5, 6.5);
        cairo_stroke(cr);
        break;
    case SegmentMark::icon_i_beam:
        cairo_move_to(cr, 0, -6.5);
        cairo_line_to(cr, 0, 6.5);
        cairo_move_to(cr, -3, -7);
        cairo_curve_to(cr, -1, -7, 0, -6.5, 0, -5.5);
        cairo_curve_to(cr, 0, -6.5, 1, -7, 3, -7);
        cairo_move_to(cr, -3, 7);
        cairo_curve_to(cr, -1, 7, 0, 6.5, 0, 5.5);
        cairo_curve_to(cr, 0, 6.5, 1, 7, 3, 7);
        cairo_stroke(cr);
        break;
    case SegmentMark::icon_hand_scroll:
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
        double_arrow(cr, -7.5, 0, 7.5, 0, 4.5, 1.4);
        double_arrow(cr, 0, -7.5, 0, 7.5, 4.5, 1.4);
        break;
    case SegmentMark::icon_move_point:
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
        cairo_set_line_width(cr, 1);
        cairo_move_to(cr, 0, -7.5);
        cairo_line_to(cr, 0, 7.5);
        cairo_stroke(cr);
        cairo_arc(cr, 0, 0, 2.4, 0, 2 * kPi);
        cairo_fill(cr);
        triangle(cr, -5.8, 0, 4.5, Direction::left);
        triangle(cr, 5.8, 0, 4.5, Direction::right);
        break;
    case SegmentMark::icon_move_region:
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
        cairo_rectangle(cr, -5, -6.5, 10, 13);
        set_colour(cr, with_alpha(c, 0.3));
        cairo_fill(cr);
        set_colour(cr, c);
        cairo_set_line_width(cr, 1.2);
        cairo_move_to(cr, -5, -7);
        cairo_line_to(cr, -5, 7);
        cairo_move_to(cr, 5, -7);
        cairo_line_to(cr, 5, 7);
        cairo_stroke(cr);
        double_arrow(cr, -3.5, 0, 3.5, 0, 3.5, 1.1);
        break;
    }
}

} // namespace panelart
