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

// The lag window's sums taken `count` samples on, from x[first] to
// x[first + count - 1], in one call of a level's kernel.
void take_samples(const vector_kernels::table& k, std::vector<double>& energy, std::vector<double>& corr,
                  const std::vector<double>& x, int64_t lag, int64_t first, int64_t count)
{
    const int64_t width = int64_t(energy.size());
    std::vector<Lag_Window_Input> in;
    std::vector<const double*> a, b;
    for (int64_t j = 0; j < count; ++j) in.emplace_back(x, first + j, lag, width);
    for (const auto& i : in) {
        a.push_back(i.a.data());
        b.push_back(i.b.data());
    }
    k.lag_window_update(energy.data(), corr.data(), width, count, x.data() + first, a.data(), b.data());
}

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
// widths with remainders and over many samples of running sums, which each
// level takes in several at once and the scalar path one at a time.
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
            for (int64_t n = start; n < end; ++n) take_samples(scalar, e1, c1, x, lag, n, 1);
            for (int64_t n = start, count = 1; n < end; n += count, count = count % 5 + 1)
                take_samples(k, e2, c2, x, lag, n, std::min(count, end - n));
            EXPECT_EQ(e1, e2) << "energy, level " << int(l) << ", width " << width;
            EXPECT_EQ(c1, c2) << "correlation, level " << int(l) << ", width " << width;
        }
        for (int64_t n : {1, 2, 7, 8, 9, 16, 49, 50}) {
            std::vector<double> want(x.begin(), x.begin() + n), got(want);
            scalar.step_up(want.data(), n, 0.37);
            k.step_up(got.data(), n, 0.37);
            EXPECT_EQ(want, got) << "step-up, level " << int(l) << ", n " << n;
            std::vector<double> p_want(x.begin() + 100, x.begin() + 100 + n), p_got(p_want), q_got(want);
            scalar.lattice_step(p_want.data(), want.data(), n, -0.61);
            k.lattice_step(p_got.data(), q_got.data(), n, -0.61);
            EXPECT_EQ(p_want, p_got) << "lattice, level " << int(l) << ", n " << n;
            EXPECT_EQ(want, q_got) << "lattice, level " << int(l) << ", n " << n;
            std::vector<double> whole_want(static_cast<size_t>(n)), whole_got(static_cast<size_t>(n));
            scalar.step_up_all(x.data(), n, whole_want.data());
            k.step_up_all(x.data(), n, whole_got.data());
            EXPECT_EQ(whole_want, whole_got) << "whole step-up, level " << int(l) << ", n " << n;
        }
    }
}

// The least value's first place, against a hand-made table: ties go to the
// lowest index, +0.0 and -0.0 tie, a NaN after the first value is passed
// over, a NaN first finds nothing, as a scan that keeps the least so far
// does; lengths below, at and above a vector.
TEST(VectorKernels, FirstMinimumIsTheLowestIndexOfTheLeastValue)
{
    const double nan = std::nan("");
    const struct {
        std::vector<double> v;
        int64_t want;
    } cases[] = {
        {{3.0}, 0},
        {{2.0, 1.0}, 1},
        {{5.0, 4.0, 3.0, 4.0, 3.0}, 2},
        {{1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 0.5, 0.5}, 7},
        {{0.0, -0.0, 1.0, 2.0, 3.0}, 0},
        {{4.0, 3.0, 2.0, 1.0, 2.0, 3.0, 4.0, 5.0, -1.0, 0.0, -1.0}, 8},
        {{3.0, nan, 4.0, 1.0, 2.0}, 3},
        {{nan, 2.0, 1.0, 3.0, 4.0}, 5},
    };
    for (level l : levels()) {
        for (const auto& c : cases) {
            EXPECT_EQ(vector_kernels::kernels_for(l).first_minimum(c.v.data(), int64_t(c.v.size())), c.want)
                << "level " << int(l) << ", case of " << c.v.size();
        }
    }
}

// The scalar step-up against its definition, from a copy of the old values.
TEST(VectorKernels, StepUpTakesEveryPartnerBeforeTheChange)
{
    for (int64_t n : {1, 2, 5, 6}) {
        const auto old = noise(size_t(n), 5);
        std::vector<double> a(old);
        vector_kernels::kernels_for(level::scalar).step_up(a.data(), n, -0.6);
        for (int64_t j = 0; j < n; ++j)
            EXPECT_EQ(a[size_t(j)], old[size_t(j)] - -0.6 * old[size_t(n - 1 - j)]) << n << " " << j;
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
            take_samples(vector_kernels::kernels_for(l), energy, corr, y, lag, n, 1);
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
