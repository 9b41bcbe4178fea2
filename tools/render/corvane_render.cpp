// corvane-render: renders a sound file, or the embedded demo phrase, through
// the plug-in module block by block as a host would, into a 32-bit float WAV
// file of the same length, rate and channels. The module's latency is not
// compensated: the output starts with it. On request it also draws the
// pitch of the input and of the output, latency removed, into a PNG file.

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cli/Tool_Support.h"
#include "effect/Corvane_ITrackedData.h"
#include "panel/Corvane_ParameterIds.h"
#include "hostlib/Plugin_Host.h"
#include "pitchtrack/Pitch_Estimator.h"
#include "render/Output_Files.h"
#include "render/Pitch_Plot.h"
#include "voicegen/Voice_Generator.h"

#ifndef CORVANE_DEFAULT_BUNDLE
#error "CORVANE_DEFAULT_BUNDLE must name the bundle the tool loads by default"
#endif

namespace {

using cli::fail;
using cli::number_text;
using cli::parse_whole;
using cli::quoted;

constexpr long kMinBlock = 1;
constexpr long kMaxBlock = 65536;
constexpr long kDefaultBlock = 512;
constexpr long kMinRate = 8000;
constexpr long kMaxRate = 384000;
constexpr long kDefaultRate = 48000;
constexpr int kMaxChannels = hostlib::Instance::kMaxChannels;
// Frames read from the input file at a time.
constexpr sf_count_t kReadChunk = 65536;

const char* const kUsage =
    "usage: corvane-render [options] [IN] OUT.wav\n"
    "\n"
    "Renders IN (mono or stereo, any rate, any format libsndfile reads) through\n"
    "the plug-in into OUT.wav: 32-bit float WAV, same rate, channels and length,\n"
    "latency not compensated. Without IN it renders the embedded demo phrase\n"
    "(mono). Prints the reported latency and the real-time factor (seconds of\n"
    "audio rendered per second of processing). Writes every output or, if any\n"
    "step fails, none: files already at their names then stay as they were.\n"
    "\n"
    "  --plugin BUNDLE        the .vst3 bundle (or .so) to load\n"
    "                         (default: " CORVANE_DEFAULT_BUNDLE ")\n"
    "  --set \"Title=value\"    set the parameter of that exact title to a plain\n"
    "                         value; a list parameter takes one of its texts (or\n"
    "                         its item number); may be repeated\n"
    "  --rate HZ              sample rate of the demo phrase, 8000 to 384000\n"
    "                         (default 48000); with IN, must match its rate\n"
    "  --block N              host block size, 1 to 65536 (default 512)\n"
    "  --write-input FILE     also write the demo phrase as rendered (no IN)\n"
    "  --load-state FILE      restore a state saved by --save-state (or by a\n"
    "                         host) before the --set values are applied\n"
    "  --save-state FILE      write the plug-in's state after the render, as a\n"
    "                         host saves it into a project\n"
    "  --press \"Title\"        after --load-state and the --set values, press\n"
    "                         and release the button of that exact title as a\n"
    "                         click on the panel does (\"Track Pitch\" and \"Track\n"
    "                         Pitch and Time\" stay pressed: they track through\n"
    "                         the render); may be repeated, taken in order\n"
    "  --notes N              \"Number of Note Objects\" for \"Make Notes\": note\n"
    "                         objects per sung note, 1 to 10\n"
    "  --object-retune MS     \"Object Retune Speed\" of new objects, 0 to 400 ms\n"
    "  --object-vibrato DB    \"Object Adjust Vibrato\" of new objects, -12 to 12\n"
    "                         (-12 leaves none of the singer's vibrato, 0 all)\n"
    "  --object-throat PCT    \"Object Throat Length\" of new objects, -50 to 50\n"
    "  --snap                 \"Snap To Note\": made notes land on the semitones\n"
    "  --frames-csv FILE      write the tracked frames after the render: one row\n"
    "                         a frame, time in seconds first\n"
    "  --export-tracked-audio FILE.wav\n"
    "                         write the audio recorded by \"Track Pitch and\n"
    "                         Time\" back out of the data files (32-bit float,\n"
    "                         at the engine's rate, from store position 0)\n"
    "  --time-move FROM_S:TO_S\n"
    "                         move the point of the recorded take at FROM_S\n"
    "                         seconds so that it sounds at TO_S seconds (the\n"
    "                         take before it stretched or compressed to fit,\n"
    "                         the rest shifted), after --load-state, the --set\n"
    "                         values and --press; may be repeated, taken in\n"
    "                         order; turns \"Enable Time Warping\" on, and the\n"
    "                         render then plays the take from its data files,\n"
    "                         the input padded with silence to the take's end\n"
    "  --data-folder DIR      keep this run's data files in a session folder\n"
    "                         under DIR (default: $XDG_DATA_HOME, else\n"
    "                         ~/.local/share, then the maker's and the\n"
    "                         product's folders)\n"
    "  --pitch-plot FILE.png  also draw the pitch of the input and of the output\n"
    "                         (shifted back by the latency) over time on a grid\n"
    "                         of notes; of a stereo file, the first channel\n"
    "  --plot-size WxH        size of that picture in pixels, 320x200 to\n"
    "                         10000x10000 (default 1200x600)\n"
    "  --list-classes         print the module's classes and exit\n"
    "  --list-params          print the parameters as a host sees them and exit\n"
    "  --help                 show this text and exit\n";


struct Options {
    std::string plugin = CORVANE_DEFAULT_BUNDLE;
    std::vector<std::string> settings;
    std::vector<std::string> presses;
    // Seconds of the take: from, to.
    std::vector<std::pair<double, double>> timeMoves;
    std::string framesCsv;
    std::string exportTracked;
    std::string dataFolder;
    long rate = kDefaultRate;
    bool rateGiven = false;
    long block = kDefaultBlock;
    std::string writeInput;
    std::string loadState;
    std::string saveState;
    std::string pitchPlot;
    int plotWidth = render::kDefaultPlotWidth;
    int plotHeight = render::kDefaultPlotHeight;
    bool plotSizeGiven = false;
    bool help = false;
    bool listClasses = false;
    bool listParams = false;
    std::string input;
    std::string output;
};

Options parse(int argc, char** argv)
{
    Options o;
    cli::Arguments args(argc, argv);
    std::string arg;
    while (args.next(arg)) {
        auto value = [&] { return args.value(); };
        auto no_value = [&] { args.no_value(); };
        if (arg == "--help" || arg == "-h") {
            no_value();
            o.help = true;
        } else if (arg == "--plugin") {
            o.plugin = value();
        } else if (arg == "--set") {
            o.settings.push_back(value());
        } else if (arg == "--rate") {
            if (!parse_whole(value(), o.rate) || o.rate < kMinRate || o.rate > kMaxRate)
                fail("--rate takes a whole number of hertz from 8000 to 384000");
            o.rateGiven = true;
        } else if (arg == "--block") {
            if (!parse_whole(value(), o.block) || o.block < kMinBlock || o.block > kMaxBlock)
                fail("--block takes a whole number from 1 to 65536");
        } else if (arg == "--write-input") {
            o.writeInput = value();
        } else if (arg == "--press") {
            o.presses.push_back(value());
        } else if (arg == "--notes") {
            o.settings.push_back("Number of Note Objects=" + value());
        } else if (arg == "--object-retune") {
            o.settings.push_back("Object Retune Speed=" + value());
        } else if (arg == "--object-vibrato") {
            o.settings.push_back("Object Adjust Vibrato=" + value());
        } else if (arg == "--object-throat") {
            o.settings.push_back("Object Throat Length=" + value());
        } else if (arg == "--snap") {
            no_value();
            o.settings.push_back("Snap To Note=1");
        } else if (arg == "--frames-csv") {
            o.framesCsv = value();
        } else if (arg == "--export-tracked-audio") {
            o.exportTracked = value();
        } else if (arg == "--time-move") {
            const std::string text = value();
            const size_t colon = text.find(':');
            double from = 0.0, to = 0.0;
            if (colon == std::string::npos || !cli::parse_number(text.substr(0, colon), from) ||
                !cli::parse_number(text.substr(colon + 1), to) || !(from >= 0.0) || !(to >= 0.0))
                fail("--time-move takes FROM_S:TO_S, two times in seconds of the take, such as 1.5:2.25");
            o.timeMoves.emplace_back(from, to);
        } else if (arg == "--data-folder") {
            o.dataFolder = value();
        } else if (arg == "--load-state") {
            o.loadState = value();
        } else if (arg == "--save-state") {
            o.saveState = value();
        } else if (arg == "--pitch-plot") {
            o.pitchPlot = value();
        } else if (arg == "--plot-size") {
            if (!cli::parse_size(value(), o.plotWidth, o.plotHeight, render::kMinPlotWidth, render::kMinPlotHeight,
                                 render::kMaxPlotSide))
                fail("--plot-size takes WIDTHxHEIGHT in pixels, from 320x200 to 10000x10000");
            o.plotSizeGiven = true;
        } else if (arg == "--list-classes") {
            no_value();
            o.listClasses = true;
        } else if (arg == "--list-params") {
            no_value();
            o.listParams = true;
        } else {
            fail("unknown option " + arg + " (see --help)");
        }
    }
    if (o.help) return o;
    const auto& files = args.files();
    if (o.listClasses || o.listParams) {
        if (!files.empty()) fail("--list-classes and --list-params take no files");
        return o;
    }
    if (files.empty()) fail("no output file given (see --help)");
    if (files.size() > 2) fail("too many files given: at most IN and OUT (see --help)");
    o.output = files.back();
    if (files.size() == 2) o.input = files[0];
    if (!o.input.empty() && !o.writeInput.empty())
        fail("--write-input saves the demo phrase, which is rendered only without an input file");
    if (o.plotSizeGiven && o.pitchPlot.empty())
        fail("--plot-size sizes the picture of --pitch-plot, which is not asked for");
    return o;
}

// Channel-major audio at a whole sample rate.
struct Audio {
    std::vector<std::vector<float>> channels;
    int rate = 0;

