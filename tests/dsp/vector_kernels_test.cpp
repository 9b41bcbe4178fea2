#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dsp/vector_kernels.h"

using vector_kernels::level;

namespace {

// Uniform values in [-1, 1) from a fixed seed.
std::vector<double> noise(size_t n, uint32_t seed)
{
    std::vector<double> x(n);
    for (auto& v : x) {
        seed = seed * 1664525u + 1013904223u;
        v = double(seed >> 8) / double(1u << 23) - 1.0;
    }
    return x;
}

// The samples lag + k and 2 (lag + k) back from x[n], for k below width, as
// the lag window kernel takes them.
struct Lag_Window_Input {
    std::vector<double> a, b;
    Lag_Window_Input(const std::vector<double>& x, int64_t n, int64_t lag, int64_t width)
    {
        for (int64_t k = 0; k < width; ++k) {
            a.push_back(x[size_t(n - lag - k)]);
            b.push_back(x[size_t(n - 2 * (lag + k))]);
        }
    }
};

// One sample x[n] of a level's running lag sums.
void take_sample(const vector_kernels::table& k, std::vector<double>& energy, std::vector<double>& corr,
                 const std::vector<double>& x, int64_t lag, int64_t n)
{
    const Lag_Window_Input in(x, n, lag, int64_t(energy.size()));
    k.lag_window_update(energy.data(), corr.data(), int64_t(energy.size()), x[size_t(n)], in.a.data(), in.b.data());
}

// The input of a decision of the fine stage at x[n], the newest sample, for
// a window from `lag`, as reversed copies of the samples it reads.
struct Decision_Input {
    std::vector<double> recent, far[2], pair[2];
    vector_kernels::lag_window_input in;
    Decision_Input(const std::vector<double>& x, int64_t n, int64_t lag, int64_t width)
    {
        for (int64_t i = 0; i < lag + width + vector_kernels::max_samples_on; ++i) recent.push_back(x[size_t(n - i)]);
        for (int64_t p = 0; p < 2; ++p)
            for (int64_t m = 0; m < width + vector_kernels::max_samples_on / 2; ++m) {
                far[p].push_back(x[size_t(n - (2 * lag + p + 2 * m))]);
                pair[p].push_back(x[size_t(n - (2 * lag - 2 + p + 2 * m))]);
            }
        in = {recent.data(), lag, {far[0].data(), far[1].data()}, {pair[0].data(), pair[1].data()}};
    }
};

// Every level this processor runs, the scalar one included.
std::vector<level> levels()
{
    std::vector<level> out;
    for (int l = 0; l < vector_kernels::level_count; ++l)
        if (vector_kernels::supported(level(l))) out.push_back(level(l));
    return out;
}

} // namespace

TEST(VectorKernels, TheChosenLevelRunsHere)
{
    EXPECT_TRUE(vector_kernels::supported(vector_kernels::chosen_level()));
    EXPECT_EQ(&vector_kernels::kernels(), &vector_kernels::kernels_for(vector_kernels::chosen_level()));
}

// The sum of products in any order is within (n + 1) 2^-52 of the sum of
// their magnitudes from the exact value; the exact value is approached by a
// long double sum. Lengths cover the empty sum, the remainders below one
// vector and below four, and the segment lengths of the engine; those that
// are multiples of 4 also the padded filters' form.
TEST(VectorKernels, DotProductsAgreeWithAnExactSumAtEveryLevel)
{
    const auto a = noise(4000, 1), b = noise(4000, 2);
    for (level l : levels()) {
        const auto& k = vector_kernels::kernels_for(l);
        for (int64_t n : {0, 1, 3, 4, 7, 12, 15, 33, 50, 52, 61, 108, 110, 999, 3488}) {
            long double exact = 0.0L;
            double magnitude = 0.0;
            for (int64_t i = 0; i < n; ++i) {
                exact += (long double)a[size_t(i)] * b[size_t(i)];
                magnitude += std::fabs(a[size_t(i)] * b[size_t(i)]);
            }
            const double bound = double(n + 1) * std::ldexp(1.0, -52) * magnitude;
            EXPECT_LE(std::fabs(double(k.dot(a.data(), b.data(), n) - exact)), bound)
                << "level " << int(l) << ", n " << n;
            if (n % 4 == 0) {
                EXPECT_LE(std::fabs(double(k.dot_padded(a.data(), b.data(), n) - exact)), bound)
                    << "padded, level " << int(l) << ", n " << n;
            }
        }
    }
}

