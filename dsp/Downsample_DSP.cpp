#include "dsp/Downsample_DSP.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>

#include "dsp/cascade_kernels.h"

namespace {

// Order of the decimation filter: six second-order sections.
constexpr int kOrder = 2 * Downsample_DSP::max_sections;
// Attenuation of one pass at the top of the pass band (0.4 of the engine
// rate). The stop-band depth follows from it and the order: the narrower the
// transition band, the less is left for the stop band.
constexpr double kPassEdgeDb = 0.5;
constexpr double kPassEdge = 0.4;

using Complex = std::complex<double>;

// The inverse-Chebyshev (type II) low-pass for a host rate and factor: zeros
// on the unit circle from the stop-band edge at half the engine rate upward,
// poles from the reciprocal Chebyshev type I poles, mapped by the bilinear
// transform with the edges prewarped. Measured per single pass (see the
// tests): factor 2, 0.5 dB at 0.4 x engine rate and 72.6 dB from 0.5 x engine
// rate up; factor 4, 0.5 dB and 60.4 dB. Sections are returned with b0 = b2
// = a0 = 1 and the DC gain that one pass needs.
int design_sections(double host_rate, int64_t factor, Downsample_DSP::Section* sections,
                    double* gain)
{
    const double engine = host_rate / double(factor);
    // Prewarped analog edges, with the bilinear transform s = (z - 1) / (z + 1).
    const double stop = std::tan(M_PI * 0.5 * engine / host_rate);
    const double pass = std::tan(M_PI * kPassEdge * engine / host_rate);

    // Depth of the stop band for the wanted pass-band edge: the attenuation
    // at pass is 10 log10(1 + 1 / (eps^2 T_N(stop / pass)^2)).
    const double chebyshev = std::cosh(kOrder * std::acosh(stop / pass));
    const double edge = std::pow(10.0, kPassEdgeDb / 10.0) - 1.0;
    const double eps = 1.0 / (std::sqrt(edge) * chebyshev);
    const double mu = std::asinh(1.0 / eps) / kOrder;

    double dc = 1.0;
    for (int k = 0; k < kOrder / 2; ++k) {
        const double theta = M_PI * (2.0 * k + 1.0) / (2.0 * kOrder);
        // Chebyshev type I pole of the unit prototype, then its reciprocal
        // scaled to the stop edge; the zero lies on the imaginary axis.
        const Complex p1(-std::sinh(mu) * std::sin(theta), std::cosh(mu) * std::cos(theta));
        const Complex pole = stop / p1;
        const double zero = stop / std::cos(theta);

        const Complex pz = (1.0 + pole) / (1.0 - pole);
        const double zero_angle = 2.0 * std::atan(zero);
        Downsample_DSP::Section& s = sections[kOrder / 2 - 1 - k];
        s.b0 = 1.0;
        s.b1 = -2.0 * std::cos(zero_angle);
        s.b2 = 1.0;
        s.a0 = 1.0;
        s.a1 = -2.0 * pz.real();
        s.a2 = std::norm(pz);
        dc *= (s.b0 + s.b1 + s.b2) / (s.a0 + s.a1 + s.a2);
    }
    *gain = 1.0 / dc;
    return kOrder / 2;
}

Complex response(const Downsample_DSP::Section* sections, int count, double gain, double w)
{
    const Complex z1 = std::polar(1.0, -w);
    const Complex z2 = z1 * z1;
    Complex h(gain, 0.0);
    for (int i = 0; i < count; ++i) {
        const auto& s = sections[i];
        h *= (s.b0 + s.b1 * z1 + s.b2 * z2) / (s.a0 + s.a1 * z1 + s.a2 * z2);
    }
    return h;
}

} // namespace

Downsample_DSP::Downsample_DSP(int64_t block_limit)
    : max_block(block_limit < 1 ? 1 : block_limit), cascade_run(cascade_kernels::kernel())
{
    for (int c = 0; c < max_channels; ++c) {
        work_a[c] = new float[size_t(max_block)]();
        work_b[c] = new float[size_t(max_block)]();
    }
    std::memset(section_coef, 0, sizeof section_coef);
    Downsample_DSP::reset();
}

Downsample_DSP::~Downsample_DSP()
{
    for (int c = 0; c < max_channels; ++c) {
        delete[] work_a[c];
        delete[] work_b[c];
    }
}

void Downsample_DSP::reset() noexcept
{
    phase = 0;
    noise = Noise_Generator();
    for (int c = 0; c < max_channels; ++c) {
        for (int s = 0; s < max_sections; ++s) {
            down_y1[c][s] = down_y2[c][s] = down_x1[c][s] = down_x2[c][s] = 0.0;
            up_y1[c][s] = up_y2[c][s] = up_x1[c][s] = up_x2[c][s] = 0.0;
        }
    }
}

int64_t Downsample_DSP::decimation_for_rate(double host_rate)
{
    if (host_rate <= 50000.0) return 1;
    if (host_rate <= 100000.0) return 2;
    if (host_rate <= 200000.0) return 4;
    return 8;
}

void Downsample_DSP::configure_rate(double host_rate) noexcept
{
    sample_rate = serves_rate(host_rate) ? host_rate : 0.0;
    decimationFactor = decimation_for_rate(sample_rate);
    if (decimationFactor == 1) {
        section_count = 0;
        section_gain = 1.0;
    } else {
        section_count = design_sections(sample_rate, decimationFactor, section_coef, &section_gain);
    }
    cascade.count = section_count;
    for (int s = 0; s < section_count; ++s) {
        cascade.b1[s] = section_coef[s].b1;
        cascade.a1[s] = section_coef[s].a1;
        cascade.a2[s] = section_coef[s].a2;
    }
    Downsample_DSP::reset();
}