    size_t frames() const { return channels.empty() ? 0 : channels[0].size(); }
};

Audio read_audio(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) fail("cannot read " + path + ": " + sf_strerror(nullptr));
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> closer(file, sf_close);
    if (info.channels < 1 || info.channels > kMaxChannels)
        fail(path + " has " + std::to_string(info.channels) +
             " channels: only mono and stereo files are rendered");
    Audio audio;
    audio.rate = info.samplerate;
    audio.channels.assign(size_t(info.channels), {});
    const size_t count = size_t(info.channels);
    std::vector<float> chunk(size_t(kReadChunk) * count);
    // Read to the end rather than trusting the header's frame count.
    for (;;) {
        const sf_count_t got = sf_readf_float(file, chunk.data(), kReadChunk);
        if (got <= 0) break;
        for (size_t c = 0; c < count; ++c) {
            auto& channel = audio.channels[c];
            for (sf_count_t i = 0; i < got; ++i) channel.push_back(chunk[size_t(i) * count + c]);
        }
    }
    if (sf_error(file) != SF_ERR_NO_ERROR) fail("cannot read " + path + ": " + sf_strerror(file));
    return audio;
}

// 32-bit float WAV into the temporary of output `index`.
void write_wav(render::Output_Files& files, int index, const Audio& audio)
{
    SF_INFO info{};
    info.samplerate = audio.rate;
    info.channels = int(audio.channels.size());
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const std::string& target = files.target(index);
    SNDFILE* out = sf_open(files.temporary(index).c_str(), SFM_WRITE, &info);
    if (out == nullptr) fail("cannot write " + target + ": " + sf_strerror(nullptr));
    const size_t frames = audio.frames();
    const size_t count = audio.channels.size();
    std::vector<float> interleaved(frames * count);
    for (size_t i = 0; i < frames; ++i) {
        for (size_t c = 0; c < count; ++c) interleaved[i * count + c] = audio.channels[c][i];
    }
    const sf_count_t written = sf_writef_float(out, interleaved.data(), sf_count_t(frames));
    const std::string reason = sf_strerror(out);
    const int closed = sf_close(out);
    if (written != sf_count_t(frames) || closed != 0) fail("cannot write " + target + ": " + reason);
}

