#include "dsp/Downsample_DSP.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/signals.h"

namespace {

// An engine that copies its input and keeps what it was given.
class Recording_DSP : public Downsample_DSP {
public:
    explicit Recording_DSP(int64_t block = 1024) : Downsample_DSP(block) {}
    void set_sample_rate(double rate) noexcept override { configure_rate(rate); }
    void prepare_hook() noexcept override {}
    void process_block(const float* const* in, float* const* out, int64_t frames) noexcept override
    {
        ++calls;
        last_in0 = in[0];
        const int channels = stereo_out ? 2 : 1;
        for (int c = 0; c < channels; ++c) {
            const float* source = (c == 1 && stereo_in) ? in[1] : in[0];
            for (int64_t i = 0; i < frames; ++i) out[c][i] = source[i];
        }
        seen.insert(seen.end(), in[0], in[0] + frames);
        if (bad_channel < channels && bad_at < frames) out[bad_channel][bad_at] = bad_value;
    }
    // The cascade of one instruction-set level in place of the chosen one.
    void use_level(vector_kernels::level l) { cascade_run = cascade_kernels::kernel_for(l); }
    // Every filter state value of both paths and both channels.
    std::vector<double> filter_state() const
    {
        std::vector<double> all;
        for (const auto* state : {&down_x1, &down_x2, &down_y1, &down_y2, &up_x1, &up_x2, &up_y1, &up_y2})
            all.insert(all.end(), &(*state)[0][0], &(*state)[0][0] + max_channels * max_sections);
        return all;
    }
    std::vector<float> seen;
    // An output sample the engine writes over its copy, when in range.
    int bad_channel = 2;
    int64_t bad_at = 0;
    float bad_value = 0.0f;
    const float* last_in0 = nullptr;
    int calls = 0;
};

// The first index at which two arrays differ in any bit, -1 if none.
template <class T>
long first_bit_difference(const std::vector<T>& a, const std::vector<T>& b)
{
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        if (std::memcmp(&a[i], &b[i], sizeof(T)) != 0) return long(i);
    return a.size() == b.size() ? -1 : long(std::min(a.size(), b.size()));
}

std::vector<float> run_mono(Recording_DSP& dsp, const std::vector<float>& x, int64_t block)
{
    std::vector<float> y(x.size());
    for (size_t pos = 0; pos < x.size(); pos += size_t(block)) {
        const int64_t n = std::min<int64_t>(block, int64_t(x.size() - pos));
        const float* in[2] = {x.data() + pos, nullptr};
        float* out[2] = {y.data() + pos, nullptr};
        dsp.process(in, out, n);
    }
    return y;
}

Recording_DSP& mono(Recording_DSP& dsp, double rate)
{
    dsp.set_sample_rate(rate);
    dsp.set_channels(false, false);
    return dsp;
}

} // namespace

TEST(Downsample_DSP, DecimationFactorByHostRate)
{
    const struct {
        double rate;
        int64_t factor;
    } cases[] = {{22050, 1}, {44100, 1}, {48000, 1}, {50000, 1}, {50001, 2}, {88200, 2},
                 {96000, 2}, {100000, 2}, {100001, 4}, {176400, 4}, {200000, 4}, {200001, 8}, {384000, 8}};
    for (const auto& c : cases) {
        EXPECT_EQ(Downsample_DSP::decimation_for_rate(c.rate), c.factor) << c.rate;
        Recording_DSP dsp;
        dsp.set_sample_rate(c.rate);
        EXPECT_EQ(dsp.get_decimation_factor(), c.factor);
    }
    // Rates out of the served range leave the engine copying.
    for (double rate : {-1.0, 7999.0, 384001.0, std::nan("")}) {
        Recording_DSP dsp;
        dsp.set_sample_rate(rate);
        EXPECT_EQ(dsp.get_sample_rate(), 0.0) << rate;
    }
}

TEST(Downsample_DSP, FactorOneHandsTheCallersBuffersOn)
{
    Recording_DSP dsp;
    mono(dsp, 48000);
    const auto x = test_signals::noise(100, 0.5, 1);
    std::vector<float> y(100);
    const float* in[2] = {x.data(), nullptr};
    float* out[2] = {y.data(), nullptr};
    dsp.process(in, out, 100);
    EXPECT_EQ(dsp.last_in0, x.data());
    EXPECT_EQ(y, x);
}

