#include "panelart/List_Pictures.h"

#include "panel/Corvane_ScalesListLayout.h"
#include "panelart/Panel_Painter.h"

#include <cmath>

namespace panelart {

namespace {

// The meter: segments of equal pitch across the whole picture, each lit
// part a little narrower so that a dark gap parts it from the next. The
// meter view moves in whole segments, so its bar always ends in a gap.
constexpr int kMeterWidth = 260;
constexpr int kMeterHeight = 20;
constexpr int kMeterSegments = 20;
constexpr double kSegmentPitch = double(kMeterWidth) / kMeterSegments;
constexpr double kSegmentGap = 2;

// What a mark box of the list shows.
enum class BoxLook { empty, bypassed, removed };

// What the list picture shows: the table in use with its boxes in a look
// each, or out of use.
struct ListPicture {
    const char* name;
    bool inUse;
    BoxLook bypassBoxes;
    BoxLook removeBoxes;
};

const ListPicture listPictures[] = {
    {"scales_list", true, BoxLook::empty, BoxLook::empty},
    {"scales_list_bypassed", true, BoxLook::bypassed, BoxLook::empty},
    {"scales_list_removed", true, BoxLook::empty, BoxLook::removed},
    {"scales_list_off", false, BoxLook::empty, BoxLook::empty},
};

const char* const headings[] = {"Note", "Cents", "Bypass", "Remove"};
const Corvane_ListColumn columns[] = {Corvane_ListColumn::name, Corvane_ListColumn::cents,
                                      Corvane_ListColumn::bypass, Corvane_ListColumn::remove};

Box box_of(const Corvane_ListRect& r)
{
    return Box{r.left, r.top, r.right - r.left, r.bottom - r.top};
}


// A recessed field filling the box: dark, with a lighter rim.
void paint_field(cairo_t* cr, const Box& b, const Colour& fill, const Colour& rim)
{
    rounded_rectangle(cr, Box{b.x + 0.5, b.y + 0.5, b.w - 1, b.h - 1}, 3);
    set_colour(cr, fill);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1);
    set_colour(cr, rim);
    cairo_stroke(cr);
}

// A mark box: an empty socket, or lit in the colour of its mark with a
// pale glyph (an arrow past the note for bypassed, a cross for removed).
// Everything stays inside the box, which is all the list view copies.
void paint_mark_box(cairo_t* cr, const Box& b, BoxLook look)
{
    const Box inner{b.x + 0.5, b.y + 0.5, b.w - 1, b.h - 1};
    rounded_rectangle(cr, inner, 2.5);
    if (look == BoxLook::empty) {
        set_colour(cr, rgb(0x0d0f12));
        cairo_fill_preserve(cr);
        set_colour(cr, rgb(0x4a525d));
        cairo_set_line_width(cr, 1);
        cairo_stroke(cr);
        return;
    }
    const Colour& lit = look == BoxLook::bypassed ? palette::amber : palette::red;
    vertical_gradient(cr, inner, mix(lit, rgb(0xffffff), 0.3), lit);
    cairo_fill_preserve(cr);
    set_colour(cr, mix(lit, rgb(0x000000), 0.45));
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);

    const double cx = b.x + b.w * 0.5, cy = b.y + b.h * 0.5, r = b.w * 0.22;
    set_colour(cr, rgb(0x1a1d22, 0.85));
    cairo_set_line_width(cr, 1.6);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    if (look == BoxLook::removed) {
        cairo_move_to(cr, cx - r, cy - r);
        cairo_line_to(cr, cx + r, cy + r);
        cairo_move_to(cr, cx + r, cy - r);
        cairo_line_to(cr, cx - r, cy + r);
    } else {
        cairo_move_to(cr, cx - r * 1.2, cy);
        cairo_line_to(cr, cx + r * 1.2, cy);
        cairo_move_to(cr, cx + r * 0.3, cy - r * 0.9);
        cairo_line_to(cr, cx + r * 1.2, cy);
        cairo_line_to(cr, cx + r * 0.3, cy + r * 0.9);
    }
    cairo_stroke(cr);
}