void write_png(render::Output_Files& files, int index, cairo_surface_t* surface)
{
    const cairo_status_t status = cairo_surface_write_to_png(surface, files.temporary(index).c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        fail("cannot write " + files.target(index) + ": " + cairo_status_to_string(status));
}

void list_classes(const hostlib::Module& module)
{
    std::printf("factory vendor %s\n", quoted(module.factory_vendor()).c_str());
    for (const auto& c : module.classes()) {
        std::printf("class %s: category %s, sub-categories %s, vendor %s, version %s, SDK %s\n",
                    quoted(c.name).c_str(), quoted(c.category).c_str(), quoted(c.sub_categories).c_str(),
                    quoted(c.vendor).c_str(), quoted(c.version).c_str(), quoted(c.sdk_version).c_str());
    }
}

// One line per parameter: id, title, short title, units, plain range,
// default, steps and flags.
void list_parameters(hostlib::Instance& instance)
{
    using Steinberg::Vst::ParameterInfo;
    const struct {
        Steinberg::int32 bit;
        const char* name;
    } flagNames[] = {{ParameterInfo::kCanAutomate, "automate"}, {ParameterInfo::kIsReadOnly, "read-only"},
                     {ParameterInfo::kIsWrapAround, "wrap"},    {ParameterInfo::kIsList, "list"},
                     {ParameterInfo::kIsHidden, "hidden"},      {ParameterInfo::kIsProgramChange, "program"},
                     {ParameterInfo::kIsBypass, "bypass"}};
    std::printf("%-4s %-24s %-6s %-10s %-22s %-14s %-5s %s\n", "id", "title", "short", "units",
                "range", "default", "steps", "flags");
    for (const auto& p : instance.parameters()) {
        const std::string range = number_text(p.plain_at_0) + " .. " + number_text(p.plain_at_1);
        std::string text = instance.text_of(p.id, p.default_normalized);
        if (text.empty()) text = number_text(p.default_plain);
        std::string flags;
        for (const auto& f : flagNames) {
            if (p.flags & f.bit) flags += (flags.empty() ? "" : ",") + std::string(f.name);
        }
        std::printf("%-4u %-24s %-6s %-10s %-22s %-14s %-5d %s\n", p.id, p.title.c_str(),
                    p.short_title.c_str(), p.units.c_str(), range.c_str(), text.c_str(), p.step_count,
                    flags.c_str());
    }
}

// The pitch of the first channel of the input and of the output, the
// output read from `latency` samples on so that both share one time axis.
void write_pitch_plot(render::Output_Files& files, int index, const Audio& input, const Audio& rendered,
                      size_t latency, int width, int height)
{
    // The estimator's usual range, within what the rate can show.
    pitchtrack::Estimator_Settings settings;
    settings.max_hz = std::min(settings.max_hz, 0.25 * input.rate);
    pitchtrack::Pitch_Estimator estimator(input.rate, settings);
    const std::vector<float>& in = input.channels[0];
    const std::vector<float>& out = rendered.channels[0];
    const size_t skip = std::min(latency, out.size());
    render::Pitch_Plot plot(estimator.track(in), estimator.track(out.data() + skip, out.size() - skip),
                            double(in.size()) / input.rate);
    cairo_surface_t* surface = plot.render(width, height);
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> owner(surface, cairo_surface_destroy);
    write_png(files, index, surface);
    owner.reset();
    render::release_font_caches();
}

void load_state(hostlib::Instance& instance, const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) fail("cannot open " + quoted(path) + ": " + std::strerror(errno));
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!instance.set_state(bytes)) fail("the plug-in refuses the state in " + quoted(path));
}

