#include "dsp/vector_kernels.h"

#include <cstring>
#include <initializer_list>

// The vector levels are one body per kernel, written with the compiler's
// generic vector types for a width of V doubles and instantiated inside
// functions compiled for each instruction set; the scalar level is the plain
// loop they are checked against.

namespace vector_kernels {
namespace {

// ---- scalar level ----------------------------------------------------------

double dot_scalar(const double* a, const double* b, int64_t n) noexcept
{
    double sum = 0.0;
    for (int64_t i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

double dot_padded_scalar(const double* a, const double* b, int64_t n) noexcept
{
    return dot_scalar(a, b, n);
}

void mix_scalar(double* out, const double* a, double wa, const double* b, double wb, int64_t n) noexcept
{
    for (int64_t j = 0; j < n; ++j) out[j] = a[j] * wa + b[j] * wb;
}

void autocorrelation_scalar(const double* x, int64_t len, int64_t lags, double* r) noexcept
{
    for (int64_t l = 0; l < lags; ++l) {
        double sum = 0.0;
        for (int64_t i = 0; i < len; ++i) sum += x[i] * x[i + l];
        r[l] = sum;
    }
}

void lag_window_update_scalar(double* energy, double* corr, int64_t width, double x0, const double* a,
                              const double* b) noexcept
{
    for (int64_t k = 0; k < width; ++k) {
        energy[k] += x0 * x0 - b[k] * b[k];
        corr[k] += x0 * a[k] - a[k] * b[k];
    }
}

// The correlations of the lags from k_begin below width, each taking the
// samples oldest first.
void lag_corr_update_scalar(double* corr, int64_t k_begin, int64_t width, int64_t count,
                            const lag_window_input& in) noexcept
{
    for (int64_t k = k_begin; k < width; ++k) {
        double c = corr[k];
        for (int64_t s = count - 1; s >= 0; --s)
            c += in.recent[s + in.lag + k] * (in.recent[s] - in.far[s % 2][s / 2 + k]);
        corr[k] = c;
    }
}

// Blocks of four entries, as the vector levels take them; entries past the
// window count as zero pairs and are neither written nor compared.
int64_t lag_window_minimum_scalar(double* energy, const double* corr, const double* even, const double* odd,
                                  int64_t width) noexcept
{
    double carry = energy[0];
    double least = 0.0;
    int64_t found = 0;
    for (int64_t k0 = 0; k0 < width; k0 += 4) {
        double p[4];
        for (int64_t i = 0; i < 4; ++i) {
            const int64_t k = k0 + i;
            p[i] = k == 0 || k >= width ? 0.0 : even[k] * even[k] + odd[k] * odd[k];
        }
        const double s[4] = {p[0], p[1] + p[0], p[2] + p[1], p[3] + p[2]};
        const double t[4] = {s[0], s[1], s[2] + s[0], s[3] + s[1]};
        for (int64_t i = 0; i < 4 && k0 + i < width; ++i) {
            const int64_t k = k0 + i;
            energy[k] = t[i] + carry;
            const double f = 0.5 * energy[k] - corr[k];
            if (k == 0) {
                least = f;
            } else if (f < least) {
                least = f;
                found = k;
            }
        }
        carry += t[3];
    }
    return found;
}

int64_t lag_window_step_scalar(double* energy, double* corr, int64_t width, int64_t count,
                               const lag_window_input& in) noexcept
{
    lag_corr_update_scalar(corr, 0, width, count, in);
    return lag_window_minimum_scalar(energy, corr, in.pair[0], in.pair[1], width);
}

void lattice_step_scalar(double* p, double* q, int64_t n, double k) noexcept
{
    for (int64_t t = 0; t < n; ++t) {
        const double pt = p[t], qt = q[t];
        p[t] = pt - k * qt;
        q[t] = qt - k * pt;
    }
}

// Pairs from both ends towards the middle, where an odd n leaves one entry
// paired with itself.
void step_up_scalar(double* a, int64_t n, double k) noexcept
{
    for (int64_t j = 0, m = n - 1; j < m; ++j, --m) {
        const double low = a[j], high = a[m];
        a[j] = low - k * high;
        a[m] = high - k * low;
    }
    if (n % 2 == 1) a[n / 2] = a[n / 2] - k * a[n / 2];
}

void step_up_all_scalar(const double* k, int64_t n, double* a) noexcept
{
    for (int64_t i = 0; i < n; ++i) {
        step_up_scalar(a, i, k[i]);
        a[i] = k[i];
    }
}

constexpr table scalar_table = {dot_scalar, dot_padded_scalar, mix_scalar, autocorrelation_scalar, lag_window_update_scalar,
                                lag_window_step_scalar, lattice_step_scalar, step_up_all_scalar};

#if defined(__x86_64__) || defined(__i386__)

// ---- vector bodies ---------------------------------------------------------

template <int V>
struct lanes;
template <>
struct lanes<2> {
    typedef double vec __attribute__((vector_size(16)));
    typedef int64_t index __attribute__((vector_size(16)));
};
template <>
struct lanes<4> {
    typedef double vec __attribute__((vector_size(32)));
    typedef int64_t index __attribute__((vector_size(32)));
};

// Puts the lanes in the opposite order (GCC and clang both know
// __builtin_shufflevector); by reference, so that no vector crosses a call.
template <class vec>
[[gnu::always_inline]] inline void reverse_lanes(vec& v) noexcept
{
    if constexpr (sizeof(vec) == 2 * sizeof(double))
        v = __builtin_shufflevector(v, v, 1, 0);
    else
        v = __builtin_shufflevector(v, v, 3, 2, 1, 0);
}

// The products of a and b over whole vectors, from i = 0 while
// i + V <= n, in four partial sums of V lanes that keep the adder busy while
// they fill, then in the first; the four added together into `sum` (by
// reference, so that no vector crosses a call). i is left at the first
// product not taken.
template <int V>
[[gnu::always_inline]] inline void partial_sums(const double* a, const double* b, int64_t n,
                                                typename lanes<V>::vec& sum, int64_t& i) noexcept
{
    using vec = typename lanes<V>::vec;
    vec s0 = {}, s1 = {}, s2 = {}, s3 = {};
    i = 0;
    for (; i + 4 * V <= n; i += 4 * V) {
        vec a0, a1, a2, a3, b0, b1, b2, b3;
        std::memcpy(&a0, a + i, sizeof a0);
        std::memcpy(&a1, a + i + V, sizeof a1);
        std::memcpy(&a2, a + i + 2 * V, sizeof a2);
        std::memcpy(&a3, a + i + 3 * V, sizeof a3);
        std::memcpy(&b0, b + i, sizeof b0);
        std::memcpy(&b1, b + i + V, sizeof b1);
        std::memcpy(&b2, b + i + 2 * V, sizeof b2);
        std::memcpy(&b3, b + i + 3 * V, sizeof b3);
        s0 += a0 * b0;
        s1 += a1 * b1;
        s2 += a2 * b2;
        s3 += a3 * b3;
    }
    for (; i + V <= n; i += V) {
        vec a0, b0;
        std::memcpy(&a0, a + i, sizeof a0);
        std::memcpy(&b0, b + i, sizeof b0);
        s0 += a0 * b0;
    }
    sum = (s0 + s1) + (s2 + s3);
}

// The lanes added in order, then the remainder one by one.
template <int V>
[[gnu::always_inline]] inline double dot_body(const double* a, const double* b, int64_t n) noexcept
{
    int64_t i = 0;
    typename lanes<V>::vec s;
    partial_sums<V>(a, b, n, s, i);
    double sum = 0.0;
    for (int j = 0; j < V; ++j) sum += s[j];
    for (; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

// For n a multiple of 4: no remainder, and the lanes added pairwise, so that
// the sum is ready a few additions after the last product.
template <int V>
[[gnu::always_inline]] inline double dot_padded_body(const double* a, const double* b, int64_t n) noexcept
{
    int64_t i = 0;
    typename lanes<V>::vec s;
    partial_sums<V>(a, b, n, s, i);
    if constexpr (V == 4) {
        using half = typename lanes<2>::vec;
        const half h = half{s[0], s[1]} + half{s[2], s[3]};
        return h[0] + h[1];
    } else {
        return s[0] + s[1];
    }
}

template <int V>
[[gnu::always_inline]] inline void mix_body(double* out, const double* a, double wa, const double* b, double wb,
                                            int64_t n) noexcept
{
    using vec = typename lanes<V>::vec;
    const vec va = vec{} + wa, vb = vec{} + wb;
    int64_t j = 0;
    for (; j + V <= n; j += V) {
        vec x, y;
        std::memcpy(&x, a + j, sizeof x);
        std::memcpy(&y, b + j, sizeof y);
        const vec mixed = x * va + y * vb;
        std::memcpy(out + j, &mixed, sizeof mixed);
    }
    mix_scalar(out + j, a + j, wa, b + j, wb, n - j);
}

// One block of `block` V lags from l0, each lag a lane that sums over i in
// order: the same sums as the scalar loop.
template <int V, int block>
[[gnu::always_inline]] inline void autocorrelation_block(const double* x, int64_t len, int64_t l0, int64_t lags,
                                                         double* r) noexcept
{
    using vec = typename lanes<V>::vec;
    vec acc[block] = {};
    for (int64_t i = 0; i < len; ++i) {
        const vec xi = vec{} + x[i];
        for (int j = 0; j < block; ++j) {
            vec y;
            std::memcpy(&y, x + i + l0 + j * V, sizeof y);
            acc[j] += xi * y;
        }
    }
    double sums[block * V];
    std::memcpy(sums, acc, sizeof sums);
    for (int64_t j = 0; j < block * V && l0 + j < lags; ++j) r[l0 + j] = sums[j];
}

// Blocks of 8 V lags while they fill, then one block of the rest. Each
// lane's sum waits for its last addition at every i, so a pass needs many
// lanes side by side to keep the adder busy: a pass of one or two vectors
// would take as long as one of eight.
template <int V>
[[gnu::always_inline]] inline void autocorrelation_body(const double* x, int64_t len, int64_t lags,
                                                        double* r) noexcept
{
    int64_t l0 = 0;
    for (; l0 + 8 * V <= lags; l0 += 8 * V) autocorrelation_block<V, 8>(x, len, l0, lags, r);
    switch ((lags - l0 + V - 1) / V) {
    case 1: autocorrelation_block<V, 1>(x, len, l0, lags, r); break;
    case 2: autocorrelation_block<V, 2>(x, len, l0, lags, r); break;
    case 3: autocorrelation_block<V, 3>(x, len, l0, lags, r); break;
    case 4: autocorrelation_block<V, 4>(x, len, l0, lags, r); break;
    case 5: autocorrelation_block<V, 5>(x, len, l0, lags, r); break;
    case 6: autocorrelation_block<V, 6>(x, len, l0, lags, r); break;
    case 7: autocorrelation_block<V, 7>(x, len, l0, lags, r); break;
    case 8: autocorrelation_block<V, 8>(x, len, l0, lags, r); break;
    default: break;
    }
}

// V lags at a time.
template <int V>
[[gnu::always_inline]] inline void lag_window_update_body(double* energy, double* corr, int64_t width, double x0,
                                                          const double* a, const double* b) noexcept
{
    using vec = typename lanes<V>::vec;
    const vec vx = vec{} + x0;
    const vec vxx = vec{} + x0 * x0;
    int64_t k = 0;
    for (; k + V <= width; k += V) {
        vec va, vb, e, c;
        std::memcpy(&va, a + k, sizeof va);
        std::memcpy(&vb, b + k, sizeof vb);
        std::memcpy(&e, energy + k, sizeof e);
        std::memcpy(&c, corr + k, sizeof c);
        e += vxx - vb * vb;
        c += vx * va - va * vb;
        std::memcpy(energy + k, &e, sizeof e);
        std::memcpy(corr + k, &c, sizeof c);
    }
    lag_window_update_scalar(energy + k, corr + k, width - k, x0, a + k, b + k);
}

// Every lane of v to x, without the addition of a zero that `vec{} + x`
// makes (which turns -0.0 into +0.0); by reference, as reverse_lanes.
template <class vec>
[[gnu::always_inline]] inline void set_lanes(vec& v, double x) noexcept
{
    for (size_t t = 0; t < sizeof(vec) / sizeof(double); ++t) v[t] = x;
}

// One block of four entries of the lag window as 4 / V vectors: the running
// sums of its pairs within the block, in the two steps of the scalar level.
template <int V>
[[gnu::always_inline]] inline void prefix_of_four(typename lanes<V>::vec (&p)[4 / V]) noexcept
{
    using vec = typename lanes<V>::vec;
    const vec zero = {};
    if constexpr (V == 4) {
        p[0] += __builtin_shufflevector(p[0], zero, 4, 0, 1, 2);
        p[0] += __builtin_shufflevector(p[0], zero, 4, 5, 0, 1);
    } else {
        const vec low_before = __builtin_shufflevector(zero, p[0], 0, 2);
        const vec high_before = __builtin_shufflevector(p[0], p[1], 1, 2);
        p[0] += low_before;
        p[1] += high_before;
        p[1] += p[0];
    }
}

// The energies of one block of four entries, from the squares of its pairs
// in e and o and the carry, written to `out`, the carry moved on, and the
// values of f from the block's correlations c. In the window's first block
// the pair of entry 0 counts as zero.
template <int V, bool first_block>
[[gnu::always_inline]] inline void lag_energy_block(const double* e, const double* o,
                                                    const typename lanes<V>::vec (&c)[4 / V], double* out,
                                                    typename lanes<V>::vec& carry,
                                                    typename lanes<V>::vec (&f)[4 / V]) noexcept
{
    using vec = typename lanes<V>::vec;
    constexpr int n = 4 / V;
    vec p[n];
    for (int i = 0; i < n; ++i) {
        vec ve, vo;
        std::memcpy(&ve, e + i * V, sizeof ve);
        std::memcpy(&vo, o + i * V, sizeof vo);
        p[i] = ve * ve + vo * vo;
    }
    if constexpr (first_block) p[0][0] = 0.0;
    prefix_of_four<V>(p);
    vec half;
    set_lanes(half, 0.5);
    for (int i = 0; i < n; ++i) {
        const vec energy = p[i] + carry;
        std::memcpy(out + i * V, &energy, sizeof energy);
        f[i] = half * energy - c[i];
    }
    // Only an addition lies on the way from block to block.
    vec last;
    set_lanes(last, p[n - 1][V - 1]);
    carry += last;
}

// The running minimum of the values of f, four at a time: every vector
// position keeps its own least value and the index of its first place,
// starting from f(0) at index 0, so that a value that is not a number never
// enters unless it is f(0).
template <int V>
struct window_minimum {
    using vec = typename lanes<V>::vec;
    using index_vec = typename lanes<V>::index;
    static constexpr int n = 4 / V;
    vec least[n] = {};
    index_vec place[n] = {}, index[n] = {};

    // The first block, whose entry 0 is f(0).
    [[gnu::always_inline]] void start(const vec (&f)[n]) noexcept
    {
        for (int i = 0; i < n; ++i) {
            set_lanes(least[i], f[0][0]);
            for (int t = 0; t < V; ++t) index[i][t] = i * V + t;
        }
        take(f);
    }
    [[gnu::always_inline]] void take(const vec (&f)[n]) noexcept
    {
        for (int i = 0; i < n; ++i) {
            const auto less = f[i] < least[i];
            least[i] = less ? f[i] : least[i];
            place[i] = less ? index[i] : place[i];
            index[i] += 4;
        }
    }
    // The least over the positions, a tie to the lowest index: positions
    // paired off without a branch, the vectors first, then the halves of
    // the lanes. The positions are all not a number, or none is.
    [[gnu::always_inline]] int64_t first() noexcept
    {
        for (int i = 1; i < n; ++i) keep_lesser(least[0], place[0], least[i], place[i]);
        if constexpr (V == 4) {
            vec other = __builtin_shufflevector(least[0], least[0], 2, 3, 0, 1);
            index_vec other_at = __builtin_shufflevector(place[0], place[0], 2, 3, 0, 1);
            keep_lesser(least[0], place[0], other, other_at);
            other = __builtin_shufflevector(least[0], least[0], 1, 0, 3, 2);
            other_at = __builtin_shufflevector(place[0], place[0], 1, 0, 3, 2);
            keep_lesser(least[0], place[0], other, other_at);
        } else {
            const vec other = __builtin_shufflevector(least[0], least[0], 1, 0);
            const index_vec other_at = __builtin_shufflevector(place[0], place[0], 1, 0);
            keep_lesser(least[0], place[0], other, other_at);
        }
        return place[0][0];
    }
    [[gnu::always_inline]] static void keep_lesser(vec& value, index_vec& at, const vec& other,
                                                   const index_vec& other_at) noexcept
    {
        const auto wins = (other < value) | ((other == value) & (other_at < at));
        value = wins ? other : value;
        at = wins ? other_at : at;
    }
};

// Whole blocks of four lags: the correlations of V lags at a time, kept in
// registers over the samples, then their energies and values of f. The
// number of samples is a constant, so that the loop over them unrolls and
// every sample's place is a constant offset from one of three pointers. A
// last part block, if the window is no multiple of four, takes its samples
// as the scalar level does and runs on copies padded with zero pairs and
// values of f that are not a number.
template <int V, int count>
[[gnu::always_inline]] inline int64_t lag_window_step_fixed(double* energy, double* corr, int64_t width,
                                                            const lag_window_input& in) noexcept
{
    using vec = typename lanes<V>::vec;
    constexpr int n = 4 / V;
    const double* lagged = in.recent + in.lag;
    const double* far_even = in.far[0];
    const double* far_odd = in.far[1];
    const double* pair_even = in.pair[0];
    const double* pair_odd = in.pair[1];
    vec vx[count];
    for (int s = 0; s < count; ++s) set_lanes(vx[s], in.recent[s]);
    vec carry;
    set_lanes(carry, energy[0]);
    window_minimum<V> minimum;
    vec c[n], f[n];
    // The correlations of the block of four lags from k0, left in c.
    auto correlate = [&](int64_t k0) __attribute__((always_inline)) {
        for (int i = 0; i < n; ++i) {
            const int64_t k = k0 + i * V;
            std::memcpy(&c[i], corr + k, sizeof c[i]);
            for (int s = count - 1; s >= 0; --s) {
                vec va, vb;
                std::memcpy(&va, lagged + s + k, sizeof va);
                std::memcpy(&vb, (s % 2 == 0 ? far_even : far_odd) + s / 2 + k, sizeof vb);
                c[i] += va * (vx[s] - vb);
            }
            std::memcpy(corr + k, &c[i], sizeof c[i]);
        }
    };
    const int64_t whole = width / 4 * 4;
    if (whole > 0) {
        correlate(0);
        lag_energy_block<V, true>(pair_even, pair_odd, c, energy, carry, f);
        minimum.start(f);
    }
    for (int64_t k0 = 4; k0 < whole; k0 += 4) {
        correlate(k0);
        lag_energy_block<V, false>(pair_even + k0, pair_odd + k0, c, energy + k0, carry, f);
        minimum.take(f);
    }
    if (whole < width) {
        lag_corr_update_scalar(corr, whole, width, count, in);
        double e[4], o[4], pad_corr[4], out[4];
        for (int64_t i = 0; i < 4; ++i) {
            const bool inside = whole + i < width;
            e[i] = inside ? pair_even[whole + i] : 0.0;
            o[i] = inside ? pair_odd[whole + i] : 0.0;
            pad_corr[i] = inside ? corr[whole + i] : __builtin_nan("");
        }
        std::memcpy(c, pad_corr, sizeof pad_corr);
        if (whole == 0) {
            lag_energy_block<V, true>(e, o, c, out, carry, f);
            minimum.start(f);
        } else {
            lag_energy_block<V, false>(e, o, c, out, carry, f);
            minimum.take(f);
        }
        for (int64_t i = 0; whole + i < width; ++i) energy[whole + i] = out[i];
    }
    return minimum.first();
}

template <int V>
[[gnu::always_inline]] inline int64_t lag_window_step_body(double* energy, double* corr, int64_t width,
                                                           int64_t count, const lag_window_input& in) noexcept
{
    static_assert(max_samples_on == 8, "one case per number of samples");
    switch (count) {
    case 1: return lag_window_step_fixed<V, 1>(energy, corr, width, in);
    case 2: return lag_window_step_fixed<V, 2>(energy, corr, width, in);
    case 3: return lag_window_step_fixed<V, 3>(energy, corr, width, in);
    case 4: return lag_window_step_fixed<V, 4>(energy, corr, width, in);
    case 5: return lag_window_step_fixed<V, 5>(energy, corr, width, in);
    case 6: return lag_window_step_fixed<V, 6>(energy, corr, width, in);
    case 7: return lag_window_step_fixed<V, 7>(energy, corr, width, in);
    case 8: return lag_window_step_fixed<V, 8>(energy, corr, width, in);
    default: return lag_window_step_scalar(energy, corr, width, count, in);
    }
}

// V entries of both at a time.
template <int V>
[[gnu::always_inline]] inline void lattice_step_body(double* p, double* q, int64_t n, double k) noexcept
{
    using vec = typename lanes<V>::vec;
    const vec vk = vec{} + k;
    int64_t t = 0;
    for (; t + V <= n; t += V) {
        vec pt, qt;
        std::memcpy(&pt, p + t, sizeof pt);
        std::memcpy(&qt, q + t, sizeof qt);
        const vec new_p = pt - vk * qt;
        const vec new_q = qt - vk * pt;
        std::memcpy(p + t, &new_p, sizeof new_p);
        std::memcpy(q + t, &new_q, sizeof new_q);
    }
    lattice_step_scalar(p + t, q + t, n - t, k);
}

// V entries from the front and their V partners from the back at a time,
// while the two blocks do not overlap; the middle as the scalar level does.
template <int V>
[[gnu::always_inline]] inline void step_up_body(double* a, int64_t n, double k) noexcept
{
    using L = lanes<V>;
    using vec = typename L::vec;
    const vec vk = vec{} + k;
    int64_t j = 0;
    for (; 2 * (j + V) <= n; j += V) {
        vec low, high;
        std::memcpy(&low, a + j, sizeof low);
        std::memcpy(&high, a + n - j - V, sizeof high);
        reverse_lanes(high);
        const vec new_low = low - vk * high;
        vec new_high = high - vk * low;
        reverse_lanes(new_high);
        std::memcpy(a + j, &new_low, sizeof new_low);
        std::memcpy(a + n - j - V, &new_high, sizeof new_high);
    }
    step_up_scalar(a + j, n - 2 * j, k);
}

template <int V>
[[gnu::always_inline]] inline void step_up_all_body(const double* k, int64_t n, double* a) noexcept
{
    for (int64_t i = 0; i < n; ++i) {
        step_up_body<V>(a, i, k[i]);
        a[i] = k[i];
    }
}

// ---- instantiations --------------------------------------------------------

double dot_sse2(const double* a, const double* b, int64_t n) noexcept
{
    return dot_body<2>(a, b, n);
}
double dot_padded_sse2(const double* a, const double* b, int64_t n) noexcept
{
    return dot_padded_body<2>(a, b, n);
}
void mix_sse2(double* out, const double* a, double wa, const double* b, double wb, int64_t n) noexcept
{
    mix_body<2>(out, a, wa, b, wb, n);
}
void autocorrelation_sse2(const double* x, int64_t len, int64_t lags, double* r) noexcept
{
    autocorrelation_body<2>(x, len, lags, r);
}
void lag_window_update_sse2(double* energy, double* corr, int64_t width, double x0, const double* a,
                            const double* b) noexcept
{
    lag_window_update_body<2>(energy, corr, width, x0, a, b);
}

int64_t lag_window_step_sse2(double* energy, double* corr, int64_t width, int64_t count,
                             const lag_window_input& in) noexcept
{
    return lag_window_step_body<2>(energy, corr, width, count, in);
}
__attribute__((target("avx2"))) int64_t lag_window_step_avx2(double* energy, double* corr, int64_t width,
                                                             int64_t count, const lag_window_input& in) noexcept
{
    return lag_window_step_body<4>(energy, corr, width, count, in);
}

void lattice_step_sse2(double* p, double* q, int64_t n, double k) noexcept
{
    lattice_step_body<2>(p, q, n, k);
}
__attribute__((target("avx2"))) void lattice_step_avx2(double* p, double* q, int64_t n, double k) noexcept
{
    lattice_step_body<4>(p, q, n, k);
}
void step_up_all_sse2(const double* k, int64_t n, double* a) noexcept
{
    step_up_all_body<2>(k, n, a);
}
__attribute__((target("avx2"))) void step_up_all_avx2(const double* k, int64_t n, double* a) noexcept
{
    step_up_all_body<4>(k, n, a);
}
__attribute__((target("avx2"))) double dot_avx2(const double* a, const double* b, int64_t n) noexcept
{
    return dot_body<4>(a, b, n);
}
__attribute__((target("avx2"))) double dot_padded_avx2(const double* a, const double* b, int64_t n) noexcept
{
    return dot_padded_body<4>(a, b, n);
}
__attribute__((target("avx2"))) void mix_avx2(double* out, const double* a, double wa, const double* b, double wb,
                                              int64_t n) noexcept
{
    mix_body<4>(out, a, wa, b, wb, n);
}
__attribute__((target("avx2"))) void autocorrelation_avx2(const double* x, int64_t len, int64_t lags,
                                                          double* r) noexcept
{
    autocorrelation_body<4>(x, len, lags, r);
}
__attribute__((target("avx2"))) void lag_window_update_avx2(double* energy, double* corr, int64_t width, double x0,
                                                            const double* a, const double* b) noexcept
{
    lag_window_update_body<4>(energy, corr, width, x0, a, b);
}

constexpr table sse2_table = {dot_sse2, dot_padded_sse2, mix_sse2, autocorrelation_sse2, lag_window_update_sse2,
                              lag_window_step_sse2, lattice_step_sse2, step_up_all_sse2};
constexpr table avx2_table = {dot_avx2, dot_padded_avx2, mix_avx2, autocorrelation_avx2, lag_window_update_avx2,
                              lag_window_step_avx2, lattice_step_avx2, step_up_all_avx2};

#endif

const table* choose() noexcept
{
    return &kernels_for(chosen_level());
}

} // namespace

bool supported(level l) noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    switch (l) {
    case level::scalar: return true;
    case level::sse2: return __builtin_cpu_supports("sse2");
    case level::avx2: return __builtin_cpu_supports("avx2");
    }
    return false;
#else
    return l == level::scalar;
#endif
}

const table& kernels_for(level l) noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    switch (l) {
    case level::scalar: return scalar_table;
    case level::sse2: return sse2_table;
    case level::avx2: return avx2_table;
    }
#endif
    (void)l;
    return scalar_table;
}

level chosen_level() noexcept
{
    for (level l : {level::avx2, level::sse2})
        if (supported(l)) return l;
    return level::scalar;
}

namespace detail {
const table* active = choose();
} // namespace detail

} // namespace vector_kernels