void paint_list(cairo_t* cr, const ListPicture& picture)
{
    const Box all{0, 0, corvane_list::width, corvane_list::height};
    if (!picture.inUse) {
        // Out of use: flat and dim, the headings alone.
        paint_field(cr, all, mix(palette::recess, palette::plate_bottom, 0.45),
                    mix(palette::recess_border, palette::recess, 0.5));
        for (int c = 0; c < 4; ++c)
            paint_caption(cr, box_of(Corvane_ListHeading(columns[c])), headings[c], 10, false,
                          Colour{palette::text_dim.r, palette::text_dim.g, palette::text_dim.b, 0.45});
        return;
    }
    paint_field(cr, all, palette::recess, palette::recess_border);

    // The heading band and its rule.
    fill_rectangle(cr, Box{1, 1, all.w - 2, corvane_list::headingHeight - 2}, rgb(0x1e2228));
    fill_rectangle(cr, Box{1, corvane_list::headingHeight - 1, all.w - 2, 1}, palette::recess_border);
    for (int c = 0; c < 4; ++c)
        paint_caption(cr, box_of(Corvane_ListHeading(columns[c])), headings[c], 10, false, palette::text_dim);

    // Every other row a shade lighter, so that a row reads across.
    for (int row = 1; row < corvane_list::visibleRows; row += 2) {
        const Corvane_ListRect cell = Corvane_ListCell(row, Corvane_ListColumn::name);
        fill_rectangle(cr, Box{1, cell.top, all.w - 2, corvane_list::rowHeight}, rgb(0xffffff, 0.035));
    }
    // Faint rules between the columns.
    for (int c = 1; c < 4; ++c) {
        const double x = Corvane_ListHeading(columns[c]).left;
        fill_rectangle(cr, Box{x, corvane_list::headingHeight, 1, all.h - corvane_list::headingHeight - 1},
                       rgb(0xffffff, 0.05));
    }
    for (int row = 0; row < corvane_list::visibleRows; ++row) {
        paint_mark_box(cr, box_of(Corvane_ListCell(row, Corvane_ListColumn::bypass)), picture.bypassBoxes);
        paint_mark_box(cr, box_of(Corvane_ListCell(row, Corvane_ListColumn::remove)), picture.removeBoxes);
    }
}

// The colour of a lit segment by its distance from the centre, 0 at the
// centre to 1 at either end: teal over the middle, through amber to red at
// the ends.
Colour segment_colour(double distance)
{
    if (distance < 0.5) return palette::accent;
    if (distance < 0.75) return mix(palette::accent, palette::amber, (distance - 0.5) / 0.25);
    return mix(palette::amber, palette::red, (distance - 0.75) / 0.25);
}

void paint_meter(cairo_t* cr, bool lit)
{
    paint_field(cr, Box{0, 0, double(kMeterWidth), double(kMeterHeight)}, palette::recess, palette::recess_border);
    for (int i = 0; i < kMeterSegments; ++i) {
        const double middle = (i + 0.5) * kSegmentPitch;
        const double distance = std::abs(middle - kMeterWidth * 0.5) / (kMeterWidth * 0.5);
        const Colour colour = segment_colour(distance);
        const Box segment{i * kSegmentPitch + kSegmentGap * 0.5, 4, kSegmentPitch - kSegmentGap, kMeterHeight - 8.0};
        rounded_rectangle(cr, segment, 1.5);
        if (lit) {
            vertical_gradient(cr, segment, mix(colour, rgb(0xffffff), 0.35), colour);
            cairo_fill(cr);
            fill_rectangle(cr, Box{segment.x + 1, segment.y + 1, segment.w - 2, 1}, rgb(0xffffff, 0.35));
        } else {
            set_colour(cr, mix(colour, palette::recess, 0.8));
            cairo_fill(cr);
        }
    }
}

} // namespace

bool for_each_list_picture(const std::function<bool(const std::string&, cairo_surface_t*)>& visit)
{
    for (const ListPicture& p : listPictures) {
        Canvas canvas(int(corvane_list::width), int(corvane_list::height));
        paint_list(canvas.context(), p);
        if (!visit(std::string(p.name) + ".png", canvas.picture())) return false;
    }
    for (const bool lit : {true, false}) {
        Canvas canvas(kMeterWidth, kMeterHeight);
        paint_meter(canvas.context(), lit);
        if (!visit(lit ? "meter_on.png" : "meter_off.png", canvas.picture())) return false;
    }
    return true;
}

} // namespace panelart