void save_state(hostlib::Instance& instance, render::Output_Files& files, int index)
{
    std::vector<char> bytes;
    if (!instance.get_state(bytes)) fail("the plug-in gave no state");
    std::ofstream file(files.temporary(index), std::ios::binary | std::ios::trunc);
    if (!file || !file.write(bytes.data(), std::streamsize(bytes.size())) || !file.flush())
        fail("cannot write " + quoted(files.target(index)) + ": " + std::strerror(errno));
}

ICorvaneTrackedData* tracked_data(hostlib::Instance& instance)
{
    ICorvaneTrackedData* data = nullptr;
    if (instance.component()->queryInterface(ICorvaneTrackedData_iid, reinterpret_cast<void**>(&data)) !=
            Steinberg::kResultOk ||
        data == nullptr)
        fail("the plug-in keeps no tracked data");
    data->release();  // the component holds it for the instance's life
    return data;
}

// A click on the panel's control: the two tracking buttons latch (they stay
// down while tracking), every other button is let go of at once.
void press(hostlib::Instance& instance, ICorvaneTrackedData& data, const std::string& title)
{
    hostlib::Parameter_Info info;
    if (!instance.find_parameter(title, info)) fail("no parameter is titled " + quoted(title) + " (see --list-params)");
    if (info.step_count != 1 || info.is_list()) fail(quoted(title) + " is not a button");
    data.clickControl(info.id, 1.0);
    if (info.id != corvane::kTrackPitch && info.id != corvane::kTrackPitchAndTime) data.clickControl(info.id, 0.0);
}

