// corvane-render run as a user runs it, on real WAV files.

#include <dirent.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "support/signals.h"

namespace {

const std::string kTool = CORVANE_RENDER_PATH;
const std::string kTmp = CORVANE_TEST_TMP;

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const std::string& path)
{
    std::string text;
    if (FILE* f = std::fopen(path.c_str(), "r")) {
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) text.append(buffer, n);
        std::fclose(f);
    }
    return text;
}

std::string quote(const std::string& s)
{
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

Result run(const std::vector<std::string>& args)
{
    std::string command = quote(kTool);
    for (const auto& a : args) command += " " + quote(a);
    const std::string out = kTmp + "/render-stdout.txt", err = kTmp + "/render-stderr.txt";
    command += " >" + out + " 2>" + err;
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), slurp(err)};
}

bool exists(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

std::string temp(const std::string& name)
{
    const std::string path = kTmp + "/" + name;
    std::remove(path.c_str());
    return path;
}

void write_wav(const std::string& path, const std::vector<std::vector<float>>& channels, int rate,
               int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16)
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

struct Wav {
    SF_INFO info{};
    std::vector<float> data;
};

Wav read_wav(const std::string& path)
{
    Wav w;
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &w.info);
    if (!f) return w;
    w.data.resize(size_t(w.info.frames * w.info.channels));
    sf_readf_float(f, w.data.data(), w.info.frames);
    sf_close(f);
    return w;
}

} // namespace

TEST(Render, RendersAWavFileDelayedByTheLatency)
{
    const std::string in = temp("in-stereo.wav"), out = temp("out-stereo.wav");
    const auto a = test_signals::impulse(9000, 100, 0.5f);
    const auto b = test_signals::impulse(9000, 200, -0.25f);
    write_wav(in, {a, b}, 44100);
    const Result r = run({"--block", "300", in, out});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("latency: 2660 samples"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("real-time factor"), std::string::npos) << r.out;
    const Wav w = read_wav(out);
    EXPECT_EQ(w.info.samplerate, 44100);
    EXPECT_EQ(w.info.channels, 2);
    EXPECT_EQ(w.info.frames, 9000);
    EXPECT_EQ(w.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    // The 16-bit input holds 0.5 and -0.25 exactly.
    EXPECT_NEAR(w.data[2 * (100 + 2660)], 0.5, 1e-6);
    EXPECT_NEAR(w.data[2 * (200 + 2660) + 1], -0.25, 1e-6);
    EXPECT_NEAR(w.data[2 * (100 + 2660) + 1], 0.0, 1e-6);
}

TEST(Render, MonoAtAHighRate)
{
    const std::string in = temp("in-mono-96k.wav"), out = temp("out-mono-96k.wav");
    write_wav(in, {test_signals::sine(20000, 1000.0, 96000, 0.3)}, 96000);
    const Result r = run({in, out});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("latency: 5320 samples"), std::string::npos) << r.out;
    const Wav w = read_wav(out);
    EXPECT_EQ(w.info.channels, 1);
    EXPECT_EQ(w.info.samplerate, 96000);
    EXPECT_EQ(w.info.frames, 20000);
}

TEST(Render, DemoPhraseWithoutInput)
{
    const std::string out = temp("demo-out.wav"), in = temp("demo-in.wav");
    const Result r = run({"--rate", "44100", "--write-input", in, out});
    ASSERT_EQ(r.status, 0) << r.err;
    const Wav input = read_wav(in), output = read_wav(out);
    EXPECT_EQ(input.info.samplerate, 44100);
    EXPECT_EQ(output.info.frames, input.info.frames);
    EXPECT_GT(input.info.frames, 44100 * 5);
    // What went in comes out 2660 samples later.
    for (size_t i = 2660; i < input.data.size(); i += 97)
        ASSERT_NEAR(output.data[i], input.data[i - 2660], 1e-6) << i;
}

TEST(Render, ListsTheModulesClasses)
{
    const Result r = run({"--list-classes"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"Corvane+Time_VST\""), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"Fx|Pitch Shift\""), std::string::npos) << r.out;
    const Result help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("usage: corvane-render"), std::string::npos);
}

TEST(Render, MistakesGiveOneLineAndNoOutput)
{
    const std::string good = temp("good.wav");
    write_wav(good, {test_signals::sine(4000, 440.0, 48000, 0.3)}, 48000);
    const std::string three = temp("three.wav");
    write_wav(three, {std::vector<float>(100), std::vector<float>(100), std::vector<float>(100)}, 48000);
    const std::string text = temp("not-audio.wav");
    if (FILE* f = std::fopen(text.c_str(), "w")) {
        std::fputs("this is not a wav file\n", f);
        std::fclose(f);
    }
    const std::string out = temp("never.wav");

    const struct {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{kTmp + "/missing.wav", out}, "cannot read"},
        {{text, out}, "cannot read"},
        {{three, out}, "3 channels"},
        {{"--set", "No Such Knob=3", good, out}, "no parameter titled \"No Such Knob\""},
        {{"--set", "missing-equals", good, out}, "Title=value"},
        {{"--block", "0", good, out}, "--block"},
        {{"--block", "70000", good, out}, "--block"},
        {{"--block", "12x", good, out}, "--block"},
        {{"--rate", "44100", good, out}, "differs from the rate"},
        {{"--rate", "fast", out}, "--rate"},
        {{"--plugin", kTmp + "/None.vst3", good, out}, "no plug-in module"},
        {{"--frobnicate", good, out}, "unknown option"},
        {{}, "no output file"},
        {{good, kTmp + "/no/such/folder/out.wav"}, "cannot write"},
        {{"--write-input", kTmp + "/x.wav", good, out}, "--write-input"},
    };
    for (const auto& c : cases) {
        const Result r = run(c.args);
        EXPECT_NE(r.status, 0) << c.message;
        EXPECT_EQ(r.err.rfind("corvane-render: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_FALSE(exists(out)) << c.message;
    }
    // No temporary file is left behind either.
    DIR* folder = ::opendir(kTmp.c_str());
    ASSERT_NE(folder, nullptr);
    while (const dirent* entry = ::readdir(folder))
        EXPECT_EQ(std::string(entry->d_name).find(".corvane-render-"), std::string::npos) << entry->d_name;
    ::closedir(folder);
}
