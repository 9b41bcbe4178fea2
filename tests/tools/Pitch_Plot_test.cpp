// The pitch plot drawn from tracks made by hand, read back pixel by pixel:
// curves on their notes of the grid, at their times, with gaps where
// nothing is voiced.

#include "render/Pitch_Plot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "plot_image.h"

using pitchtrack::Pitch_Frame;
using plot_image::Image;
using render::kInputColour;
using render::kOutputColour;
using render::Pitch_Plot;

namespace {

constexpr double kHop = 0.005;

double hz_of(double note)
{
    return 440.0 * std::pow(2.0, (note - 69.0) / 12.0);
}

// A track every 5 ms over [0, seconds), with the note given for each time
// (a negative note is unvoiced).
std::vector<Pitch_Frame> track_of(double seconds, const std::function<double(double)>& note_at)
{
    std::vector<Pitch_Frame> track;
    for (int k = 0; double(k) * kHop < seconds; ++k) {
        const double t = double(k) * kHop;
        const double note = note_at(t);
        track.push_back({t, note < 0.0 ? 0.0 : hz_of(note), note < 0.0 ? 1.0 : 0.0});
    }
    return track;
}

// Drawing text fills caches for the life of the program; they go at its end.
class Font_Caches : public ::testing::Environment {
public:
    void TearDown() override { render::release_font_caches(); }
};
const auto* const kFontCaches = ::testing::AddGlobalTestEnvironment(new Font_Caches);

} // namespace

TEST(PitchPlot, CurvesSitOnTheirNotesAndTimes)
{
    // Input on MIDI note 57 from 1 s to 2 s, output on 60 (a C) from 2 s to
    // 3 s, of 4 s.
    const auto input = track_of(4.0, [](double t) { return t >= 1.0 && t < 2.0 ? 57.0 : -1.0; });
    const auto output = track_of(4.0, [](double t) { return t >= 2.0 && t < 3.0 ? 60.0 : -1.0; });
    const Pitch_Plot plot(input, output, 4.0);
    const Image image(plot.render(1200, 600));
    ASSERT_EQ(image.width(), 1200);
    ASSERT_EQ(image.height(), 600);
    const plot_image::Area a(image);
    const double seconds = double(a.right - a.left) / 4.0;

    // Where no curve is, the grid: evenly spaced lines, every twelfth a C.
    const auto grid = plot_image::grid_at(image, a.left + int(0.5 * seconds), a.top, a.bottom);
    ASSERT_GE(grid.rows.size(), 8u);
    const double spacing = double(grid.rows.back() - grid.rows.front()) / double(grid.rows.size() - 1);
    std::vector<size_t> c_lines;
    for (size_t i = 0; i < grid.rows.size(); ++i) {
        if (i > 0) {
            EXPECT_NEAR(grid.rows[i] - grid.rows[i - 1], spacing, 1.0) << i;
        }
        if (grid.strong[i]) c_lines.push_back(i);
    }
    ASSERT_FALSE(c_lines.empty());
    for (size_t i = 1; i < c_lines.size(); ++i) EXPECT_EQ(c_lines[i] - c_lines[i - 1], 12u);

    // The output's C on a C line; the input's A three lines below it.
    const double out_row = plot_image::mean(
        plot_image::rows_of(image, a.left + int(2.5 * seconds), kOutputColour, a.top, a.bottom));
    const double in_row = plot_image::mean(
        plot_image::rows_of(image, a.left + int(1.5 * seconds), kInputColour, a.top, a.bottom));
    ASSERT_GE(out_row, 0.0);
    ASSERT_GE(in_row, 0.0);
    size_t c4 = grid.rows.size();
    for (size_t i : c_lines) {
        if (std::fabs(grid.rows[i] - out_row) <= 1.5) c4 = i;
    }
    ASSERT_LT(c4 + 3, grid.rows.size()) << "output at row " << out_row;
    EXPECT_NEAR(in_row, grid.rows[c4 + 3], 1.5);

    // The notes shown fit the pitches: both curves well inside, and not
    // squeezed into a small part of the height.
    EXPECT_GT(std::min(in_row, out_row) - a.top, spacing);
    EXPECT_GT(a.bottom - std::max(in_row, out_row), spacing);
    EXPECT_GT(spacing, double(a.bottom - a.top) / 24.0);

    // One second each: nothing, the input, the output, nothing.
    const auto in_cols = a.columns(image, kInputColour);
    const auto out_cols = a.columns(image, kOutputColour);
    EXPECT_NEAR(in_cols.first - a.left, seconds, 3.0);
    EXPECT_NEAR(in_cols.second - in_cols.first, seconds, 3.0);
    EXPECT_NEAR(out_cols.first - in_cols.second, 0.0, 3.0);
    EXPECT_NEAR(out_cols.second - out_cols.first, seconds, 3.0);
    EXPECT_NEAR(a.right - out_cols.second, seconds, 3.0);
}

