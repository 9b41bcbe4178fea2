// corvane-render run as a user runs it, on real sound files.

#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "plot_image.h"
#include "render/Pitch_Plot.h"
#include "support/signals.h"
#include "support/tool_run.h"
#include "voicegen/Voice_Generator.h"

namespace {

const std::string kTool = CORVANE_RENDER_PATH;
const std::string kTmp = CORVANE_TEST_TMP;
// The engine's delay at 44.1 and 48 kHz, in host samples.
constexpr size_t kLatency = 2660;

using test_tool::files_in;
using test_tool::Result;
using test_tool::slurp;

// An empty folder of the running test's own.
std::string test_folder()
{
    return test_tool::empty_test_folder(kTmp + "/render");
}

Result run(const std::string& folder, const std::vector<std::string>& args)
{
    return test_tool::run(kTool, folder, args);
}

void write_sound(const std::string& path, const std::vector<std::vector<float>>& channels, int rate,
                 int format)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = int(channels.size());
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
    std::vector<float> interleaved(channels[0].size() * channels.size());
    for (size_t i = 0; i < channels[0].size(); ++i)
        for (size_t c = 0; c < channels.size(); ++c) interleaved[i * channels.size() + c] = channels[c][i];
    sf_writef_float(f, interleaved.data(), sf_count_t(channels[0].size()));
    sf_close(f);
}

struct Sound {
    SF_INFO info{};
    std::vector<float> data;  // interleaved
};

Sound read_sound(const std::string& path)
{
    Sound s;
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &s.info);
    if (!f) return s;
    s.data.resize(size_t(s.info.frames * s.info.channels));
    sf_readf_float(f, s.data.data(), s.info.frames);
    sf_close(f);
    return s;
}

void write_text(const std::string& path, const char* text)
{
    if (FILE* f = std::fopen(path.c_str(), "w")) {
        std::fputs(text, f);
        std::fclose(f);
    }
}

// A run the tool must refuse: its one-line message starts with `message`.
struct Mistake {
    std::vector<std::string> args;
    std::string message;
};

