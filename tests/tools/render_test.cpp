// corvane-render run as a user runs it, on real sound files.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sndfile.hh>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "plot_image.h"
#include "render/Pitch_Plot.h"
#include "support/signals.h"
#include "support/tool_run.h"
#include "voicegen/Voice_Generator.h"

namespace {

// The engine's delay at 44.1 and 48 kHz, in host samples.
constexpr size_t kLatency = 2660;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

using test_tool::files_in;
using test_tool::Result;
using test_tool::slurp;

// An empty folder of the running test's own.
std::string test_folder()
{
    return test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/render");
}

// Starts the tool as a user, not root, would run it: without the right to
// write where permissions forbid it, and with files of at most `file_limit`
// bytes unless 0. Its output streams go to files beside the folder.
pid_t start(const std::string& folder, const std::vector<std::string>& args, rlim_t file_limit = 0)
{
    std::vector<std::string> words = {CORVANE_RENDER_PATH};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& w : words) argv.push_back(&w[0]);
    argv.push_back(nullptr);
    const std::string out = folder + ".stdout", err = folder + ".stderr";
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    // Only async-signal-safe calls from here to exec.
    if (::geteuid() == 0 && ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) != 0) ::_exit(126);
    if (file_limit != 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {file_limit, file_limit};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
    ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

Result run(const std::string& folder, const std::vector<std::string>& args, rlim_t file_limit = 0)
{
    const pid_t pid = start(folder, args, file_limit);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(folder + ".stdout"), slurp(folder + ".stderr")};
}

// Every file and folder under `folder`, with the bytes of each file.
std::map<std::string, std::string> tree_of(const std::string& folder)
{
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        tree[entry.path().string()] = entry.is_directory() ? "(folder)" : slurp(entry.path().string());
    return tree;
}

void write_sound(const std::string& path, const std::vector<std::vector<float>>& channels, int rate, int format)
{
    std::vector<float> interleaved;
    for (size_t i = 0; i < channels[0].size(); ++i)
        for (const auto& c : channels) interleaved.push_back(c[i]);
    SndfileHandle file(path, SFM_WRITE, format, int(channels.size()), rate);
    const sf_count_t frames = sf_count_t(channels[0].size());
    ASSERT_EQ(file.writef(interleaved.data(), frames), frames) << path << ": " << file.strError();
}

// A sound file as read back: its header, and its samples interleaved.
struct Sound {
    explicit Sound(const std::string& path) : file(path), data(size_t(file.frames() * file.channels()))
    {
        file.readf(data.data(), file.frames());
    }
    SndfileHandle file;
    std::vector<float> data;
};

} // namespace

