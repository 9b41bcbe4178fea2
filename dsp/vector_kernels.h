#pragma once

#include <cstdint>

// The engine's inner loops over arrays of doubles, compiled once per
// instruction-set level and chosen when the module loads from what the
// processor offers, so that one build runs on any x86-64 machine and uses
// the widest vectors it has.
//
// Every level of mix, lag_window_update, lag_window_step, autocorrelation,
// lattice_step and step_up_all computes each entry by the same
// operations in the same order as the scalar level, so their results are
// the same to the last bit. A dot product's vector levels add in
// several partial sums, so it may differ from the scalar sum in the last
// bits (a relative difference of the order of n * 2^-53).
//
// Nothing here allocates, locks or blocks; every function may run on the
// audio thread.
namespace vector_kernels {

// The samples a decision of the fine stage reads, from copies of the input
// kept backward from the newest sample, so that each run of them lies
// forward in memory.
struct lag_window_input {
    // recent[i]: the sample i back from the newest.
    const double* recent;
    // The window's first lag, in samples.
    int64_t lag;
    // far[p][m]: the sample 2 * lag + p + 2m back, for p 0 and 1.
    const double* far[2];
    // pair[p][m]: the sample 2 * lag - 2 + p + 2m back, for p 0 and 1.
    const double* pair[2];
};

// SSE2 is every x86-64 processor's baseline. AVX-512 is left out: on the
// processor measured it ran slower than AVX2.
enum class level : int { scalar, sse2, avx2 };
constexpr int level_count = 3;

struct table {
    // sum of a[i] * b[i] for i below n.
    double (*dot)(const double* a, const double* b, int64_t n) noexcept;
    // The same sum for n a multiple of 4 (zeros padding a shorter one),
    // without a remainder: the per-sample filters' form.
    double (*dot_padded)(const double* a, const double* b, int64_t n) noexcept;
    // out[j] = a[j] * wa + b[j] * wb for j below n: two filters mixed.
    void (*mix)(double* out, const double* a, double wa, const double* b, double wb, int64_t n) noexcept;
    // r[l] = sum for i below len of x[i] * x[i + l], for l below lags, each
    // summed in the order of i. x must be readable up to
    // x[len + lags + padding).
    void (*autocorrelation)(const double* x, int64_t len, int64_t lags, double* r) noexcept;
    // The running sums of a window of lags, one sample on: for k below
    // width, with x0 the newest sample, a[k] the sample lag k back and b[k]
    // the one twice as far back,
    //   energy[k] += x0 * x0 - b[k] * b[k];   corr[k] += x0 * a[k] - a[k] * b[k].
    void (*lag_window_update)(double* energy, double* corr, int64_t width, double x0, const double* a,
                              const double* b) noexcept;
    // A decision of the fine stage over its window of lags l = in.lag + k,
    // k below width. First the correlations, `count` samples on (at most
    // max_samples_on), oldest first: for s from count - 1 down to 0,
    //   corr[k] += in.recent[s + l] * (in.recent[s] - in.far[s % 2][s / 2 + k]),
    // gaining the product of the sample s back and the one l beyond it, and
    // losing the product of that one and the one l beyond it again. Then
    // the energies from the first one's: with
    // p(m) = in.pair[0][m]^2 + in.pair[1][m]^2, the squares of the two
    // samples that lag in.lag + m spans beyond the lag below it,
    //   energy[k] = energy[0] + p(1) + ... + p(k) for 0 < k < width,
    // summed in blocks of four entries from entry 0, the same at every level:
    // within a block the pairs in two steps, each entry plus the one before,
    // then plus the one two before (p(0) counts as zero), and the result
    // added to a carry that starts at energy[0] and gains each block's last
    // in-block sum. Returns the lowest k of the least
    // f(k) = 0.5 * energy[k] - corr[k], width above 0; a value of f that is
    // not a number never wins, and one at k = 0 makes 0 the answer.
    int64_t (*lag_window_step)(double* energy, double* corr, int64_t width, int64_t count,
                               const lag_window_input& in) noexcept;
    // One order of the lattice of the reflection coefficients, in place: for
    // t below n, p[t] -= k * q[t] and q[t] -= k * p[t], every right side
    // taken before any change.
    void (*lattice_step)(double* p, double* q, int64_t n, double k) noexcept;
    // The predictor a[0 .. n) of the reflection coefficients k[0 .. n):
    // for each i below n, one order of the step-up in place,
    //   a[j] -= k[i] * a[i - 1 - j] for j below i,
    // every right side taken before any change, then a[i] = k[i].
    void (*step_up_all)(const double* k, int64_t n, double* a) noexcept;
};

// The most samples lag_window_step takes at once.
constexpr int64_t max_samples_on = 8;

// Entries autocorrelation may read past x[len + lags).
constexpr int64_t padding = 16;

// Whether this processor runs a level.
bool supported(level l) noexcept;
// The functions of one level; the level must be supported.
const table& kernels_for(level l) noexcept;
// The widest supported level, chosen once at load time.
level chosen_level() noexcept;

namespace detail {
extern const table* active;
}

// The chosen level's functions. Audio thread or any other.
inline const table& kernels() noexcept
{
    return *detail::active;
}

} // namespace vector_kernels