TEST(Downsample_DSP, CopiesWhenNotReadyOrTheBlockDoesNotFit)
{
    const auto a = test_signals::noise(2000, 0.5, 2);
    const auto b = test_signals::noise(2000, 0.5, 3);
    struct Case {
        double rate;  // 0: no rate set
        int64_t frames;
        bool stereo_in;
    };
    const Case cases[] = {{0, 100, true}, {96000, 1025, true}, {96000, 1025, false}, {0, 10, false}};
    for (const Case& c : cases) {
        Recording_DSP dsp(1024);
        if (c.rate > 0) dsp.set_sample_rate(c.rate);
        dsp.set_channels(c.stereo_in, true);
        std::vector<float> l(2000, 7.0f), r(2000, 7.0f);
        const float* in[2] = {a.data(), c.stereo_in ? b.data() : nullptr};
        float* out[2] = {l.data(), r.data()};
        dsp.process(in, out, c.frames);
        EXPECT_EQ(dsp.calls, 0);
        for (int64_t i = 0; i < c.frames; ++i) {
            ASSERT_EQ(l[size_t(i)], a[size_t(i)]);
            // A mono input copies to both outputs.
            ASSERT_EQ(r[size_t(i)], c.stereo_in ? b[size_t(i)] : a[size_t(i)]);
        }
        EXPECT_EQ(l[size_t(c.frames)], 7.0f);
    }
    // Nothing at all for empty or negative blocks.
    Recording_DSP dsp;
    mono(dsp, 96000);
    std::vector<float> y(4, 7.0f);
    const float* in[2] = {a.data(), nullptr};
    float* out[2] = {y.data(), nullptr};
    dsp.process(in, out, 0);
    dsp.process(in, out, -3);
    EXPECT_EQ(y, std::vector<float>(4, 7.0f));
}

TEST(Downsample_DSP, StopBandAtHalfTheEngineRateAndAbove)
{
    // Stated depth of one pass: 72.6 dB with a factor of 2, 60.4 dB with 4.
    const struct {
        double rate;
        double depth_db;
    } cases[] = {{96000, 72.0}, {88200, 72.0}, {192000, 60.0}, {176400, 60.0}};
    for (const auto& c : cases) {
        Recording_DSP dsp;
        mono(dsp, c.rate);
        const double engine = dsp.engine_rate();
        for (double f = 0.5 * engine; f < 0.5 * c.rate; f += 0.0371 * engine) {
            // The analytic response of the designed cascade...
            EXPECT_LE(Downsample_DSP::decimation_magnitude_db(c.rate, f), -c.depth_db) << f;
            // ... and the measured peak of what reaches the engine once the
            // filter has settled. Whatever frequency the tone aliases to, its
            // samples cannot exceed the filtered amplitude.
            Recording_DSP run;
            mono(run, c.rate);
            const auto x = test_signals::sine(size_t(c.rate * 0.5), f, c.rate, 0.5);
            run_mono(run, x, 512);
            float peak = 0.0f;
            for (size_t i = run.seen.size() / 2; i < run.seen.size(); ++i)
                peak = std::max(peak, std::fabs(run.seen[i]));
            EXPECT_LE(20.0 * std::log10(peak / 0.5), -c.depth_db)
                << c.rate << " Hz host, tone " << f;
        }
    }
}

TEST(Downsample_DSP, PassBandWithinOneDecibel)
{
    for (double rate : {88200.0, 96000.0, 176400.0, 192000.0}) {
        Recording_DSP dsp;
        mono(dsp, rate);
        const double engine = dsp.engine_rate();
        for (double f = 100.0; f <= 0.4 * engine; f += 0.05 * engine) {
            EXPECT_NEAR(Downsample_DSP::decimation_magnitude_db(rate, f), 0.0, 0.5) << f;
            // Down, through the engine, and up again: two passes.
            Recording_DSP run;
            mono(run, rate);
            const auto x = test_signals::sine(size_t(rate * 0.3), f, rate, 0.5);
            const auto y = run_mono(run, x, 700);
            const size_t half = x.size() / 2;
            const double gain_db = 20.0 * std::log10(test_signals::rms(y, half, half) /
                                                     test_signals::rms(x, half, half));
            EXPECT_NEAR(gain_db, 0.0, 1.0) << rate << " Hz host, tone " << f;
            EXPECT_NEAR(gain_db, 2.0 * Downsample_DSP::decimation_magnitude_db(rate, f), 0.05);
        }
    }
}