void Downsample_DSP::set_channels(bool stereo_input, bool stereo_output) noexcept
{
    stereo_in = stereo_input;
    stereo_out = stereo_output;
}

namespace {

// The response of the filter designed for a host rate at an angular
// frequency; 1 where the rate needs no decimation.
Complex designed_response(double host_rate, double w)
{
    const int64_t factor = Downsample_DSP::decimation_for_rate(host_rate);
    if (factor == 1) return 1.0;
    Downsample_DSP::Section sections[Downsample_DSP::max_sections];
    double gain = 1.0;
    const int count = design_sections(host_rate, factor, sections, &gain);
    return response(sections, count, gain, w);
}

} // namespace

double Downsample_DSP::decimation_magnitude_db(double host_rate, double freq_hz)
{
    return 20.0 * std::log10(std::abs(designed_response(host_rate, 2.0 * M_PI * freq_hz / host_rate)));
}

double Downsample_DSP::decimation_group_delay(double host_rate, double freq_hz)
{
    const double w = 2.0 * M_PI * freq_hz / host_rate;
    const double h = 1e-6;
    const double before = std::arg(designed_response(host_rate, w - h));
    const double after = std::arg(designed_response(host_rate, w + h));
    double step = after - before;
    if (step > M_PI) step -= 2.0 * M_PI;
    if (step < -M_PI) step += 2.0 * M_PI;
    return -step / (2.0 * h);
}

void Downsample_DSP::process(const float* const* in, float* const* out, int64_t frames) noexcept
{
    const int out_channels = stereo_out ? 2 : 1;
    if (frames <= 0 || frames > max_block || sample_rate == 0.0) {
        // Not ready, or a block the work buffers cannot hold: pass it as it is.
        for (int c = 0; c < out_channels && frames > 0; ++c) {
            const float* source = (c == 1 && stereo_in) ? in[1] : in[0];
            if (out[c] != source) std::memmove(out[c], source, size_t(frames) * sizeof(float));
        }
        return;
    }
    if (decimationFactor == 1) {
        process_block(in, out, frames);
        silence_if_broken(out, frames);
        return;
    }

    const int in_channels = stereo_in ? 2 : 1;
    const int64_t start_phase = phase;
    cascade_kernels::stream paths[max_channels];

    // Down: noise, the cascade, then every decimationFactor-th sample. The
    // channels go through the cascade in one run, so that their recursions
    // overlap.
    for (int c = 0; c < in_channels; ++c) {
        float* a = work_a[c];
        const float* source = in[c];
        for (int64_t i = 0; i < frames; ++i) a[i] = float(taken_input(source[i]) + noise.denormal_noise());
        paths[c] = {a, work_b[c], down_x1[c], down_x2[c], down_y1[c], down_y2[c]};
    }
    cascade_run(cascade, paths, in_channels, frames);
    int64_t count = 0;
    for (int c = 0; c < in_channels; ++c) {
        // Keep the samples on phase 0, packed at the head of work_a.
        float* a = work_a[c];
        const float* from = work_b[c];
        int64_t p = start_phase;
        count = 0;
        for (int64_t i = 0; i < frames; ++i) {
            if (p == 0) a[count++] = float(from[i] * section_gain);
            if (++p == decimationFactor) p = 0;
        }
    }

    // The engine block: decimated input in work_a, output to work_b.
    const float* engine_in[max_channels] = {work_a[0], work_a[1]};
    float* engine_out[max_channels] = {work_b[0], work_b[1]};
    if (count > 0) process_block(engine_in, engine_out, count);

    // Up: zero stuffing with the engine samples scaled by the factor, then the
    // cascade with its own state, in place, all channels in one run.
    for (int c = 0; c < out_channels; ++c) {
        float* stuffed = work_a[c];
        const float* engine_samples = work_b[c];
        int64_t p = start_phase;
        int64_t next = 0;
        for (int64_t i = 0; i < frames; ++i) {
            stuffed[i] = p == 0 ? float(engine_samples[next++] * double(decimationFactor)) : 0.0f;
            if (++p == decimationFactor) p = 0;
        }
        paths[c] = {stuffed, stuffed, up_x1[c], up_x2[c], up_y1[c], up_y2[c]};
    }
    cascade_run(cascade, paths, out_channels, frames);
    for (int c = 0; c < out_channels; ++c) {
        const float* filtered = work_a[c];
        float* target = out[c];
        for (int64_t i = 0; i < frames; ++i) target[i] = float(filtered[i] * section_gain);
    }

    phase = (start_phase + frames) % decimationFactor;
    silence_if_broken(out, frames);
}

void Downsample_DSP::silence_if_broken(float* const* out, int64_t frames) noexcept
{
    // A float is an infinity or not a number when its exponent bits are all
    // set; the test on the bits runs several samples at a time.
    constexpr uint32_t exponent = 0x7f800000u;
    const int out_channels = stereo_out ? 2 : 1;
    uint32_t broken = 0;
    for (int c = 0; c < out_channels; ++c) {
        for (int64_t i = 0; i < frames; ++i) {
            uint32_t bits;
            std::memcpy(&bits, out[c] + i, sizeof bits);
            broken |= (bits & exponent) == exponent ? 1u : 0u;
        }
    }
    if (broken == 0) return;
    for (int c = 0; c < out_channels; ++c) std::fill(out[c], out[c] + frames, 0.0f);
    reset();
}
