#pragma once

// The pitch of a render's input and output over time, drawn with cairo on
// a grid of semitones: C lines stronger and named (C3, C4, ...), a time axis
// in seconds, a legend. Unvoiced frames leave gaps. The notes shown are
// fitted to the pitches present, with a margin.

#include <cairo.h>

#include <string>
#include <vector>

#include "pitchtrack/Pitch_Estimator.h"

namespace render {

struct Plot_Colour {
    double red, green, blue;
};

// The curves' colours, for whoever reads the picture back.
constexpr Plot_Colour kInputColour = {0.52, 0.64, 0.82};
constexpr Plot_Colour kOutputColour = {0.96, 0.50, 0.05};

// The rectangle of the picture, in pixels, that the grid and the curves
// fill; the margins around it hold the note names, the time axis and the
// legend.
struct Plot_Area {
    double left, top, width, height;
};

constexpr int kDefaultPlotWidth = 1200;
constexpr int kDefaultPlotHeight = 600;
constexpr int kMinPlotWidth = 320;
constexpr int kMinPlotHeight = 200;
constexpr int kMaxPlotSide = 10000;

class Pitch_Plot {
public:
    // Tracks whose frame times count from the same instant; duration_s is
    // the length of the time axis.
    Pitch_Plot(std::vector<pitchtrack::Pitch_Frame> input, std::vector<pitchtrack::Pitch_Frame> output,
               double duration_s);

    // The notes at the bottom and the top of the grid (MIDI numbers,
    // 60 = C4).
    int lowest_note() const { return low_note; }
    int highest_note() const { return high_note; }

    static Plot_Area area(int width, int height);

    // Draws the whole picture onto a surface of width x height pixels.
    void draw(cairo_t* cr, int width, int height) const;

    // A new image surface of that size with the picture on it; the caller
    // destroys it. Sizes are clamped to kMinPlot* .. kMaxPlotSide.
    cairo_surface_t* render(int width, int height) const;

private:
    void draw_grid(cairo_t* cr, const Plot_Area& a) const;
    void draw_time_axis(cairo_t* cr, const Plot_Area& a) const;
    void draw_track(cairo_t* cr, const Plot_Area& a, const std::vector<pitchtrack::Pitch_Frame>& track,
                    Plot_Colour colour, double line_width) const;
    void draw_legend(cairo_t* cr, const Plot_Area& a) const;

    double x_of(const Plot_Area& a, double time_s) const;
    double y_of(const Plot_Area& a, double note) const;

    std::vector<pitchtrack::Pitch_Frame> input;
    std::vector<pitchtrack::Pitch_Frame> output;
    double duration;
    double hop;  // the tracks' frame spacing, for telling gaps from frames
    int low_note;
    int high_note;
};

// Frees the caches that cairo and fontconfig keep for drawing text, so that
// a leak checker sees none at the end of a program that drew plots. Only
// when no cairo object is left.
void release_font_caches();

// "C4", "F#3": the name of a MIDI note.
std::string note_name(int note);

} // namespace render