TEST(Downsample_DSP, GroupDelayMatchesAMeasuredTone)
{
    for (double rate : {96000.0, 192000.0}) {
        Recording_DSP dsp;
        mono(dsp, rate);
        const auto x = test_signals::sine(size_t(rate), 200.0, rate, 0.5);
        const auto y = run_mono(dsp, x, 512);
        const double expected = 2.0 * Downsample_DSP::decimation_group_delay(rate, 200.0);
        EXPECT_GT(expected, 1.0);
        const size_t begin = size_t(rate / 2);
        const size_t length = size_t(rate / 200.0 * 40);
        EXPECT_NEAR(test_signals::tone_delay(x, y, begin, length, 200.0, rate, expected), expected, 0.05);
    }
}

TEST(Downsample_DSP, BlockSizesDoNotChangeTheOutput)
{
    const auto x = test_signals::noise(9000, 0.5, 9);
    std::vector<float> reference;
    for (int64_t block : {1, 7, 64, 333, 1024}) {
        Recording_DSP dsp(1024);
        mono(dsp, 96000);
        const auto y = run_mono(dsp, x, block);
        if (reference.empty()) {
            reference = y;
            continue;
        }
        for (size_t i = 0; i < y.size(); ++i) ASSERT_NEAR(y[i], reference[i], 1e-6) << block;
    }
}

TEST(Downsample_DSP, StereoChannelsStayApart)
{
    const double rate = 96000;
    const auto a = test_signals::sine(20000, 440.0, rate, 0.5);
    std::vector<float> silent(20000, 0.0f);
    Recording_DSP dsp;
    dsp.set_sample_rate(rate);
    dsp.set_channels(true, true);
    std::vector<float> l(20000), r(20000);
    for (size_t pos = 0; pos < 20000; pos += 500) {
        const float* in[2] = {a.data() + pos, silent.data() + pos};
        float* out[2] = {l.data() + pos, r.data() + pos};
        dsp.process(in, out, 500);
    }
    EXPECT_GT(test_signals::rms(l, 10000, 10000), 0.3);
    EXPECT_LT(test_signals::rms(r, 10000, 10000), 1e-15);

    // A mono input feeds both outputs, each through its own path.
    Recording_DSP both;
    both.set_sample_rate(rate);
    both.set_channels(false, true);
    std::vector<float> l2(20000), r2(20000);
    for (size_t pos = 0; pos < 20000; pos += 500) {
        const float* in[2] = {a.data() + pos, nullptr};
        float* out[2] = {l2.data() + pos, r2.data() + pos};
        both.process(in, out, 500);
    }
    for (size_t i = 0; i < 20000; ++i) ASSERT_NEAR(l2[i], r2[i], 1e-6);
    EXPECT_GT(test_signals::rms(r2, 10000, 10000), 0.3);
}

