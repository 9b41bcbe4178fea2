#include "render/Pitch_Plot.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "pitchtrack/Pitch_Track.h"

namespace render {

namespace {

// Margins around the grid, in pixels.
constexpr double kLeftMargin = 64.0;
constexpr double kRightMargin = 24.0;
constexpr double kTopMargin = 40.0;
constexpr double kBottomMargin = 56.0;

// Semitones kept free above and below the pitches present, and the
// fewest semitones shown.
constexpr int kNoteMargin = 2;
constexpr int kMinNotesShown = 12;
// The grid shown when no frame is voiced: C3 to C5.
constexpr int kEmptyLowNote = 48;
constexpr int kEmptyHighNote = 72;

// Semitone spacing, in pixels, from which every line is named, not only C.
constexpr double kNameEveryNoteFrom = 16.0;
// Fewest pixels between time ticks.
constexpr double kMinTickSpacing = 70.0;

// The input is a broad band under the output, so that both show where they
// agree.
constexpr double kInputLineWidth = 6.0;
constexpr double kOutputLineWidth = 2.0;
// Consecutive frames further apart than this many hops are not joined.
constexpr double kJoinHops = 1.5;

const char* const kFont = "DejaVu Sans";
constexpr double kLabelSize = 12.0;

const char* const kNoteNames[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

void set_colour(cairo_t* cr, Plot_Colour c)
{
    cairo_set_source_rgb(cr, c.red, c.green, c.blue);
}

void set_grey(cairo_t* cr, double level)
{
    cairo_set_source_rgb(cr, level, level, level);
}

// Text whose reference point is (x, y): anchor 0 puts its left edge there,
// 0.5 its middle, 1 its right edge; it is centred vertically on y.
void show_text(cairo_t* cr, const std::string& text, double x, double y, double anchor)
{
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text.c_str(), &extents);
    cairo_move_to(cr, x - anchor * extents.x_advance - extents.x_bearing * (1.0 - anchor),
                  y - extents.y_bearing - 0.5 * extents.height);
    cairo_show_text(cr, text.c_str());
}

// The hop of a track: the smallest spacing of its frames.
double hop_of(const std::vector<pitchtrack::Pitch_Frame>& track)
{
    double hop = 0.0;
    for (size_t i = 1; i < track.size(); ++i) {
        const double step = track[i].time_s - track[i - 1].time_s;
        if (step > 0.0 && (hop == 0.0 || step < hop)) hop = step;
    }
    return hop;
}

} // namespace

void release_font_caches()
{
    cairo_debug_reset_static_data();
    FcFini();
}

std::string note_name(int note)
{
    const int pitch_class = ((note % 12) + 12) % 12;
    // Octaves change at C; MIDI note 60, the C below A 440, is C3, as the
    // plug-in's own displays name it.
    const int octave = (note - pitch_class) / 12 - 2;
    return kNoteNames[pitch_class] + std::to_string(octave);
}

Pitch_Plot::Pitch_Plot(std::vector<pitchtrack::Pitch_Frame> in, std::vector<pitchtrack::Pitch_Frame> out,
                       double duration_s)
    : input(std::move(in)), output(std::move(out)), duration(duration_s > 0.0 ? duration_s : 1.0)
{
    hop = std::max(hop_of(input), hop_of(output));
    double lowest = 1e9, highest = -1e9;
    for (const auto* track : {&input, &output}) {
        for (const auto& frame : *track) {
            if (!frame.voiced() || !std::isfinite(frame.hz)) continue;
            const double note = pitchtrack::hz_to_midi(frame.hz);
            lowest = std::min(lowest, note);
            highest = std::max(highest, note);
        }
    }
    if (lowest > highest) {
        low_note = kEmptyLowNote;
        high_note = kEmptyHighNote;
        return;
    }
    low_note = int(std::floor(lowest)) - kNoteMargin;
    high_note = int(std::ceil(highest)) + kNoteMargin;
    const int missing = kMinNotesShown - (high_note - low_note);
    if (missing > 0) {
        low_note -= missing / 2;
        high_note += missing - missing / 2;
    }
}

Plot_Area Pitch_Plot::area(int width, int height)
{
    return {kLeftMargin, kTopMargin, std::max(1.0, width - kLeftMargin - kRightMargin),
            std::max(1.0, height - kTopMargin - kBottomMargin)};
}

double Pitch_Plot::x_of(const Plot_Area& a, double time_s) const
{
    return a.left + a.width * time_s / duration;
}

double Pitch_Plot::y_of(const Plot_Area& a, double note) const
{
    return a.top + a.height * (double(high_note) - note) / double(high_note - low_note);
}

cairo_surface_t* Pitch_Plot::render(int width, int height) const
{
    width = std::clamp(width, kMinPlotWidth, kMaxPlotSide);
    height = std::clamp(height, kMinPlotHeight, kMaxPlotSide);
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    draw(cr, width, height);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    return surface;
}

void Pitch_Plot::draw(cairo_t* cr, int width, int height) const
{
    const Plot_Area a = area(width, height);
    cairo_save(cr);
    set_grey(cr, 1.0);
    cairo_paint(cr);
    cairo_select_font_face(cr, kFont, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, kLabelSize);

    draw_grid(cr, a);
    draw_time_axis(cr, a);

    cairo_save(cr);
    cairo_rectangle(cr, a.left, a.top, a.width, a.height);
    cairo_clip(cr);
    draw_track(cr, a, input, kInputColour, kInputLineWidth);
    draw_track(cr, a, output, kOutputColour, kOutputLineWidth);
    cairo_restore(cr);

    // The frame over the curves' ends.
    set_grey(cr, 0.35);
    cairo_set_line_width(cr, 1.0);
    cairo_rectangle(cr, std::round(a.left) - 0.5, std::round(a.top) - 0.5, std::round(a.width) + 1.0,
                    std::round(a.height) + 1.0);
    cairo_stroke(cr);

    draw_legend(cr, a);
    cairo_restore(cr);
}

void Pitch_Plot::draw_grid(cairo_t* cr, const Plot_Area& a) const
{
    const double spacing = a.height / double(high_note - low_note);
    cairo_set_line_width(cr, 1.0);
    for (int note = low_note; note <= high_note; ++note) {
        const bool is_c = ((note % 12) + 12) % 12 == 0;
        // Lines on pixel centres, so that each is one crisp row.
        const double y = std::floor(y_of(a, note)) + 0.5;
        set_grey(cr, is_c ? 0.55 : 0.86);
        cairo_move_to(cr, a.left, y);
        cairo_line_to(cr, a.left + a.width, y);
        cairo_stroke(cr);
        if (is_c || spacing >= kNameEveryNoteFrom) {
            set_grey(cr, is_c ? 0.1 : 0.5);
            show_text(cr, note_name(note), a.left - 8.0, y, 1.0);
        }
    }
}

void Pitch_Plot::draw_time_axis(cairo_t* cr, const Plot_Area& a) const
{
    // The smallest of 1, 2, 5 times a power of ten that keeps the ticks
    // apart.
    const double min_step = duration * kMinTickSpacing / a.width;
    double step = std::pow(10.0, std::floor(std::log10(min_step)));
    for (double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (step * factor >= min_step) {
            step *= factor;
            break;
        }
    }
    const int decimals = std::max(0, -int(std::floor(std::log10(step) + 1e-9)));
    const double bottom = a.top + a.height;
    cairo_set_line_width(cr, 1.0);
    for (long k = 0;; ++k) {
        const double t = double(k) * step;
        if (t > duration * (1.0 + 1e-9)) break;
        const double x = std::floor(x_of(a, t)) + 0.5;
        set_grey(cr, 0.35);
        cairo_move_to(cr, x, bottom);
        cairo_line_to(cr, x, bottom + 6.0);
        cairo_stroke(cr);
        char label[32];
        std::snprintf(label, sizeof label, "%.*f", decimals, t);
        set_grey(cr, 0.1);
        show_text(cr, label, x, bottom + 16.0, 0.5);
    }
    show_text(cr, "time (s)", a.left + 0.5 * a.width, bottom + 40.0, 0.5);
}

void Pitch_Plot::draw_track(cairo_t* cr, const Plot_Area& a, const std::vector<pitchtrack::Pitch_Frame>& track,
                            Plot_Colour colour, double line_width) const
{
    set_colour(cr, colour);
    cairo_set_line_width(cr, line_width);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    const double join_within = hop > 0.0 ? kJoinHops * hop : 0.0;
    size_t i = 0;
    while (i < track.size()) {
        if (!track[i].voiced()) {
            ++i;
            continue;
        }
        // A run of voiced frames, each close after the one before.
        size_t end = i + 1;
        while (end < track.size() && track[end].voiced() &&
               track[end].time_s - track[end - 1].time_s <= join_within)
            ++end;
        cairo_move_to(cr, x_of(a, track[i].time_s), y_of(a, pitchtrack::hz_to_midi(track[i].hz)));
        if (end == i + 1) {
            // A lone frame: a dot, drawn by the round cap of an empty line.
            cairo_rel_line_to(cr, 0.0, 0.0);
        }
        for (size_t k = i + 1; k < end; ++k)
            cairo_line_to(cr, x_of(a, track[k].time_s), y_of(a, pitchtrack::hz_to_midi(track[k].hz)));
        cairo_stroke(cr);
        i = end;
    }
}

void Pitch_Plot::draw_legend(cairo_t* cr, const Plot_Area& a) const
{
    // Above the grid at its right end, so that it hides no curve.
    const double y = 0.5 * a.top;
    double x = a.left + a.width;
    const struct {
        const char* name;
        Plot_Colour colour;
        double width;
    } entries[] = {{"output", kOutputColour, kOutputLineWidth}, {"input", kInputColour, kInputLineWidth}};
    for (const auto& e : entries) {
        cairo_text_extents_t extents;
        cairo_text_extents(cr, e.name, &extents);
        set_grey(cr, 0.1);
        show_text(cr, e.name, x, y, 1.0);
        x -= extents.x_advance + 8.0;
        set_colour(cr, e.colour);
        cairo_set_line_width(cr, e.width);
        cairo_move_to(cr, x - 28.0, y);
        cairo_line_to(cr, x, y);
        cairo_stroke(cr);
        x -= 28.0 + 24.0;
    }
}

} // namespace render
