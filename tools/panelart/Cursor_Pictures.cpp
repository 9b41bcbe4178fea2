#include "panelart/Cursor_Pictures.h"

#include <cairo.h>

#include <cstdio>
#include <functional>

#include "graph/views/Corvane_CursorHotSpots.h"
#include "panelart/Panel_Painter.h"

namespace panelart {

namespace {

// Strokes the current path white and wide, then black and thin, so that
// the shape reads on light and dark ground alike; fills first when asked.
void ink(cairo_t* cr, bool fill)
{
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    if (fill) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_fill_preserve(cr);
    }
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_set_line_width(cr, 3.0);
    cairo_stroke_preserve(cr);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_set_line_width(cr, 1.2);
    cairo_stroke(cr);
}

// An arrow pointer with its tip at (x, y).
void arrow(cairo_t* cr, double x, double y)
{
    cairo_move_to(cr, x, y);
    cairo_line_to(cr, x, y + 14);
    cairo_line_to(cr, x + 3.5, y + 10.5);
    cairo_line_to(cr, x + 6, y + 16);
    cairo_line_to(cr, x + 8, y + 15);
    cairo_line_to(cr, x + 5.5, y + 9.5);
    cairo_line_to(cr, x + 10, y + 9.5);
    cairo_close_path(cr);
    ink(cr, true);
}

void plus(cairo_t* cr, double cx, double cy, double r)
{
    cairo_move_to(cr, cx - r, cy);
    cairo_line_to(cr, cx + r, cy);
    cairo_move_to(cr, cx, cy - r);
    cairo_line_to(cr, cx, cy + r);
    ink(cr, false);
}

void minus(cairo_t* cr, double cx, double cy, double r)
{
    cairo_move_to(cr, cx - r, cy);
    cairo_line_to(cr, cx + r, cy);
    ink(cr, false);
}

// A small square (a point) or a slanted line (a segment) beside the arrow.
void target(cairo_t* cr, bool segment)
{
    if (segment) {
        cairo_move_to(cr, 13, 22);
        cairo_line_to(cr, 22, 15);
    } else {
        cairo_rectangle(cr, 15.5, 16.5, 5, 5);
    }
    ink(cr, !segment);
}

// A double arrow across (x0..x1) at height y.
void doubleArrow(cairo_t* cr, double x0, double x1, double y)
{
    cairo_move_to(cr, x0, y);
    cairo_line_to(cr, x1, y);
    cairo_move_to(cr, x0 + 4, y - 4);
    cairo_line_to(cr, x0, y);
    cairo_line_to(cr, x0 + 4, y + 4);
    cairo_move_to(cr, x1 - 4, y - 4);
    cairo_line_to(cr, x1, y);
    cairo_line_to(cr, x1 - 4, y + 4);
    ink(cr, false);
}

void magnifier(cairo_t* cr, const Corvane_CursorHotSpot& h, int sign)
{
    cairo_move_to(cr, h.x + 5, h.y + 5);
    cairo_line_to(cr, h.x + 12, h.y + 12);
    cairo_set_line_width(cr, 3);
    ink(cr, false);
    cairo_arc(cr, h.x + 0.5, h.y + 0.5, 6.5, 0, 6.2832);
    ink(cr, true);
    if (sign > 0) plus(cr, h.x + 0.5, h.y + 0.5, 3);
    if (sign < 0) minus(cr, h.x + 0.5, h.y + 0.5, 3);
}

void paintCursor(cairo_t* cr, uint32_t id, const Corvane_CursorHotSpot& h)
{
    const double cx = h.x + 0.5, cy = h.y + 0.5;
    switch (id) {
    case 9000:  // pencil, tip at the hot spot
        cairo_move_to(cr, h.x, h.y + 1);
        cairo_line_to(cr, h.x + 1, h.y - 4);
        cairo_line_to(cr, h.x + 15, h.y - 18);
        cairo_line_to(cr, h.x + 19, h.y - 14);
        cairo_line_to(cr, h.x + 5, h.y);
        cairo_close_path(cr);
        ink(cr, true);
        break;
    case 9001:
    case 9002:
        arrow(cr, h.x, h.y);
        plus(cr, 17.5, 6.5, 3.5);
        target(cr, id == 9002);
        break;
    case 9003:
    case 9004:
        arrow(cr, h.x, h.y);
        target(cr, id == 9004);
        break;
    case 9005: doubleArrow(cr, cx - 9, cx + 9, cy); break;
    case 9006:  // scissors: two blades crossing at the hot spot and two rings
        cairo_move_to(cr, cx - 8, cy - 9);
        cairo_line_to(cr, cx + 4, cy + 4);
        cairo_move_to(cr, cx + 8, cy - 9);
        cairo_line_to(cr, cx - 4, cy + 4);
        ink(cr, false);
        cairo_arc(cr, cx - 6, cy + 7, 3, 0, 6.2832);
        ink(cr, true);
        cairo_arc(cr, cx + 6, cy + 7, 3, 0, 6.2832);
        ink(cr, true);
        break;
    case 9007: magnifier(cr, h, 0); break;
    case 9008: magnifier(cr, h, 1); break;
    case 9009: magnifier(cr, h, -1); break;
    case 9010:  // I-beam
        cairo_move_to(cr, cx, cy - 9);
        cairo_line_to(cr, cx, cy + 9);
        cairo_move_to(cr, cx - 4, cy - 9);
        cairo_line_to(cr, cx + 4, cy - 9);
        cairo_move_to(cr, cx - 4, cy + 9);
        cairo_line_to(cr, cx + 4, cy + 9);
        ink(cr, false);
        break;
    case 9011:  // closed hand: a rounded fist
        cairo_move_to(cr, cx - 7, cy - 3);
        cairo_curve_to(cr, cx - 7, cy - 8, cx + 7, cy - 8, cx + 7, cy - 3);
        cairo_line_to(cr, cx + 7, cy + 3);
        cairo_curve_to(cr, cx + 7, cy + 9, cx - 7, cy + 9, cx - 7, cy + 3);
        cairo_close_path(cr);
        ink(cr, true);
        for (int k = -1; k <= 1; ++k) {
            cairo_move_to(cr, cx + 3.5 * k, cy - 6);
            cairo_line_to(cr, cx + 3.5 * k, cy - 2);
        }
        ink(cr, false);
        break;
    case 9012:  // a time point: bar with arrows both ways
        cairo_move_to(cr, cx, cy - 9);
        cairo_line_to(cr, cx, cy + 9);
        ink(cr, false);
        doubleArrow(cr, cx - 10, cx + 10, cy);
        break;
    case 9013:  // a time region: bracket with arrows both ways
        cairo_move_to(cr, cx - 3, cy - 9);
        cairo_line_to(cr, cx - 6, cy - 9);
        cairo_line_to(cr, cx - 6, cy + 9);
        cairo_line_to(cr, cx - 3, cy + 9);
        cairo_move_to(cr, cx + 3, cy - 9);
        cairo_line_to(cr, cx + 6, cy - 9);
        cairo_line_to(cr, cx + 6, cy + 9);
        cairo_line_to(cr, cx + 3, cy + 9);
        ink(cr, false);
        doubleArrow(cr, cx - 10, cx + 10, cy);
        break;
    case 9014:  // arrow with a clipboard
        arrow(cr, h.x, h.y);
        cairo_rectangle(cr, 13.5, 11.5, 8, 10);
        ink(cr, true);
        cairo_move_to(cr, 15.5, 15.5);
        cairo_line_to(cr, 19.5, 15.5);
        cairo_move_to(cr, 15.5, 18.5);
        cairo_line_to(cr, 19.5, 18.5);
        ink(cr, false);
        break;
    default: break;
    }
}

} // namespace

bool for_each_cursor_picture(const std::function<bool(const std::string& file_name, cairo_surface_t* picture)>& visit)
{
    for (const Corvane_CursorHotSpot& h : corvaneCursorHotSpots) {
        Canvas canvas(corvaneCursorSize, corvaneCursorSize);
        paintCursor(canvas.context(), h.id, h);
        char name[32];
        std::snprintf(name, sizeof name, "bmp%05u.png", unsigned(h.id));
        if (!visit(name, canvas.picture())) return false;
    }
    return true;
}

} // namespace panelart