void write_frames_csv(render::Output_Files& files, int index, ICorvaneTrackedData& data, double rate)
{
    std::ofstream out(files.temporary(index), std::ios::trunc);
    out << "time,centsA,centsB,voiced,minSample,maxSample,bar,beat,midiNote,outputPeriod\n";
    const double frameSeconds = double(data.getFrameSamples()) / rate;
    char row[256];
    for (Steinberg::int64 i = 0; i < data.getTrackedFrameCount(); ++i) {
        TrackedFrame f;
        if (data.getTrackedFrame(i, &f) != Steinberg::kResultOk) break;
        std::snprintf(row, sizeof row, "%.6f,%d,%d,%d,%.6g,%.6g,%d,%d,%d,%.6g\n", double(i) * frameSeconds, f.centsA,
                      f.centsB, f.voiced() ? 1 : 0, double(f.minSample), double(f.maxSample), f.bar, int(f.beat),
                      int(f.midiNote), double(f.outputPeriod));
        out << row;
    }
    if (!out.flush()) fail("cannot write " + quoted(files.target(index)) + ": " + std::strerror(errno));
}

// The store read back through readSample, from position 0 to the end of the
// last region; positions without audio are silent.
Audio export_tracked(ICorvaneTrackedData& data, int channels, double hostRate)
{
    Steinberg::int64 end = 0;
    for (Steinberg::int32 r = 0; r < data.getRegionCount(); ++r) {
        Steinberg::int64 s = 0, e = 0;
        if (data.getRegion(r, &s, &e, nullptr) == Steinberg::kResultOk) end = std::max(end, e);
    }
    if (end == 0) fail("nothing was recorded to export: press \"Track Pitch and Time\" with --press");
    Steinberg::TBool overrun = false, failed = false;
    if (data.getStoreStatus(&overrun, &failed) != 0) fail("the tracked audio's data files cannot be read");
    if (failed) fail("the recording stopped early: the data folder could not be written");
    Audio audio;
    audio.rate = int(hostRate / double(data.getDecimationFactor()));
    audio.channels.assign(size_t(channels), std::vector<float>(size_t(end), 0.0f));
    for (Steinberg::int64 p = 0; p < end; ++p) {
        float left = 0.0f, right = 0.0f;
        Steinberg::int32 code;
        while ((code = data.readTrackedSample(p, &left, &right)) == 1) std::this_thread::yield();
        if (code != 0) continue;
        audio.channels[0][size_t(p)] = left;
        if (channels == 2) audio.channels[1][size_t(p)] = right;
    }
    return audio;
}