TEST(Render, OutputHasTheInputsLengthRateAndChannels)
{
    const std::string folder = test_folder();
    const int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const struct {
        const char* name;
        int channels, rate, format;
        std::vector<std::string> options;
        size_t latency;
    } cases[] = {
        {"stereo-44k.wav", 2, 44100, wav16, {"--block", "300"}, 2660},
        {"mono-48k.aiff", 1, 48000, SF_FORMAT_AIFF | SF_FORMAT_PCM_24, {"--block=1"}, 2660},
        {"stereo-48k-float.wav", 2, 48000, kFloatWav, {"--rate", "48000"}, 2660},
        {"mono-96k.wav", 1, 96000, wav16, {"--block", "65536"}, 5320},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = folder + "/" + c.name, out = folder + "/out-" + c.name + ".wav";
        const size_t length = 9000;
        // Impulses of heights a 16-bit file holds exactly, one per channel.
        std::vector<std::vector<float>> channels = {test_signals::impulse(length, 100, 0.5f)};
        if (c.channels == 2) channels.push_back(test_signals::impulse(length, 200, -0.25f));
        write_sound(in, channels, c.rate, c.format);
        std::vector<std::string> args = c.options;
        args.insert(args.end(), {in, out});
        const Result r = run(folder, args);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        EXPECT_NE(r.out.find("latency: " + std::to_string(c.latency) + " samples"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("real-time factor: "), std::string::npos) << r.out;

        const Sound s(out);
        EXPECT_EQ(s.file.frames(), sf_count_t(length));
        EXPECT_EQ(s.file.samplerate(), c.rate);
        EXPECT_EQ(s.file.channels(), c.channels);
        EXPECT_EQ(s.file.format(), kFloatWav);
        if (c.latency != kLatency || s.data.size() != length * size_t(c.channels)) continue;
        // At these rates the impulses come out whole, delayed by the latency.
        for (size_t i = 0; i < length; ++i) {
            for (size_t ch = 0; ch < channels.size(); ++ch) {
                const float in_then = i >= kLatency ? channels[ch][i - kLatency] : 0.0f;
                ASSERT_NEAR(s.data[i * channels.size() + ch], in_then, 1e-6) << ch << " " << i;
            }
        }
    }
}

TEST(Render, DemoPhraseWithoutInputAndItsPitchPlotAtTheSizeAsked)
{
    const std::string folder = test_folder();
    const std::string out = folder + "/demo-out.wav", in = folder + "/demo-in.wav", plot = folder + "/pitch.png";
    const Result r = run(folder, {"--rate", "44100", "--set", "Bypass=1", "--write-input", in, "--pitch-plot", plot,
                                  "--plot-size", "480x240", out});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("latency: 2660 samples"), std::string::npos) << r.out;
    EXPECT_EQ(files_in(folder), (std::vector<std::string>{"demo-in.wav", "demo-out.wav", "pitch.png"}));
    // The phrase as the generator renders it at that rate, saved as floats;
    // bypassed, what went in comes out 2660 samples later.
    const std::vector<float> phrase = voicegen::render_demo_phrase(44100.0);
    const Sound input(in), output(out);
    for (const Sound* s : {&input, &output}) EXPECT_TRUE(s->file.samplerate() == 44100 && s->file.channels() == 1);
    EXPECT_EQ(input.data, phrase);
    ASSERT_EQ(output.data.size(), phrase.size());
    for (size_t i = kLatency; i < phrase.size(); i += 97) ASSERT_NEAR(output.data[i], phrase[i - kLatency], 1e-6) << i;

    // Both curves are there, each over much of the phrase's length.
    const plot_image::Image image = plot_image::Image::from_png(plot);
    ASSERT_EQ(image.width(), 480);
    ASSERT_EQ(image.height(), 240);
    const plot_image::Area a(image);
    for (const auto colour : {render::kInputColour, render::kOutputColour}) {
        EXPECT_GT(plot_image::count_of(image, colour, a.left, a.right, a.top, a.bottom), size_t(480 / 2));
        const auto columns = a.columns(image, colour);
        EXPECT_GT(columns.second - columns.first, (a.right - a.left) / 2);
    }
}

