#include "dsp/DT_DSPObject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "dsp/note_tables.h"
#include "support/signals.h"

namespace {

constexpr int64_t kLatency = 2660;

struct Rendered {
    std::vector<float> left;
    std::vector<float> right;
};

// Runs a whole signal through an engine in blocks of the given size.
Rendered run(DT_DSPObject& engine, const std::vector<float>& a, const std::vector<float>* b,
             int64_t block)
{
    Rendered out;
    out.left.assign(a.size(), 0.0f);
    out.right.assign(a.size(), 0.0f);
    for (size_t pos = 0; pos < a.size(); pos += size_t(block)) {
        const int64_t n = std::min<int64_t>(block, int64_t(a.size() - pos));
        const float* in[2] = {a.data() + pos, b ? b->data() + pos : nullptr};
        float* o[2] = {out.left.data() + pos, out.right.data() + pos};
        engine.process(in, o, n);
    }
    return out;
}

std::unique_ptr<DT_DSPObject> make_engine(double rate, bool stereo_in, bool stereo_out)
{
    auto engine = std::make_unique<DT_DSPObject>();
    engine->set_sample_rate(rate);
    engine->set_channels(stereo_in, stereo_out);
    engine->reset();
    engine->set_idle(false);
    return engine;
}

} // namespace

TEST(DT_DSPObject, AnySignalComesOutDelayedAndUnchanged)
{
    struct Case {
        double rate;
        bool stereo_in, stereo_out;
        int64_t block;
        uint16_t reference;
        bool bypass;
    };
    const Case cases[] = {
        {48000, false, false, 1, 0, false},   {44100, false, false, 64, 0, false},
        {48000, true, true, 333, 0, false},   {48000, true, true, 2048, 1, false},
        {48000, false, true, 100, 0, false},  {48000, true, false, 512, 0, false},
        {44100, false, false, 128, 0, true},
    };
    const auto a = test_signals::noise(20000, 0.8, 11);
    const auto b = test_signals::noise(20000, 0.3, 12);
    for (const Case& c : cases) {
        auto engine = make_engine(c.rate, c.stereo_in, c.stereo_out);
        engine->set_reference_channel(c.reference);
        engine->set_bypass(c.bypass);
        const auto y = run(*engine, a, c.stereo_in ? &b : nullptr, c.block);
        // A mono input feeds both output channels.
        const auto& second = c.stereo_in ? b : a;
        for (size_t i = kLatency; i < a.size(); ++i) {
            ASSERT_NEAR(y.left[i], a[i - kLatency], 1e-6) << "block " << c.block << " at " << i;
            if (c.stereo_out) {
                ASSERT_NEAR(y.right[i], second[i - kLatency], 1e-6)
                    << "block " << c.block << " at " << i;
            }
        }
        for (size_t i = 0; i < size_t(kLatency); ++i) ASSERT_NEAR(y.left[i], 0.0, 1e-6);
    }
}

TEST(DT_DSPObject, AResetEngineRendersAsANewOne)
{
    // A tone and the silence after it, where only the denormal noise is left.
    auto x = test_signals::sine(20000, 300.0, 48000.0, 0.5);
    x.resize(30000, 0.0f);
    auto fresh = make_engine(48000.0, true, true);
    auto used = make_engine(48000.0, true, true);
    run(*used, x, &x, 333);
    used->reset();
    const auto expected = run(*fresh, x, &x, 512);
    const auto y = run(*used, x, &x, 512);
    EXPECT_EQ(y.left, expected.left);
    EXPECT_EQ(y.right, expected.right);
}

TEST(DT_DSPObject, FullScaleIsClampedJustBelowOne)
{
    auto engine = make_engine(48000.0, false, false);
    std::vector<float> x(8000, 1.0f);
    std::fill(x.begin() + 4000, x.end(), -1.0f);
    const auto y = run(*engine, x, nullptr, 512).left;
    EXPECT_FLOAT_EQ(y[kLatency + 100], 0.9999f);
    EXPECT_FLOAT_EQ(y[7999], -0.9999f);
}

namespace {

// The frame of the output clock, as the engine last published it.
int64_t frame_of(const DT_DSPObject& engine)
{
    int64_t frame = -1;
    engine.get_status(nullptr, &frame, nullptr, nullptr);
    return frame;
}

} // namespace

TEST(DT_DSPObject, ClocksWaitForTheFirstAudibleSample)
{
    auto engine = make_engine(48000.0, false, false);
    std::vector<float> x(10000, 0.0f);
    // Below the start level: nothing counts, however long.
    for (size_t i = 0; i < x.size(); ++i) x[i] = (i % 2 ? 1.0f : -1.0f) * 0.00029f;
    run(*engine, x, nullptr, 500);
    EXPECT_EQ(frame_of(*engine), 0);

    // The first louder sample starts the clocks; every sample then counts, and
    // a frame closes every 200 samples at the default frame length.
    std::vector<float> rest(10000, 0.0f);
    rest[0] = 0.001f;
    run(*engine, rest, nullptr, 500);
    EXPECT_EQ(frame_of(*engine), 10000 / 200);
}

TEST(DT_DSPObject, IdleEngineCountsNothingButStillDelays)
{
    auto engine = make_engine(48000.0, false, false);
    engine->set_idle(true);
    const auto x = test_signals::impulse(4000, 5, 0.9f);
    const auto y = run(*engine, x, nullptr, 64).left;
    EXPECT_NEAR(y[5 + kLatency], 0.9, 1e-6);
    double ratio = 0.0, period = -1.0, target = 0.0;
    int64_t frame = -1;
    engine->get_status(&ratio, &frame, &period, &target);
    EXPECT_EQ(ratio, 1.0);
    EXPECT_EQ(frame, 0);
    EXPECT_EQ(period, 0.0);
    EXPECT_EQ(target, 1.0);
    engine->set_idle(false);
    EXPECT_EQ(frame_of(*engine), 0);
}

TEST(DT_DSPObject, StatusGivesTheCorrectionBetweenBlocks)
{
    // At 96 kHz the engine runs at 48 kHz; the status still counts in host
    // samples. A tone of 452 Hz is taken to A4 at once with a retune speed
    // of 0: present period over wanted period is 440 / 452.
    const double rate = 96000.0;
    auto engine = make_engine(rate, false, false);
    Scale_State scale;
    Note_Table table;
    table.build(scale, rate);
    table.apply(*engine);
    engine->set_retune(0.0, 0.0);
    double ratio = 0.0, period = 0.0, target = 0.0;
    run(*engine, test_signals::sine(size_t(0.5 * rate), 452.0, rate, 0.5), nullptr, 512);
    engine->get_status(&ratio, nullptr, &period, &target);
    EXPECT_NEAR(period, rate / 452.0, 0.001 * rate / 452.0);
    EXPECT_NEAR(target, 440.0 / 452.0, 0.001);
    EXPECT_EQ(ratio, target);
    // When the voice stops the correction ends at once.
    run(*engine, std::vector<float>(size_t(0.1 * rate), 0.0f), nullptr, 512);
    engine->get_status(&ratio, nullptr, &period, &target);
    EXPECT_EQ(period, 0.0);
    EXPECT_EQ(ratio, 1.0);
    EXPECT_EQ(target, 1.0);
}