std::string seconds_text(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", seconds);
    return text;
}

// The moves of --time-move on the take in force, then "Enable Time
// Warping" on; the input grows with silence to the end of the moved take,
// so that the render plays it whole.
void apply_time_moves(hostlib::Instance& instance, ICorvaneTrackedData& data,
                      const std::vector<std::pair<double, double>>& moves, double hostRate, Audio& input)
{
    if (data.getRegionCount() == 0)
        fail("--time-move needs a take recorded with \"Track Pitch and Time\": this state holds no recorded audio");
    if (data.getStoreStatus(nullptr, nullptr) != 0)
        fail("--time-move needs the take's data files, which cannot be found (see --data-folder)");
    const double engineRate = hostRate / double(data.getDecimationFactor());
    Steinberg::int64 takeEnd = 0;
    for (Steinberg::int32 r = 0; r < data.getRegionCount(); ++r) {
        Steinberg::int64 start = 0, end = 0;
        if (data.getRegion(r, &start, &end, nullptr) == Steinberg::kResultOk) takeEnd = std::max(takeEnd, end);
    }
    for (const auto& [from, to] : moves) {
        Steinberg::int32 limit = 0;
        const std::string what = "--time-move " + seconds_text(from) + ":" + seconds_text(to);
        if (data.moveTimePoint(from * engineRate, to * engineRate, &limit) == Steinberg::kResultOk) continue;
        if (limit == 2) fail(what + " is refused: it stretches the take past the stretch limit");
        if (limit == 1) fail(what + " is refused: it compresses the take past the compression limit");
        fail(what + " is refused: " + seconds_text(from) + " s lies outside the recorded take (" +
             seconds_text(double(takeEnd) / engineRate) + " s long)");
    }
    data.clickControl(corvane::kEnableTimeWarping, instance.normalized_of(corvane::kEnableTimeWarping, 1.0));
    const double end = data.mapTimePosition(double(takeEnd)) / engineRate;
    const size_t frames = size_t(std::ceil(end * hostRate - 1e-6));
    for (auto& channel : input.channels)
        if (channel.size() < frames) channel.resize(frames, 0.0f);
}

