#pragma once

// Drawing of the panel's pictures with cairo: backgrounds and group plates,
// one frame of a knob, button faces, switch segments, LEDs, captions and the
// small icons of the graph tools and arrow buttons. Every function draws
// into a rectangle of the context it is given and leaves the context's
// state as it found it. Sizes are in pixels; the pictures are drawn at the
// panel's own scale.

#include <cairo.h>

#include <string>

namespace panelart {

struct Colour {
    double r, g, b, a;
};

// A colour from 0xRRGGBB, with an alpha of 0..1.
constexpr Colour rgb(unsigned hex, double alpha = 1.0)
{
    return Colour{((hex >> 16) & 0xff) / 255.0, ((hex >> 8) & 0xff) / 255.0, (hex & 0xff) / 255.0, alpha};
}

// The panel's palette: dark slate surfaces, light grey text, a teal accent
// for values and selections, amber for switched-on states and red for
// recording and warnings.
namespace palette {
constexpr Colour background_top = rgb(0x2b3038);
constexpr Colour background_bottom = rgb(0x1c1f24);
constexpr Colour header_top = rgb(0x1a1d22);
constexpr Colour header_bottom = rgb(0x14171b);
constexpr Colour plate_top = rgb(0x323842);
constexpr Colour plate_bottom = rgb(0x292e36);
constexpr Colour plate_border = rgb(0x434a55);
constexpr Colour plate_rule = rgb(0x3a414b);
constexpr Colour recess = rgb(0x15181c);
constexpr Colour recess_border = rgb(0x3b424c);
constexpr Colour face_top = rgb(0x444b56);
constexpr Colour face_bottom = rgb(0x353b44);
constexpr Colour face_pressed_top = rgb(0x24282e);
constexpr Colour face_pressed_bottom = rgb(0x2d3239);
constexpr Colour face_border = rgb(0x141619);
constexpr Colour text = rgb(0xd4dae2);
constexpr Colour text_dim = rgb(0x8b95a2);
constexpr Colour accent = rgb(0x46c6da);
constexpr Colour accent_deep = rgb(0x1f5863);
constexpr Colour amber = rgb(0xf2a93b);
constexpr Colour red = rgb(0xe5484d);
constexpr Colour red_bright = rgb(0xff7a70);
constexpr Colour knob_body_light = rgb(0x59616d);
constexpr Colour knob_body_dark = rgb(0x262a30);
constexpr Colour knob_pointer = rgb(0xf0f3f6);
} // namespace palette

struct Box {
    double x, y, w, h;
};

// What a knob's value arc is measured from: the start of the travel, or its
// middle for values around a centre (detune, transpose).
enum class KnobStyle { from_start, from_centre };

// What a segment of a switch shows.
enum class SegmentMark { caption, icon_draw_lines, icon_draw_curves, icon_draw_notes, icon_arrow, icon_scissors,
                         icon_zoom, icon_i_beam, icon_hand_scroll, icon_move_point, icon_move_region };

// The look of a button's face.
enum class FaceState { rest, pressed, flash, flash_pressed };

// Which way an arrow points.
enum class Direction { up, down, left, right };

// The kinds of zoom a zoom button stands for.
enum class ZoomKind { horizontal_out, horizontal_in, vertical_out, vertical_in };

// An image surface and its context, released together.
class Canvas {
public:
    Canvas(int width, int height)
        : surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), cr(cairo_create(surface))
    {
    }
    ~Canvas()
    {
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    cairo_t* context() const { return cr; }
    // The finished picture: all drawing flushed to the surface.
    cairo_surface_t* picture() const
    {
        cairo_surface_flush(surface);
        return surface;
    }

private:
    cairo_surface_t* surface;
    cairo_t* cr;
};

// The colour t of the way from a to b.
Colour mix(const Colour& a, const Colour& b, double t);
void set_colour(cairo_t* cr, const Colour& c);
// Sets the source to a gradient from top to bottom across the box.
void vertical_gradient(cairo_t* cr, const Box& b, const Colour& top, const Colour& bottom);
void fill_rectangle(cairo_t* cr, const Box& b, const Colour& c);
void rounded_rectangle(cairo_t* cr, const Box& b, double radius);

// A panel background of the size of the context's target: a vertical
// gradient with a faint, fixed grain; with header_height above 0 a darker
// band across the top, closed by a rule.
void paint_background(cairo_t* cr, int width, int height, double header_height);
// A raised group plate filling the box, with a rule under its heading.
void paint_plate(cairo_t* cr, const Box& b);
// A scrollbar thumb filling the box.
void paint_thumb(cairo_t* cr, const Box& b);

// One frame of a knob filling the square box, at a normalized value 0..1.
void paint_knob(cairo_t* cr, const Box& b, double value, KnobStyle style);

// The face of a button in the look of the state, without what it shows:
// the caller draws a caption or an icon on it.
void paint_button_face(cairo_t* cr, const Box& b, FaceState state);
// A two-state button: face, an LED at the left and the caption. led_on
// colours for the "on" state; flash shows the brighter phase of a flash.
void paint_toggle(cairo_t* cr, const Box& b, const std::string& caption, bool on, const Colour& led_on, bool flash);

// A switch of count equal segments, segment lit highlighted; marks names
// what each segment shows and captions its text.
void paint_switch(cairo_t* cr, const Box& b, int count, int lit, const SegmentMark* marks, const std::string* captions);

// A pop-up menu's plate: a recessed field with a drop arrow at the right.
void paint_popup(cairo_t* cr, const Box& b);

// A caption centred in the box, in DejaVu Sans, shrunk from size until it
// fits the box's width.
void paint_caption(cairo_t* cr, const Box& b, const std::string& text, double size, bool bold, const Colour& c);

// Icons drawn centred in the box, in the colour given.
void paint_arrow(cairo_t* cr, const Box& b, Direction direction, const Colour& c);
void paint_folder(cairo_t* cr, const Box& b, const Colour& c);
void paint_zoom(cairo_t* cr, const Box& b, ZoomKind kind, const Colour& c);
void paint_segment_mark(cairo_t* cr, const Box& b, SegmentMark mark, const Colour& c);

} // namespace panelart