TEST(Render, SettingsInEitherSpellingReachTheSavedStateAndAStateIsRestored)
{
    const std::string folder = test_folder();
    const std::string in = folder + "/in.wav";
    write_sound(in, {test_signals::sine(2400, 220.0, 48000, 0.3)}, 48000, kFloatWav);
    // Renders with these options and saves the state in a file of its own.
    int runs = 0;
    const auto saved = [&](std::vector<std::string> args) {
        const std::string state = folder + "/" + std::to_string(++runs) + ".state";
        args.insert(args.end(), {"--save-state", state, in, folder + "/out.wav"});
        const Result r = run(folder, args);
        EXPECT_EQ(r.status, 0) << args[0] << ": " << r.err;
        EXPECT_EQ(Sound(folder + "/out.wav").file.frames(), 2400);
        return state;
    };
    const std::string defaults = slurp(saved({}));
    ASSERT_FALSE(defaults.empty());
    // Each pair sets the same values: a value as "--set T=v" or "--set=T=v",
    // a list item by its text or its number; of two settings the last holds.
    const std::vector<std::string> same[][2] = {
        {{"--set", "Detune=12.5"}, {"--set=Detune=12.5"}},
        {{"--set", "Vibrato Shape=Square"}, {"--set", "Vibrato Shape=2"}},
        {{"--set", "Input type=Low Male"}, {"--set", "Input type=2"}},
        {{"--set", "Retune Speed=400", "--set", "Retune Speed=0"}, {"--set", "Retune Speed=0"}},
    };
    for (const auto& pair : same) {
        const std::string first = slurp(saved(pair[0]));
        EXPECT_EQ(first, slurp(saved(pair[1]))) << pair[0][1];
        EXPECT_NE(first, defaults) << pair[0][1];
    }
    // What was restored is written again unchanged.
    const std::string major = saved({"--set", "Scale=Major", "--set", "Detune=-25"});
    EXPECT_NE(slurp(major), defaults);
    EXPECT_EQ(slurp(saved({"--load-state", major})), slurp(major));
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
    for (const char* option : {"--pitch-plot FILE.png", "--plot-size WxH", "--load-state FILE", "--save-state FILE"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
    EXPECT_EQ(help.err, "");
    EXPECT_TRUE(files_in(folder).empty());
}

TEST(Render, FailedRunsGiveOneLineAndLeaveEveryFileAsItWas)
{
    const std::string folder = test_folder();
    const std::string good = folder + "/good.wav", out = folder + "/never.wav", plot = folder + "/plot.png";
    write_sound(good, {test_signals::sine(4800, 440.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string three = folder + "/three.wav";
    write_sound(three, std::vector<std::vector<float>>(3, std::vector<float>(100)), 48000, kFloatWav);
    // A rate far below any the plug-in can serve.
    const std::string slow = folder + "/100Hz.wav";
    write_sound(slow, {test_signals::sine(200, 10.0, 100, 0.3)}, 100, kFloatWav);
    const std::string text = folder + "/not-audio.wav", junk = folder + "/junk.state";
    std::ofstream(text) << "this is not a sound file\n";
    std::ofstream(junk) << "not a state at all";
    // Outputs of an earlier run, one of them read-only; a second folder for
    // outputs, and a read-only one.
    const std::string kept = folder + "/kept.wav", kept_plot = folder + "/kept.png";
    const std::string kept_state = folder + "/kept.state";
    const std::string locked = folder + "/locked.wav", other = folder + "/other", closed = folder + "/closed";
    for (const std::string& file : {kept, kept_plot, kept_state, locked}) std::ofstream(file) << "earlier " << file;
    ::chmod(locked.c_str(), 0444);
    std::filesystem::create_directory(other);
    std::filesystem::create_directory(closed);
    ::chmod(closed.c_str(), 0555);

    struct Mistake {
        std::vector<std::string> args;
        std::string message;  // how the one line on stderr starts
        rlim_t file_limit = 0;  // bytes, or 0 for none
    };
    std::vector<Mistake> cases = {
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
        {{"--rate", "44100", good, out}, "--rate 44100 differs from the rate of " + good + " (48000 Hz)"},
        {{"--rate", "fast", out}, "--rate takes a whole number of hertz"},
        {{"--plugin", folder + "/None.vst3", good, out}, "no plug-in module at " + folder + "/None.vst3"},
        {{"--frobnicate", good, out}, "unknown option --frobnicate"},
        {{}, "no output file given"},
        {{good, out, out}, "too many files given"},
        {{good, folder + "/no/such/folder/out.wav"}, "cannot write " + folder + "/no/such/folder/out.wav: "},
        {{"--write-input", folder + "/x.wav", good, out}, "--write-input saves the demo phrase"},
        {{"--write-input", folder + "/no/x.wav", out}, "cannot write " + folder + "/no/x.wav: "},
        {{"--load-state", junk, good, out}, "the plug-in refuses the state in \"" + junk + "\""},
        {{"--load-state", folder + "/missing.state", good, out}, "cannot open \"" + folder + "/missing.state\": "},
        {{"--pitch-plot", folder + "/no/such/plot.png", good, out}, "cannot write " + folder + "/no/such/plot.png: "},
        {{"--pitch-plot", out, good, out}, "--pitch-plot and the output name the same file"},
        {{"--save-state", folder + "/./kept.wav", good, kept}, "--save-state and the output name the same file"},
        {{"--pitch-plot"}, "--pitch-plot needs a value"},
        {{"--plot-size", "800x600", good, out}, "--plot-size sizes the picture of --pitch-plot"},
        // One output that cannot be written keeps every other one from being
        // written, and leaves those already there as they were.
        {{"--write-input", other + "/in.wav", "--pitch-plot", other + "/plot.png", "--save-state",
          folder + "/no/such/s.state", kept},
         "cannot write " + folder + "/no/such/s.state: No such file or directory"},
        {{"--pitch-plot", kept_plot, "--save-state", kept_state, good, locked},
         "cannot write " + locked + ": Permission denied"},
        {{"--pitch-plot", kept_plot, good, closed + "/out.wav"},
         "cannot write " + closed + "/out.wav: Permission denied"},
        {{"--pitch-plot", kept_plot, "--save-state", kept_state, slow, kept},
         "the plug-in refuses a sample rate of 100 Hz"},
        // 64 KiB hold the picture and the state but not the 8 s phrase:
        // writing fails after the picture has been written.
        {{"--pitch-plot", kept_plot, "--plot-size", "320x200", "--save-state", kept_state, "--write-input",
          other + "/in.wav", kept},
         "cannot write " + other + "/in.wav: ",
         64 * 1024},
    };
    for (const char* block : {"0", "65537", "12x", "-5"})
        cases.push_back({{"--block", block, good, out}, "--block takes a whole number from 1 to 65536"});
    for (const char* size : {"800", "800x", "x600", "800X600", "-800x600", "319x600", "800x199", "10001x600"})
        cases.push_back({{"--pitch-plot", plot, "--plot-size", size, good, out},
                         "--plot-size takes WIDTHxHEIGHT in pixels, from 320x200 to 10000x10000"});

    // Each fails with one line on stderr and nothing on stdout, and leaves
    // the folders as they were: no output, no temporary file, and the files
    // already there unchanged.
    const std::map<std::string, std::string> before = tree_of(folder);
    for (const auto& c : cases) {
        const Result r = run(folder, c.args, c.file_limit);
        EXPECT_EQ(r.status, 1) << c.message;
        EXPECT_EQ(r.err.rfind("corvane-render: " + c.message, 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_EQ(r.out, "") << c.message;
        EXPECT_TRUE(tree_of(folder) == before) << c.message << ": " << testing::PrintToString(files_in(folder))
                                               << testing::PrintToString(files_in(other));
    }
}

TEST(Render, AKilledRunLeavesNoFile)
{
    const std::string folder = test_folder();
    // A picture this large takes a second or more to write.
    const pid_t pid =
        start(folder, {"--pitch-plot", folder + "/pitch.png", "--plot-size", "8000x8000", folder + "/out.wav"});
    // Killed once its first temporary file is there.
    std::vector<std::string> seen;
    int status = 0;
    while (seen.empty() && ::waitpid(pid, &status, WNOHANG) == 0) {
        seen = files_in(folder);
        if (seen.empty()) ::usleep(1000);
    }
    ASSERT_FALSE(seen.empty()) << "the run ended with status " << status;
    ::kill(pid, SIGTERM);
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_EQ(seen.size(), 1u);
    // Hidden, named after its output and the process.
    EXPECT_EQ(seen[0].rfind(".pitch.png." + std::to_string(pid) + ".", 0), 0u) << seen[0];
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_TRUE(files_in(folder).empty()) << testing::PrintToString(files_in(folder));
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
    std::copy(a4.begin() + ptrdiff_t(rate), a4.begin() + ptrdiff_t(2.0 * rate), first.begin() + ptrdiff_t(rate));
    const std::string in = folder + "/in.wav", plot = folder + "/pitch.png";
    write_sound(in, {first, test_signals::sine(length, 311.127, rate, 0.4)}, int(rate), kFloatWav);
    const Result r = run(folder, {"--pitch-plot", plot, in, folder + "/out.wav"});
    ASSERT_EQ(r.status, 0) << r.err;

    // The picture has the default size.
    const plot_image::Image image = plot_image::Image::from_png(plot);
    ASSERT_EQ(image.width(), 1200);
    ASSERT_EQ(image.height(), 600);
    const plot_image::Area a(image);
    const double seconds = double(a.right - a.left) / 3.0;
    const auto grid = plot_image::grid_at(image, a.left + int(0.5 * seconds), a.top, a.bottom);
    const int middle = a.left + int(1.5 * seconds);
    const double row = plot_image::mean(plot_image::rows_of(image, middle, render::kInputColour, a.top, a.bottom));
    ASSERT_GE(row, 0.0);
    bool under_a_c = false;
    for (size_t i = 0; i + 3 < grid.rows.size(); ++i)
        under_a_c = under_a_c || (grid.strong[i] && std::fabs(grid.rows[i + 3] - row) <= 1.5);
    EXPECT_TRUE(under_a_c) << "input curve at row " << row;

    // The output's curve spans the same second as the input's: the 2660
    // samples of latency (55 ms, some 20 pixels here) are taken off.
    const auto in_cols = a.columns(image, render::kInputColour);
    const auto out_cols = a.columns(image, render::kOutputColour);
    ASSERT_GE(out_cols.first, 0);
    EXPECT_NEAR(in_cols.first - a.left, seconds, 5.0);
    EXPECT_NEAR(out_cols.first, in_cols.first, 5.0);
    EXPECT_NEAR(out_cols.second, in_cols.second, 5.0);
}