// The per-lag kernels and the step-up give every level the same operations in
// the same order as the scalar path: bit for bit the same results, over
// widths with remainders and over many samples of running sums; the fine
// stage's decisions over every number of samples a call takes.
TEST(VectorKernels, LagSumsAreTheScalarOnesAtEveryLevel)
{
    const auto& scalar = vector_kernels::kernels_for(level::scalar);
    const auto x = noise(8000, 3);
    for (level l : levels()) {
        const auto& k = vector_kernels::kernels_for(l);
        for (int64_t lags : {1, 5, 11, 16, 17, 41, 51, 61}) {
            const int64_t len = 317;
            std::vector<double> want(static_cast<size_t>(lags)), got(static_cast<size_t>(lags));
            scalar.autocorrelation(x.data(), len, lags, want.data());
            k.autocorrelation(x.data(), len, lags, got.data());
            EXPECT_EQ(want, got) << "autocorrelation, level " << int(l) << ", lags " << lags;
        }
        for (int64_t width : {1, 3, 8, 9, 48, 60, 250}) {
            std::vector<double> e1(size_t(width), 0.5), c1(size_t(width), -0.25), e2(e1), c2(c1);
            const int64_t lag = 40, start = 2 * (lag + width), end = start + 500;
            for (int64_t n = start; n < end; ++n) {
                take_sample(scalar, e1, c1, x, lag, n);
                take_sample(k, e2, c2, x, lag, n);
            }
            EXPECT_EQ(e1, e2) << "energy, level " << int(l) << ", width " << width;
            EXPECT_EQ(c1, c2) << "correlation, level " << int(l) << ", width " << width;
        }
        for (int64_t width : {1, 3, 4, 6, 9, 48, 60}) {
            std::vector<double> e1(size_t(width), 0.0), c1(size_t(width), -0.25), e2(e1), c2(c1);
            const int64_t lag = 40, start = 2 * (lag + width) + 8, end = start + 500;
            for (int64_t n = start, count = 1; n + count < end; n += count, count = count % 8 + 1) {
                const Decision_Input input(x, n + count, lag, width);
                e1[0] = e2[0] = 100.0 + x[size_t(n)];
                const int64_t want = scalar.lag_window_step(e1.data(), c1.data(), width, count, input.in);
                EXPECT_EQ(k.lag_window_step(e2.data(), c2.data(), width, count, input.in), want)
                    << "window minimum, level " << int(l) << ", width " << width << ", sample " << n;
            }
            EXPECT_EQ(e1, e2) << "window energy, level " << int(l) << ", width " << width;
            EXPECT_EQ(c1, c2) << "window correlation, level " << int(l) << ", width " << width;
        }
        for (int64_t n : {1, 2, 7, 8, 9, 16, 49, 50}) {
            std::vector<double> want(x.begin(), x.begin() + n);
            std::vector<double> p_want(x.begin() + 100, x.begin() + 100 + n), p_got(p_want), q_got(want);
            scalar.lattice_step(p_want.data(), want.data(), n, -0.61);
            k.lattice_step(p_got.data(), q_got.data(), n, -0.61);
            EXPECT_EQ(p_want, p_got) << "lattice, level " << int(l) << ", n " << n;
            EXPECT_EQ(want, q_got) << "lattice, level " << int(l) << ", n " << n;
            std::vector<double> mix_want(static_cast<size_t>(n)), mix_got(static_cast<size_t>(n));
            scalar.mix(mix_want.data(), x.data(), 0.3, x.data() + 200, 0.7, n);
            k.mix(mix_got.data(), x.data(), 0.3, x.data() + 200, 0.7, n);
            EXPECT_EQ(mix_want, mix_got) << "mix, level " << int(l) << ", n " << n;
            std::vector<double> whole_want(static_cast<size_t>(n)), whole_got(static_cast<size_t>(n));
            scalar.step_up_all(x.data(), n, whole_want.data());
            k.step_up_all(x.data(), n, whole_got.data());
            EXPECT_EQ(whole_want, whole_got) << "whole step-up, level " << int(l) << ", n " << n;
        }
    }
}

// The least value's first place, against a hand-made table: ties go to the
// lowest index, +0.0 and -0.0 tie, a NaN after the first value is passed
// over, a NaN first makes 0 the answer, as a scan that keeps the least so
// far does; widths below, at and above a block of four and a vector. A
// silent signal leaves every sum as it is and every energy at energy[0],
// here 0, so that f(k) is -corr[k].
TEST(VectorKernels, LagWindowStepFindsTheFirstLeastValue)
{
    const double nan = std::nan("");
    const struct {
        std::vector<double> f;
        int64_t want;
    } cases[] = {
        {{3.0}, 0},
        {{2.0, 1.0}, 1},
        {{5.0, 4.0, 3.0, 4.0, 3.0}, 2},
        {{1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 0.5, 0.5}, 7},
        {{0.0, -0.0, 1.0, 2.0, 3.0}, 0},
        {{4.0, 3.0, 2.0, 1.0, 2.0, 3.0, 4.0, 5.0, -1.0, 0.0, -1.0}, 8},
        {{3.0, nan, 4.0, 1.0, 2.0}, 3},
        {{3.0, 2.0, 2.0, 2.0, 2.0, 2.0, 2.0, 2.0, 2.0}, 1},
        {{nan, 2.0, 1.0, 3.0, 4.0}, 0},
    };
    const std::vector<double> silence(200, 0.0);
    for (level l : levels()) {
        for (const auto& c : cases) {
            const int64_t width = int64_t(c.f.size());
            const Decision_Input input(silence, 199, 10, width);
            std::vector<double> energy(c.f.size(), 0.0), corr;
            for (double f : c.f) corr.push_back(-f);
            EXPECT_EQ(vector_kernels::kernels_for(l).lag_window_step(energy.data(), corr.data(), width, 5, input.in),
                      c.want)
                << "level " << int(l) << ", case of " << c.f.size();
        }
    }
}

