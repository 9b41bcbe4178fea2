#include "dsp/cascade_kernels.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace cascade_kernels {
namespace {

// ---- scalar level ----------------------------------------------------------

// The sections run one after the other on each sample rather than each over
// the whole buffer: the same arithmetic, but the recursions of the sections
// overlap in the processor instead of waiting for one another. Only the first
// section keeps inputs of its own: the state left (fourteen doubles for six
// sections) stays in registers through the loop, and is written back in the
// stored form. N is the count when it is known at compile time, else 0.
template <int N>
void cascade_scalar_body(const sections& k, const stream& st, int64_t frames) noexcept
{
    const int n = N > 0 ? N : k.count;
    double y1[max_sections], y2[max_sections];
    for (int s = 0; s < n; ++s) {
        y1[s] = st.y1[s];
        y2[s] = st.y2[s];
    }
    double in1 = st.x1[0];
    double in2 = st.x2[0];
    for (int64_t i = 0; i < frames; ++i) {
        double x = st.from[i];
        double x1 = in1;
        double x2 = in2;
        in2 = in1;
        in1 = x;
        for (int s = 0; s < n; ++s) {
            const float y = float(x + k.b1[s] * x1 + x2 - k.a1[s] * y1[s] - k.a2[s] * y2[s]);
            x1 = y1[s];
            x2 = y2[s];
            y2[s] = y1[s];
            y1[s] = y;
            x = y;
        }
        st.to[i] = float(x);
    }
    st.x1[0] = in1;
    st.x2[0] = in2;
    for (int s = 0; s < n; ++s) {
        if (s > 0) {
            st.x1[s] = y1[s - 1];
            st.x2[s] = y2[s - 1];
        }
        st.y1[s] = y1[s];
        st.y2[s] = y2[s];
    }
}

void cascade_scalar(const sections& k, const stream* streams, int count, int64_t frames) noexcept
{
    for (int c = 0; c < count; ++c) {
        if (k.count == max_sections)
            cascade_scalar_body<max_sections>(k, streams[c], frames);
        else
            cascade_scalar_body<0>(k, streams[c], frames);
    }
}

#if defined(__SSE2__)

// ---- wavefront -------------------------------------------------------------

// Even with the sections interleaved, a sample passes through six sections in
// series, a chain longer than the processor can look ahead over. The
// wavefront makes the sections the lanes of vectors instead: at step t, lane
// s evaluates section s on sample t - skew * s, so that its input is what
// lane s - 1 gave skew steps before. Each step is one evaluation of the
// formula for all lanes, the same operations per lane as the scalar level;
// from step to step only a section's own recursion (y1 to y: a product, two
// subtractions and the rounding) lies on the path. With a skew of 1, the
// shift from lane to lane and the next section's whole sum would lie on it
// too.
//
// Two lanes per vector, three vectors for six sections. Four lanes (AVX2's
// width) measured slower: rounding four lanes to floats and back takes longer
// than two, and it lies on the recursion. The AVX2 level runs the same
// two-lane body in its three-operand encoding, which saves register copies.

typedef double vec __attribute__((vector_size(16)));
typedef long long lane_mask __attribute__((vector_size(16)));
constexpr int lanes = 2;
constexpr int width = max_sections / lanes; // vectors
static_assert(width * lanes == max_sections, "the sections fill the vectors");
constexpr int skew = 2; // steps between a sample's sections
// Steps from a sample entering lane 0 to its output leaving the last lane.
constexpr int depth = skew * (max_sections - 1);

struct wave_coefficients {
    vec b1[width], a1[width], a2[width];
};

// One stream's state: lane i of vector j holds that of section j * lanes + i,
// as of the last sample the section took.
struct wavefront {
    vec x1[width], x2[width], y1[width], y2[width];
};

// The lanes' inputs and outputs at one step, from the state before it: lane 0
// takes the new sample, every other lane the output of the lane before two
// steps back (y2). The sample enters as {sample, 0}, not as a broadcast sum,
// which would turn -0.0 into +0.0. The rounding to a float goes through
// cvtpd2ps and cvtps2pd on whole registers: a two-float vector type would put
// one more move, clearing the upper half, on the recursion.
[[gnu::always_inline]] inline void evaluate(const wave_coefficients& k, double sample, const vec* x1, const vec* x2,
                                            const vec* y1, const vec* y2, vec* x, vec* y) noexcept
{
    static_assert(skew == 2, "the lanes' inputs are the outputs two steps back");
    const vec entering = {sample};
    x[0] = __builtin_shufflevector(entering, y2[0], 0, 2);
#pragma GCC unroll 4
    for (int j = 1; j < width; ++j) x[j] = __builtin_shufflevector(y2[j - 1], y2[j], 1, 2);
#pragma GCC unroll 4
    for (int j = 0; j < width; ++j) {
        const vec sum = x[j] + k.b1[j] * x1[j] + x2[j] - k.a1[j] * y1[j] - k.a2[j] * y2[j];
        y[j] = _mm_cvtps_pd(_mm_cvtpd_ps(sum));
    }
}

// The last lane's output as a float; it is one already.
[[gnu::always_inline]] inline float last_output(const vec* y) noexcept
{
    return float(y[width - 1][lanes - 1]);
}

// A stream's stored state into the lanes; later sections' inputs from the
// outputs before them, as the scalar level reads them.
[[gnu::always_inline]] inline void load_state(wavefront& w, const stream& st) noexcept
{
    double x1[max_sections], x2[max_sections];
    for (int s = 0; s < max_sections; ++s) {
        x1[s] = s == 0 ? st.x1[0] : st.y1[s - 1];
        x2[s] = s == 0 ? st.x2[0] : st.y2[s - 1];
    }
    std::memcpy(w.x1, x1, sizeof w.x1);
    std::memcpy(w.x2, x2, sizeof w.x2);
    std::memcpy(w.y1, st.y1, sizeof w.y1);
    std::memcpy(w.y2, st.y2, sizeof w.y2);
}

// Lane s's state into the stored form, right after its step on the block's
// last sample.
[[gnu::always_inline]] inline void store_state(const wavefront& w, const stream& st, int s) noexcept
{
    const int j = s / lanes, i = s % lanes;
    st.x1[s] = w.x1[j][i];
    st.x2[s] = w.x2[j][i];
    st.y1[s] = w.y1[j][i];
    st.y2[s] = w.y2[j][i];
}

// One step t at the edges of a block of `frames` samples, where some lanes
// stand outside it. Before step skew * s, lane s has not reached the block's
// first sample and keeps its state. After its step on the last sample, where
// its state is stored, a lane runs on over the zeros that follow the block,
// which no lane still inside it reads. The last lane's output is sample
// t - depth.
[[gnu::always_inline]] inline void edge_step(wavefront& w, const wave_coefficients& k, const stream& st, int64_t t,
                                             int64_t frames) noexcept
{
    vec x[width], y[width];
    evaluate(k, t < frames ? double(st.from[t]) : 0.0, w.x1, w.x2, w.y1, w.y2, x, y);
    for (int j = 0; j < width; ++j) {
        const lane_mask first_step = {skew * lanes * j, skew * (lanes * j + 1)};
        const lane_mask inside = first_step <= t;
        w.x2[j] = inside ? w.x1[j] : w.x2[j];
        w.x1[j] = inside ? x[j] : w.x1[j];
        w.y2[j] = inside ? w.y1[j] : w.y2[j];
        w.y1[j] = inside ? y[j] : w.y1[j];
    }
    if (t >= depth) st.to[t - depth] = last_output(w.y1);
    for (int s = 0; s < max_sections; ++s)
        if (t == frames - 1 + skew * s) store_state(w, st, s);
}

// S streams side by side: their recursions are independent, so one's steps
// fill the other's waits.
template <int S>
[[gnu::always_inline]] inline void wavefront_body(const sections& sec, const stream* st, int64_t frames) noexcept
{
    wave_coefficients k;
    std::memcpy(k.b1, sec.b1, sizeof k.b1);
    std::memcpy(k.a1, sec.a1, sizeof k.a1);
    std::memcpy(k.a2, sec.a2, sizeof k.a2);
    wavefront w[S];
    for (int c = 0; c < S; ++c) load_state(w[c], st[c]);

    // Filling: the steps before the last lane reaches the block.
    const int64_t head = frames < depth ? frames : depth;
    for (int c = 0; c < S; ++c)
        for (int64_t t = 0; t < head; ++t) edge_step(w[c], k, st[c], t, frames);

    // Every lane inside the block: two steps per pass, in which the older
    // inputs and outputs (a) and the newer (b) trade places, each step
    // writing over the older, so that nothing is copied.
    int64_t t = head;
    {
        vec xa[S][width], xb[S][width], ya[S][width], yb[S][width];
        for (int c = 0; c < S; ++c) {
            for (int j = 0; j < width; ++j) {
                xa[c][j] = w[c].x2[j];
                xb[c][j] = w[c].x1[j];
                ya[c][j] = w[c].y2[j];
                yb[c][j] = w[c].y1[j];
            }
        }
        for (; t + 1 < frames; t += 2) {
            vec x[S][width], y[S][width];
#pragma GCC unroll 2
            for (int c = 0; c < S; ++c) evaluate(k, st[c].from[t], xb[c], xa[c], yb[c], ya[c], x[c], y[c]);
#pragma GCC unroll 2
            for (int c = 0; c < S; ++c) {
#pragma GCC unroll 4
                for (int j = 0; j < width; ++j) {
                    xa[c][j] = x[c][j];
                    ya[c][j] = y[c][j];
                }
                st[c].to[t - depth] = last_output(y[c]);
            }
#pragma GCC unroll 2
            for (int c = 0; c < S; ++c) evaluate(k, st[c].from[t + 1], xa[c], xb[c], ya[c], yb[c], x[c], y[c]);
#pragma GCC unroll 2
            for (int c = 0; c < S; ++c) {
#pragma GCC unroll 4
                for (int j = 0; j < width; ++j) {
                    xb[c][j] = x[c][j];
                    yb[c][j] = y[c][j];
                }
                st[c].to[t + 1 - depth] = last_output(y[c]);
            }
        }
        for (int c = 0; c < S; ++c) {
            for (int j = 0; j < width; ++j) {
                w[c].x2[j] = xa[c][j];
                w[c].x1[j] = xb[c][j];
                w[c].y2[j] = ya[c][j];
                w[c].y1[j] = yb[c][j];
            }
        }
    }

    // Draining: an odd step left inside the block, then the steps in which
    // the later lanes finish its last samples. Lane 0 stepped on the last
    // sample in the passes above if they reached it.
    for (int c = 0; c < S; ++c) {
        int64_t u = t;
        if (u < frames)
            edge_step(w[c], k, st[c], u++, frames);
        else if (frames > depth)
            store_state(w[c], st[c], 0);
        for (; u < frames + depth; ++u) edge_step(w[c], k, st[c], u, frames);
    }
}

// Two streams side by side, any other count one by one; a cascade of fewer
// sections than the lanes goes to the scalar level.
[[gnu::always_inline]] inline void cascade_wavefront(const sections& k, const stream* streams, int count,
                                                     int64_t frames) noexcept
{
    if (k.count != max_sections) {
        cascade_scalar(k, streams, count, frames);
        return;
    }
    if (count == 2) {
        wavefront_body<2>(k, streams, frames);
        return;
    }
    for (int c = 0; c < count; ++c) wavefront_body<1>(k, streams + c, frames);
}

// ---- instantiations --------------------------------------------------------

void cascade_sse2(const sections& k, const stream* streams, int count, int64_t frames) noexcept
{
    cascade_wavefront(k, streams, count, frames);
}

__attribute__((target("avx2"))) void cascade_avx2(const sections& k, const stream* streams, int count,
                                                  int64_t frames) noexcept
{
    cascade_wavefront(k, streams, count, frames);
}

#endif

} // namespace

function kernel_for(vector_kernels::level l) noexcept
{
#if defined(__SSE2__)
    switch (l) {
    case vector_kernels::level::scalar: return cascade_scalar;
    case vector_kernels::level::sse2: return cascade_sse2;
    case vector_kernels::level::avx2: return cascade_avx2;
    }
#endif
    (void)l;
    return cascade_scalar;
}

namespace detail {
const function active = kernel_for(vector_kernels::chosen_level());
} // namespace detail

} // namespace cascade_kernels