// Each mistake fails with one line on stderr, nothing on stdout, and leaves
// the folder as it was: no output and no temporary file beside it.
template <size_t N>
void expect_mistakes(const std::string& folder, const Mistake (&cases)[N])
{
    const std::vector<std::string> before = files_in(folder);
    for (const auto& c : cases) {
        const Result r = run(folder, c.args);
        EXPECT_NE(r.status, 0) << c.message;
        EXPECT_EQ(r.err.rfind("corvane-render: " + c.message, 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_EQ(r.out, "") << c.message;
        EXPECT_EQ(files_in(folder), before) << c.message;
    }
}

} // namespace

TEST(Render, OutputHasTheInputsLengthRateAndChannels)
{
    const std::string folder = test_folder();
    const int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const struct {
        const char* name;
        int channels;
        int rate;
        int format;
        std::vector<std::string> options;
        size_t latency;
    } cases[] = {
        {"stereo-44k.wav", 2, 44100, wav16, {"--block", "300"}, 2660},
        {"mono-48k.aiff", 1, 48000, SF_FORMAT_AIFF | SF_FORMAT_PCM_24, {"--block=1"}, 2660},
        {"stereo-48k-float.wav", 2, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT, {"--rate", "48000"}, 2660},
        {"mono-96k.wav", 1, 96000, wav16, {"--block", "65536"}, 5320},
    };
    for (const auto& c : cases) {
        const std::string in = folder + "/" + c.name;
        const std::string out = folder + "/out-" + c.name + ".wav";
        const size_t length = 9000;
        // Impulses of heights a 16-bit file holds exactly, one per channel.
        std::vector<std::vector<float>> channels = {test_signals::impulse(length, 100, 0.5f)};
        if (c.channels == 2) channels.push_back(test_signals::impulse(length, 200, -0.25f));
        write_sound(in, channels, c.rate, c.format);
        std::vector<std::string> args = c.options;
        args.push_back(in);
        args.push_back(out);
        const Result r = run(folder, args);
        ASSERT_EQ(r.status, 0) << c.name << ": " << r.err;
        EXPECT_EQ(r.err, "") << c.name;
        EXPECT_NE(r.out.find("latency: " + std::to_string(c.latency) + " samples"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("real-time factor: "), std::string::npos) << r.out;

        const Sound s = read_sound(out);
        EXPECT_EQ(s.info.frames, sf_count_t(length)) << c.name;
        EXPECT_EQ(s.info.samplerate, c.rate) << c.name;
        EXPECT_EQ(s.info.channels, c.channels) << c.name;
        EXPECT_EQ(s.info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT) << c.name;
        if (c.latency != kLatency || s.data.size() != length * size_t(c.channels)) continue;
        // At these rates the impulses come out whole, delayed by the latency.
        const size_t n = size_t(c.channels);
        for (size_t i = 0; i < length; ++i) {
            ASSERT_NEAR(s.data[i * n], i == 100 + kLatency ? 0.5 : 0.0, 1e-6) << c.name << " " << i;
            if (n == 2) {
                ASSERT_NEAR(s.data[i * n + 1], i == 200 + kLatency ? -0.25 : 0.0, 1e-6) << c.name << " " << i;
            }
        }
    }
}

TEST(Render, DemoPhraseWithoutInput)
{
    const std::string folder = test_folder();
    const std::string out = folder + "/demo-out.wav", in = folder + "/demo-in.wav";
    const Result r = run(folder, {"--rate", "44100", "--set", "Bypass=1", "--write-input", in, out});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("latency: 2660 samples"), std::string::npos) << r.out;
    const Sound input = read_sound(in), output = read_sound(out);
    // The phrase as the generator renders it at that rate, saved as floats.
    const std::vector<float> phrase = voicegen::render_demo_phrase(44100.0);
    EXPECT_EQ(input.info.samplerate, 44100);
    EXPECT_EQ(input.info.channels, 1);
    EXPECT_EQ(input.data, phrase);
    EXPECT_EQ(output.info.samplerate, 44100);
    EXPECT_EQ(output.info.channels, 1);
    ASSERT_EQ(output.data.size(), phrase.size());
    // Bypassed, what went in comes out 2660 samples later.
    for (size_t i = kLatency; i < phrase.size(); i += 97)
        ASSERT_NEAR(output.data[i], phrase[i - kLatency], 1e-6) << i;
    EXPECT_EQ(files_in(folder), (std::vector<std::string>{"demo-in.wav", "demo-out.wav"}));
}

TEST(Render, ParametersSetByValueOrListText)
{
    const std::string folder = test_folder();
    const std::string in = folder + "/in.wav";
    write_sound(in, {test_signals::sine(4800, 220.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const std::vector<std::vector<std::string>> settings = {
        {"--set", "Retune Speed=0", "--set", "Retune Speed=400"},
        {"--set", "Detune=-100", "--set=Detune=12.5"},
        {"--set", "Vibrato Shape=Square", "--set", "Input type=Low Male"},
        // A list item by its number.
        {"--set", "Vibrato Shape=3"},
    };
    for (const auto& s : settings) {
        const std::string out = folder + "/out.wav";
        std::vector<std::string> args = s;
        args.push_back(in);
        args.push_back(out);
        const Result r = run(folder, args);
        EXPECT_EQ(r.status, 0) << s[1] << ": " << r.err;
        EXPECT_EQ(read_sound(out).info.frames, 4800) << s[1];
    }
}

TEST(Render, ListsClassesParametersAndHelp)
{
    const std::string folder = test_folder();
    const Result classes = run(folder, {"--list-classes"});
    ASSERT_EQ(classes.status, 0) << classes.err;
    EXPECT_NE(classes.out.find("factory vendor \"Halvorne Audio Technologies\""), std::string::npos) << classes.out;
    EXPECT_NE(classes.out.find("class \"Corvane+Time_VST\": category \"Audio Module Class\", "
                               "sub-categories \"Fx|Pitch Shift\", vendor \"Halvorne Audio Technologies\", "
                               "version \"7.6.8.0\", SDK \"VST 3.5.2\""),
              std::string::npos)
        << classes.out;

    const Result params = run(folder, {"--list-params"});
    ASSERT_EQ(params.status, 0) << params.err;
    // A heading and the 90 parameters.
    EXPECT_EQ(std::count(params.out.begin(), params.out.end(), '\n'), 91) << params.out;
    EXPECT_NE(params.out.find("Retune Speed"), std::string::npos);

    const Result help = run(folder, {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: corvane-render", 0), 0u) << help.out;
    EXPECT_EQ(help.err, "");
    EXPECT_TRUE(files_in(folder).empty());
}

TEST(Render, MistakesGiveOneLineAndLeaveNoFile)
{
    const std::string folder = test_folder();
    const std::string good = folder + "/good.wav";
    write_sound(good, {test_signals::sine(4000, 440.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string three = folder + "/three.wav";
    write_sound(three, {std::vector<float>(100), std::vector<float>(100), std::vector<float>(100)}, 48000,
                SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string text = folder + "/not-audio.wav";
    write_text(text, "this is not a sound file\n");
    const std::string out = folder + "/never.wav";

    const Mistake cases[] = {
        {{folder + "/missing.wav", out}, "cannot read " + folder + "/missing.wav: "},
        {{text, out}, "cannot read " + text + ": "},
        {{three, out}, three + " has 3 channels: only mono and stereo files are rendered"},
        {{"--set", "No Such Knob=3", good, out}, "no parameter titled \"No Such Knob\""},
        {{"--set", "missing-equals", good, out}, "--set takes \"Title=value\""},
        {{"--set", "Retune Speed=400.5", good, out}, "\"Retune Speed\" = 400.5 is out of range (0 to 400)"},
        {{"--set", "Detune=-101", good, out}, "\"Detune\" = -101 is out of range (-100 to 100)"},
        {{"--set", "Detune=fast", good, out}, "\"Detune\" takes a number, not \"fast\""},
        {{"--set", "Detune=", good, out}, "\"Detune\" takes a number, not \"\""},
        {{"--set", "Vibrato Shape=Triangle", good, out},
         "\"Vibrato Shape\" has no value \"Triangle\" (one of: (No Vibrato), Sine Wave, Square, Sawtooth)"},
        {{"--set", "Vibrato Shape=4", good, out}, "\"Vibrato Shape\" = 4 is out of range (0 to 3)"},
        {{"--set"}, "--set needs a value"},
        {{"--block", "0", good, out}, "--block takes a whole number from 1 to 65536"},
        {{"--block", "65537", good, out}, "--block takes a whole number from 1 to 65536"},
        {{"--block", "12x", good, out}, "--block takes a whole number from 1 to 65536"},
        {{"--block", "-5", good, out}, "--block takes a whole number from 1 to 65536"},
        {{"--rate", "44100", good, out}, "--rate 44100 differs from the rate of " + good + " (48000 Hz)"},
        {{"--rate", "fast", out}, "--rate takes a whole number of hertz"},
        {{"--plugin", folder + "/None.vst3", good, out}, "no plug-in module at " + folder + "/None.vst3"},
        {{"--frobnicate", good, out}, "unknown option --frobnicate"},
        {{}, "no output file given"},
        {{good, out, out}, "too many files given"},
        {{good, folder + "/no/such/folder/out.wav"}, "cannot write " + folder + "/no/such/folder/out.wav: "},
        {{"--write-input", folder + "/x.wav", good, out}, "--write-input saves the demo phrase"},
        {{"--write-input", folder + "/no/x.wav", out}, "cannot write " + folder + "/no/x.wav: "},
    };
    expect_mistakes(folder, cases);

    // A failed render leaves a file already there as it was.
    write_text(out, "an earlier render\n");
    const Result r = run(folder, {"--set", "No Such Knob=1", good, out});
    EXPECT_NE(r.status, 0);
    EXPECT_EQ(slurp(out), "an earlier render\n");
}

TEST(Render, StateSavedAndRestored)
{
    const std::string folder = test_folder();
    const std::string in = folder + "/in.wav";
    write_sound(in, {test_signals::sine(2400, 220.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const std::string first = folder + "/first.state";
    const std::string second = folder + "/second.state";
    const std::string defaults = folder + "/defaults.state";

    Result r = run(folder, {"--set", "Scale=Major", "--set", "Detune=-25", "--save-state", first, in,
                            folder + "/a.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    r = run(folder, {"--load-state", first, "--save-state", second, in, folder + "/b.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    r = run(folder, {"--save-state", defaults, in, folder + "/c.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    // What was restored is written again unchanged, and differs from the
    // defaults, so the settings travelled through the file.
    EXPECT_FALSE(slurp(first).empty());
    EXPECT_EQ(slurp(first), slurp(second));
    EXPECT_NE(slurp(first), slurp(defaults));

    // A file that is not a state is refused with one line, before any audio
    // is written.
    const std::string junk = folder + "/junk.state";
    write_text(junk, "not a state at all");
    r = run(folder, {"--load-state", junk, in, folder + "/d.wav"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("refuses the state"), std::string::npos) << r.err;
    r = run(folder, {"--load-state", folder + "/missing.state", in, folder + "/d.wav"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("cannot open"), std::string::npos) << r.err;
    const auto names = files_in(folder);
    EXPECT_EQ(std::count(names.begin(), names.end(), "d.wav"), 0);
}

namespace {

struct Plot_Rect {
    int left, right, top, bottom;
};

Plot_Rect plot_rect(int width, int height)
{
    const render::Plot_Area a = render::Pitch_Plot::area(width, height);
    return {int(std::ceil(a.left)), int(std::floor(a.left + a.width)), int(std::ceil(a.top)),
            int(std::floor(a.top + a.height))};
}

} // namespace

TEST(Render, PitchPlotOfTheDemoPhrase)
{
    const std::string folder = test_folder();
    const std::string out = folder + "/out.wav", plot = folder + "/pitch.png";
    const struct {
        std::vector<std::string> size;
        int width, height;
    } cases[] = {{{}, 1200, 600}, {{"--plot-size", "480x240"}, 480, 240}};
    for (const auto& c : cases) {
        std::vector<std::string> args = c.size;
        for (const char* a : {"--pitch-plot", plot.c_str(), out.c_str()}) args.push_back(a);
        const Result r = run(folder, args);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        const plot_image::Image image = plot_image::Image::from_png(plot);
        ASSERT_EQ(image.width(), c.width);
        ASSERT_EQ(image.height(), c.height);
        // Both curves are there, each over much of the phrase's length.
        const Plot_Rect a = plot_rect(c.width, c.height);
        for (const auto colour : {render::kInputColour, render::kOutputColour}) {
            EXPECT_GT(plot_image::count_of(image, colour, a.left, a.right, a.top, a.bottom), size_t(c.width / 2));
            const auto columns = plot_image::columns_of(image, colour, a.left, a.right, a.top, a.bottom);
            EXPECT_GT(columns.second - columns.first, (a.right - a.left) / 2);
        }
        EXPECT_EQ(files_in(folder), (std::vector<std::string>{"out.wav", "pitch.png"}));
    }
}

TEST(Render, PitchPlotOfTheFirstChannelWithTheLatencyRemoved)
{
    // The first channel holds A4 from 1 s to 2 s of 3 s, the second a D#4
    // throughout. A4 lies three semitones under a C, D#4 three above one.
    const std::string folder = test_folder();
    const double rate = 48000;
    const size_t length = size_t(3.0 * rate);
    std::vector<float> first(length, 0.0f);
    const auto a4 = test_signals::sine(length, 440.0, rate, 0.4);
    for (size_t i = size_t(1.0 * rate); i < size_t(2.0 * rate); ++i) first[i] = a4[i];
    const std::string in = folder + "/in.wav", out = folder + "/out.wav", plot = folder + "/pitch.png";
    write_sound(in, {first, test_signals::sine(length, 311.127, rate, 0.4)}, int(rate), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const Result r = run(folder, {"--pitch-plot", plot, in, out});
    ASSERT_EQ(r.status, 0) << r.err;

    const plot_image::Image image = plot_image::Image::from_png(plot);
    ASSERT_EQ(image.width(), 1200);
    const Plot_Rect a = plot_rect(1200, 600);
    const double seconds = double(a.right - a.left) / 3.0;
    const int middle = a.left + int(1.5 * seconds);
    const auto grid = plot_image::grid_at(image, a.left + int(0.5 * seconds), a.top, a.bottom);
    const double row = plot_image::mean(plot_image::rows_of(image, middle, render::kInputColour, a.top, a.bottom));
    ASSERT_GE(row, 0.0);
    bool under_a_c = false;
    for (size_t i = 0; i + 3 < grid.rows.size(); ++i) {
        if (grid.strong[i] && std::fabs(grid.rows[i + 3] - row) <= 1.5) under_a_c = true;
    }
    EXPECT_TRUE(under_a_c) << "input curve at row " << row;

    // The output's curve spans the same second as the input's: the 2660
    // samples of latency (55 ms, some 20 pixels here) are taken off.
    const auto in_cols = plot_image::columns_of(image, render::kInputColour, a.left, a.right, a.top, a.bottom);
    const auto out_cols = plot_image::columns_of(image, render::kOutputColour, a.left, a.right, a.top, a.bottom);
    ASSERT_GE(out_cols.first, 0);
    EXPECT_NEAR(in_cols.first - a.left, seconds, 5.0);
    EXPECT_NEAR(out_cols.first, in_cols.first, 5.0);
    EXPECT_NEAR(out_cols.second, in_cols.second, 5.0);
}

TEST(Render, PitchPlotMistakesGiveOneLineAndLeaveNoFile)
{
    const std::string folder = test_folder();
    const std::string good = folder + "/good.wav";
    write_sound(good, {test_signals::sine(4800, 440.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    const std::string out = folder + "/out.wav", plot = folder + "/plot.png";
    const std::string size_message = "--plot-size takes WIDTHxHEIGHT in pixels, from 320x200 to 10000x10000";
    const Mistake cases[] = {
        {{"--pitch-plot", folder + "/no/such/plot.png", good, out}, "cannot write " + folder + "/no/such/plot.png: "},
        {{"--pitch-plot", out, good, out}, "--pitch-plot names the same file as another output"},
        {{"--pitch-plot"}, "--pitch-plot needs a value"},
        {{"--plot-size", "800x600", good, out}, "--plot-size sizes the picture of --pitch-plot"},
        {{"--pitch-plot", plot, "--plot-size", "800", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "800x", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "x600", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "800X600", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "-800x600", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "319x600", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "800x199", good, out}, size_message},
        {{"--pitch-plot", plot, "--plot-size", "10001x600", good, out}, size_message},
        // A failure after the render leaves no picture either.
        {{"--pitch-plot", plot, good, folder + "/no/such/out.wav"}, "cannot write " + folder + "/no/such/out.wav: "},
    };
    expect_mistakes(folder, cases);

    // The help names the options.
    const Result help = run(folder, {"--help"});
    EXPECT_NE(help.out.find("--pitch-plot FILE.png"), std::string::npos);
    EXPECT_NE(help.out.find("--plot-size WxH"), std::string::npos);
}