// A decision against its definition: after running sums from silence over
// a signal that repeats every `period` samples, correlations and energies
// equal their direct sums, and the least value of f is at the period, where
// the signal matches itself.
TEST(VectorKernels, LagWindowStepsKeepTheDirectSumsAndFindThePeriod)
{
    const auto cycle = noise(37, 6);
    const int64_t period = 37, lag = 20, width = 30, start = 2 * (lag + width) + 8;
    std::vector<double> y(1500, 0.0);
    for (size_t i = size_t(start); i < y.size(); ++i) y[i] = cycle[i % size_t(period)];
    for (level l : levels()) {
        const auto& k = vector_kernels::kernels_for(l);
        std::vector<double> energy(size_t(width), 0.0), corr(size_t(width), 0.0);
        int64_t n = start - 1, found = -1;
        for (int64_t count = 1; n + count < int64_t(y.size()); n += count, count = count % 8 + 1) {
            const Decision_Input input(y, n + count, lag, width);
            // The first lag's energy as the caller keeps it.
            for (int64_t s = count - 1; s >= 0; --s) {
                const double b = input.in.far[s % 2][s / 2];
                energy[0] += input.recent[size_t(s)] * input.recent[size_t(s)] - b * b;
            }
            found = k.lag_window_step(energy.data(), corr.data(), width, count, input.in);
        }
        for (int64_t j = 0; j < width; ++j) {
            const int64_t L = lag + j;
            double e = 0.0, c = 0.0;
            for (int64_t i = 0; i < 2 * L; ++i) e += y[size_t(n - i)] * y[size_t(n - i)];
            for (int64_t i = 0; i < L; ++i) c += y[size_t(n - i)] * y[size_t(n - i - L)];
            EXPECT_NEAR(energy[size_t(j)], e, 1e-9) << "level " << int(l) << ", lag " << L;
            EXPECT_NEAR(corr[size_t(j)], c, 1e-9) << "level " << int(l) << ", lag " << L;
        }
        EXPECT_EQ(found, period - lag) << "level " << int(l);
    }
}

// The step-up against its definition: each order from a copy of the old
// values, every partner taken before the change.
TEST(VectorKernels, StepUpTakesEveryPartnerBeforeTheChange)
{
    const auto k = noise(7, 5);
    for (level l : levels()) {
        for (int64_t n : {1, 2, 5, 6, 7}) {
            std::vector<double> old(static_cast<size_t>(n)), a(static_cast<size_t>(n));
            vector_kernels::kernels_for(l).step_up_all(k.data(), n - 1, old.data());
            vector_kernels::kernels_for(l).step_up_all(k.data(), n, a.data());
            for (int64_t j = 0; j + 1 < n; ++j)
                EXPECT_EQ(a[size_t(j)], old[size_t(j)] - k[size_t(n - 1)] * old[size_t(n - 2 - j)]) << n << " " << j;
            EXPECT_EQ(a[size_t(n - 1)], k[size_t(n - 1)]) << n;
        }
    }
}

// The scalar running sums themselves: after a window's worth of samples,
// energy and correlation of each lag equal their direct sums.
TEST(VectorKernels, RunningLagSumsEqualTheirDirectSums)
{
    const auto x = noise(2000, 4);
    const int64_t lag = 20, width = 6, start = 2 * (lag + width);
    for (level l : levels()) {
        std::vector<double> energy(size_t(width), 0.0), corr(size_t(width), 0.0);
        // Sums from silence: the samples before `start` count as zero.
        std::vector<double> y(x);
        std::fill(y.begin(), y.begin() + start, 0.0);
        const int64_t end = 1500;
        for (int64_t n = start; n < end; ++n)
            take_sample(vector_kernels::kernels_for(l), energy, corr, y, lag, n);
        for (int64_t k = 0; k < width; ++k) {
            const int64_t L = lag + k;
            double e = 0.0, c = 0.0;
            for (int64_t i = 0; i < 2 * L; ++i) e += y[size_t(end - 1 - i)] * y[size_t(end - 1 - i)];
            for (int64_t i = 0; i < L; ++i) c += y[size_t(end - 1 - i)] * y[size_t(end - 1 - i - L)];
            EXPECT_NEAR(energy[size_t(k)], e, 1e-9) << "level " << int(l) << ", lag " << L;
            EXPECT_NEAR(corr[size_t(k)], c, 1e-9) << "level " << int(l) << ", lag " << L;
        }
    }
}