// An engine block with an output that is an infinity or not a number leaves
// silence and a reset engine; the largest finite values pass, and so does
// the next block.
TEST(Downsample_DSP, AnOutputThatIsNotFiniteSilencesItsBlock)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const float most = std::numeric_limits<float>::max();
    const struct {
        double rate;
        bool stereo;
        int channel;
        int64_t at;
        float value;
        bool silenced;
    } cases[] = {
        {48000.0, false, 0, 0, nan, true},     {48000.0, false, 0, 255, inf, true},
        {48000.0, true, 1, 100, -inf, true},   {48000.0, false, 0, 7, most, false},
        {48000.0, true, 1, 7, -most, false},   {96000.0, false, 0, 3, nan, true},
        {96000.0, true, 1, 127, inf, true},
    };
    for (const auto& c : cases) {
        Recording_DSP dsp(256);
        dsp.set_sample_rate(c.rate);
        dsp.set_channels(c.stereo, c.stereo);
        const auto tone = test_signals::sine(256, 440.0, c.rate, 0.5);
        std::vector<float> left(256), right(256);
        const float* in[2] = {tone.data(), tone.data()};
        float* out[2] = {left.data(), right.data()};
        dsp.process(in, out, 256); // the filters fill
        dsp.bad_channel = c.channel;
        dsp.bad_at = c.at;
        dsp.bad_value = c.value;
        dsp.process(in, out, 256);
        const auto zero = [](float x) { return x == 0.0f; };
        const bool silent = std::all_of(left.begin(), left.end(), zero) &&
                            (!c.stereo || std::all_of(right.begin(), right.end(), zero));
        EXPECT_EQ(silent, c.silenced) << c.rate << " " << c.at << " " << c.value;
        if (c.silenced) {
            const auto state = dsp.filter_state();
            EXPECT_TRUE(std::all_of(state.begin(), state.end(), [](double x) { return x == 0.0; })) << c.rate;
        }
        dsp.bad_channel = 2;
        dsp.process(in, out, 256);
        EXPECT_FALSE(std::all_of(left.begin(), left.end(), zero)) << c.rate << " " << c.at;
    }
}

// Every instruction-set level of the cascade against the scalar level, its
// reference, in one long run of the limit's blocks: the same output to the
// last bit and the same state left behind, through both paths, for mono,
// stereo and mono into stereo, in blocks of random lengths from one sample
// up, with runs of short ones at the start.
TEST(Downsample_DSP, EveryCascadeLevelGivesTheScalarResult)
{
    const size_t length = 12000;
    const auto tone = test_signals::sine(length, 1234.5, 96000, 0.4);
    const auto hiss_l = test_signals::noise(length, 0.3, 21), hiss_r = test_signals::noise(length, 0.3, 22);
    std::vector<float> left(length), right(length);
    for (size_t i = 0; i < length; ++i) {
        left[i] = tone[i] + hiss_l[i];
        right[i] = 0.5f * tone[i] - hiss_r[i];
    }
    struct Result {
        std::vector<float> l, r;
        std::vector<double> state;
    };
    auto render = [&](vector_kernels::level l, bool stereo_in, bool stereo_out, bool random_blocks) {
        Recording_DSP dsp(1024);
        dsp.set_sample_rate(96000);
        dsp.set_channels(stereo_in, stereo_out);
        dsp.use_level(l);
        Result out{std::vector<float>(length), std::vector<float>(length), {}};
        const int64_t short_blocks[] = {1, 1, 2, 3, 5, 8, 9, 10, 11, 12, 13, 21};
        uint32_t seed = 5;
        size_t pos = 0;
        for (size_t k = 0; pos < length; ++k) {
            seed = seed * 1664525u + 1013904223u;
            int64_t n = random_blocks ? (k < std::size(short_blocks) ? short_blocks[k] : 1 + (seed >> 8) % 1024) : 1024;
            n = std::min<int64_t>(n, int64_t(length - pos));
            const float* in[2] = {left.data() + pos, right.data() + pos};
            float* o[2] = {out.l.data() + pos, out.r.data() + pos};
            dsp.process(in, o, n);
            pos += size_t(n);
        }
        out.state = dsp.filter_state();
        return out;
    };
    const struct {
        bool stereo_in, stereo_out;
    } layouts[] = {{false, false}, {true, true}, {false, true}};
    for (const auto& layout : layouts) {
        const Result want = render(vector_kernels::level::scalar, layout.stereo_in, layout.stereo_out, false);
        for (int l = 0; l < vector_kernels::level_count; ++l) {
            if (!vector_kernels::supported(vector_kernels::level(l))) continue;
            const Result got = render(vector_kernels::level(l), layout.stereo_in, layout.stereo_out, true);
            const auto where = testing::Message() << "level " << l << ", stereo in " << layout.stereo_in
                                                  << ", stereo out " << layout.stereo_out;
            EXPECT_EQ(first_bit_difference(got.l, want.l), -1) << where;
            if (layout.stereo_out) {
                EXPECT_EQ(first_bit_difference(got.r, want.r), -1) << where;
            }
            EXPECT_EQ(first_bit_difference(got.state, want.state), -1) << where;
        }
    }
}