int run(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }

    std::string error;
    const auto module = hostlib::Module::load(options.plugin, error);
    if (!module) fail(error);
    if (options.listClasses) {
        list_classes(*module);
        return 0;
    }
    if (options.listParams) {
        const auto instance = hostlib::Instance::create(*module, "", error);
        if (!instance) fail(error);
        list_parameters(*instance);
        return 0;
    }

    // Every target is claimed before the work, so one named twice, or one
    // the user may not replace, fails at once. Nothing is written to any
    // of them until all are written beside them.
    render::Output_Files files;
    constexpr int kNone = -1;
    const auto claim = [&](const std::string& target, const char* what) {
        return target.empty() ? kNone : files.claim(target, what);
    };
    const int output = claim(options.output, "the output");
    const int savedInput = claim(options.writeInput, "--write-input");
    const int plot = claim(options.pitchPlot, "--pitch-plot");
    const int state = claim(options.saveState, "--save-state");
    const int framesCsv = claim(options.framesCsv, "--frames-csv");
    const int exported = claim(options.exportTracked, "--export-tracked-audio");

    Audio input;
    if (options.input.empty()) {
        input.rate = int(options.rate);
        input.channels.push_back(voicegen::render_demo_phrase(double(options.rate)));
    } else {
        input = read_audio(options.input);
        if (options.rateGiven && input.rate != options.rate)
            fail("--rate " + std::to_string(options.rate) + " differs from the rate of " + options.input +
                 " (" + std::to_string(input.rate) + " Hz)");
    }
    const int channels = int(input.channels.size());
    const double rate = input.rate;

    const auto instance = hostlib::Instance::create(*module, "", error);
    if (!instance) fail(error);
    if (!instance->set_channels(channels, channels))
        fail("the plug-in refuses " + std::string(channels == 2 ? "stereo" : "mono") + " buses");
    const std::string rateText = std::to_string(input.rate) + " Hz";
    if (!instance->setup(rate, Steinberg::int32(options.block), true))
        fail("the plug-in refuses a sample rate of " + rateText);
    ICorvaneTrackedData* tracked = tracked_data(*instance);
    if (!options.dataFolder.empty() && tracked->setDataFolder(options.dataFolder.c_str()) != Steinberg::kResultOk)
        fail("the plug-in refuses the data folder " + quoted(options.dataFolder));
    if (!options.loadState.empty()) load_state(*instance, options.loadState);
    for (const auto& setting : options.settings) cli::set_parameter(*instance, setting);
    // The mode the parameters now say is the one in force, as after a click
    // on the mode's control.
    tracked->clickControl(corvane::kCorrectionMode, instance->normalized(corvane::kCorrectionMode));
    for (const auto& title : options.presses) press(*instance, *tracked, title);
    if (!options.timeMoves.empty()) apply_time_moves(*instance, *tracked, options.timeMoves, rate, input);
    if (!instance->activate(true)) fail("the plug-in failed to activate at a sample rate of " + rateText);

    Audio rendered;
    rendered.rate = input.rate;
    const auto start = std::chrono::steady_clock::now();
    const Steinberg::tresult result =
        instance->process_all(input.channels, rendered.channels, Steinberg::int32(options.block));
    const double wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (result != Steinberg::kResultOk) fail("the plug-in failed to process a block");
    // The tracking run ends with the input: its button is let go of, so that
    // a saved state plays its frames when it is loaded again.
    for (Steinberg::uint32 id : {Steinberg::uint32(corvane::kTrackPitch), Steinberg::uint32(corvane::kTrackPitchAndTime)})
        if (instance->plain(id) == 1.0) tracked->clickControl(id, 0.0);
    const Steinberg::uint32 latency = instance->latency();
    // Inactive, the effect hands the recording's last block to the disk.
    instance->activate(false);
    tracked->waitForDisk();

    if (plot != kNone) write_pitch_plot(files, plot, input, rendered, latency, options.plotWidth, options.plotHeight);
    if (savedInput != kNone) write_wav(files, savedInput, input);
    write_wav(files, output, rendered);
    if (state != kNone) save_state(*instance, files, state);
    if (framesCsv != kNone) write_frames_csv(files, framesCsv, *tracked, rate);
    if (exported != kNone) write_wav(files, exported, export_tracked(*tracked, channels, rate));
    files.commit();

    if (!options.timeMoves.empty()) {
        Steinberg::int64 lastFrame = -1;
        const Steinberg::int64 overruns = tracked->getPlaybackOverruns(&lastFrame);
        if (overruns == 0)
            std::printf("time-warped playback: every sample read from the data files in time\n");
        else
            std::printf("time-warped playback: %lld samples not read in time played silent, the last at frame %lld\n",
                        static_cast<long long>(overruns), static_cast<long long>(lastFrame));
    }
    const double audioSeconds = double(input.frames()) / rate;
    std::printf("latency: %u samples (%.2f ms)\n", latency, 1000.0 * latency / rate);
    if (audioSeconds > 0.0 && wallSeconds > 0.0)
        std::printf("real-time factor: %.1f (%.3f s of audio in %.4f s)\n", audioSeconds / wallSeconds,
                    audioSeconds, wallSeconds);
    else
        std::printf("real-time factor: n/a (%.3f s of audio)\n", audioSeconds);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    render::remove_temporaries_on_signals();
    try {
        return run(argc, argv);
    } catch (const cli::Failure& failure) {
        std::fprintf(stderr, "corvane-render: %s\n", failure.message.c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "corvane-render: %s\n", e.what());
    }
    return 1;
}