TEST(PitchPlot, GapsWhereNothingIsVoiced)
{
    // The input breaks off between 1.5 s and 1.7 s; the output has no frames
    // at all between 1 s and 2 s; a lone voiced frame at 3 s.
    const auto input = track_of(4.0, [](double t) {
        if ((t >= 1.0 && t < 1.5) || (t >= 1.7 && t < 2.0)) return 64.0;
        return std::fabs(t - 3.0) < 1e-9 ? 64.0 : -1.0;
    });
    std::vector<Pitch_Frame> output;
    for (const auto& frame : track_of(4.0, [](double) { return 62.0; })) {
        if (frame.time_s < 0.5 || (frame.time_s >= 1.0 && frame.time_s < 2.0) || frame.time_s >= 2.5) continue;
        output.push_back(frame);
    }
    const Pitch_Plot plot(input, output, 4.0);
    const Image image(plot.render(1200, 600));
    const plot_image::Area a(image);
    const double seconds = double(a.right - a.left) / 4.0;
    const auto column = [&](double t) { return a.left + int(std::lround(t * seconds)); };

    EXPECT_EQ(plot_image::count_of(image, kInputColour, column(1.53), column(1.67), a.top, a.bottom), 0u);
    EXPECT_GT(plot_image::count_of(image, kInputColour, column(1.2), column(1.3), a.top, a.bottom), 0u);
    EXPECT_GT(plot_image::count_of(image, kInputColour, column(1.8), column(1.9), a.top, a.bottom), 0u);
    EXPECT_EQ(plot_image::count_of(image, kOutputColour, column(1.05), column(1.95), a.top, a.bottom), 0u);
    EXPECT_GT(plot_image::count_of(image, kOutputColour, column(0.6), column(0.9), a.top, a.bottom), 0u);
    EXPECT_GT(plot_image::count_of(image, kOutputColour, column(2.1), column(2.4), a.top, a.bottom), 0u);
    // The lone frame is a dot.
    EXPECT_GT(plot_image::count_of(image, kInputColour, column(3.0) - 3, column(3.0) + 4, a.top, a.bottom), 0u);
    EXPECT_EQ(plot_image::count_of(image, kInputColour, column(2.05), column(2.95), a.top, a.bottom), 0u);
}

TEST(PitchPlot, NamesTheCLinesAndTheSeconds)
{
    const auto input = track_of(4.0, [](double t) { return 55.0 + 10.0 * t; });
    const Pitch_Plot plot(input, {}, 4.0);
    const Image image(plot.render(1000, 500));
    const plot_image::Area a(image);
    const auto grid = plot_image::grid_at(image, a.left + 2, a.top, a.bottom);
    size_t named = 0;
    for (size_t i = 0; i < grid.rows.size(); ++i) {
        if (!grid.strong[i]) continue;
        EXPECT_TRUE(plot_image::has_dark_pixels(image, 0, a.left - 2, grid.rows[i] - 6, grid.rows[i] + 7)) << i;
        ++named;
    }
    // 55 to 95, with margins: C4 to C7 at least.
    EXPECT_GE(named, 4u);
    // Each whole second has a number under its tick.
    const double seconds = double(a.right - a.left) / 4.0;
    for (int s = 0; s <= 4; ++s) {
        const int x = a.left + int(s * seconds);
        EXPECT_TRUE(plot_image::has_dark_pixels(image, x - 8, x + 9, a.bottom + 8, a.bottom + 26)) << s;
    }
    // The legend above the grid shows both colours.
    EXPECT_GT(plot_image::count_of(image, kInputColour, 0, 1000, 0, a.top - 2), 0u);
    EXPECT_GT(plot_image::count_of(image, kOutputColour, 0, 1000, 0, a.top - 2), 0u);
}

TEST(PitchPlot, WithoutVoicedFramesAGridAlone)
{
    const auto silent = track_of(2.0, [](double) { return -1.0; });
    const struct {
        std::vector<Pitch_Frame> input, output;
        int width, height, expected_width, expected_height;
    } cases[] = {
        {silent, silent, 800, 400, 800, 400},
        {{}, {}, 1200, 600, 1200, 600},
        // Sizes are held to what a picture can show.
        {silent, {}, 10, 10, render::kMinPlotWidth, render::kMinPlotHeight},
    };
    for (const auto& c : cases) {
        const Pitch_Plot plot(c.input, c.output, 2.0);
        const Image image(plot.render(c.width, c.height));
        ASSERT_EQ(image.width(), c.expected_width);
        ASSERT_EQ(image.height(), c.expected_height);
        EXPECT_EQ(plot_image::count_of(image, kInputColour, 0, image.width(), 40, image.height()), 0u);
        EXPECT_EQ(plot_image::count_of(image, kOutputColour, 0, image.width(), 40, image.height()), 0u);
        const plot_image::Area a(image);
        EXPECT_GE(plot_image::grid_at(image, (a.left + a.right) / 2, a.top, a.bottom).rows.size(), 13u);
    }
}

TEST(PitchPlot, NoteNames)
{
    const struct {
        int note;
        const char* name;
    } cases[] = {{60, "C3"}, {61, "C#3"}, {69, "A3"}, {59, "B2"}, {48, "C2"}, {0, "C-2"}, {127, "G8"}, {70, "A#3"}};
    for (const auto& c : cases) EXPECT_EQ(render::note_name(c.note), c.name);
}
