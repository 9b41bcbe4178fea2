#include "voicegen/Voice_Generator.h"

#include <algorithm>
#include <cmath>

namespace voicegen {

namespace {

constexpr double kAttack = 0.03;   // seconds
constexpr double kRelease = 0.05;  // seconds
// Rosenberg glottal pulse: opening and closing shares of the period.
constexpr double kOpen = 0.40;
constexpr double kClose = 0.16;

// Glottal flow at a phase within the cycle, 0 to 1.
double glottal_flow(double phase)
{
    if (phase < kOpen) return 0.5 * (1.0 - std::cos(M_PI * phase / kOpen));
    if (phase < kOpen + kClose) return std::cos(M_PI * (phase - kOpen) / (2.0 * kClose));
    return 0.0;
}

// Raised-cosine ramp from 0 at x <= 0 to 1 at x >= 1.
double ramp(double x)
{
    if (x <= 0.0) return 0.0;
    if (x >= 1.0) return 1.0;
    return 0.5 - 0.5 * std::cos(M_PI * x);
}

} // namespace

Voice_Generator::Voice_Generator(const Voice_Settings& s)
    : settings(s), state(s.seed == 0 ? 0x9e3779b9u : s.seed)
{
}

double Voice_Generator::note_to_hz(double midi_note)
{
    return 440.0 * std::pow(2.0, (midi_note - 69.0) / 12.0);
}

double Voice_Generator::uniform()
{
    // xorshift32: no shared state, no lock.
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return (double(state) + 0.5) / 4294967296.0;
}

double Voice_Generator::gaussian()
{
    const double u1 = uniform();
    const double u2 = uniform();
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * M_PI * u2);
}

Voice_Generator::Formants Voice_Generator::formants_of(Vowel vowel)
{
    // An adult man's formant frequencies from the usual phonetic tables.
    switch (vowel) {
    case Vowel::A: return {{730, 1090, 2440, 3400}, {80, 90, 120, 150}};
    case Vowel::E: return {{530, 1840, 2480, 3400}, {60, 100, 120, 150}};
    case Vowel::I: return {{270, 2290, 3010, 3400}, {60, 100, 120, 150}};
    case Vowel::O: return {{570, 840, 2410, 3400}, {70, 80, 120, 150}};
    case Vowel::U: return {{300, 870, 2240, 3400}, {60, 80, 120, 150}};
    }
    return formants_of(Vowel::A);
}

void Voice_Generator::synthesise(std::vector<float>& out, size_t begin, size_t end, Vowel vowel,
                                 double level, const std::vector<double>& envelope)
{
    const double rate = settings.sample_rate;
    const Formants f = formants_of(vowel);
    // Two-pole resonators, each with unit gain at DC, in cascade.
    double c1[4], c2[4], g[4], y1[4] = {0, 0, 0, 0}, y2[4] = {0, 0, 0, 0};
    for (int k = 0; k < 4; ++k) {
        const double freq = std::min(f.freq[k] * settings.formant_scale, 0.45 * rate);
        const double r = std::exp(-M_PI * f.bandwidth[k] * settings.formant_scale / rate);
        c1[k] = 2.0 * r * std::cos(2.0 * M_PI * freq / rate);
        c2[k] = -r * r;
        g[k] = 1.0 - c1[k] - c2[k];
    }
    // A gentle low-pass at 5 kHz tames the closure's edge.
    const double smooth = std::exp(-2.0 * M_PI * 5000.0 / rate);
    double lp = 0.0;

    std::vector<double> voice(end - begin, 0.0);
    double phase = 0.0;
    double cycle_scale = 1.0 + settings.jitter * gaussian();
    double cycle_gain = 1.0 + settings.shimmer * gaussian();
    double last_flow = 0.0;
    for (size_t i = begin; i < end; ++i) {
        const double f0 = contour[i];
        double x = 0.0;
        if (f0 > 0.0) {
            phase += f0 / (rate * cycle_scale);
            if (phase >= 1.0) {
                phase -= std::floor(phase);
                cycle_scale = 1.0 + settings.jitter * gaussian();
                cycle_gain = 1.0 + settings.shimmer * gaussian();
            }
            const double flow = glottal_flow(phase) * cycle_gain;
            // Lip radiation: the first difference of the flow.
            x = flow - last_flow;
            last_flow = flow;
            x += settings.breath * (uniform() - 0.5) * glottal_flow(phase);
        }
        lp = (1.0 - smooth) * x + smooth * lp;
        double y = lp;
        for (int k = 0; k < 4; ++k) {
            const double v = g[k] * y + c1[k] * y1[k] + c2[k] * y2[k];
            y2[k] = y1[k];
            y1[k] = v;
            y = v;
        }
        voice[i - begin] = y * envelope[i - begin];
    }
    double peak = 0.0;
    for (double v : voice) peak = std::max(peak, std::fabs(v));
    const double scale = peak > 0.0 ? level / peak : 0.0;
    for (size_t i = begin; i < end; ++i) out[i] = float(voice[i - begin] * scale);
}

std::vector<float> Voice_Generator::render(const std::vector<Voice_Note>& notes, double total_s)
{
    const double rate = settings.sample_rate;
    const size_t total = size_t(std::max(0.0, total_s) * rate);
    std::vector<float> out(total, 0.0f);
    contour.assign(total, 0.0);

    for (const Voice_Note& note : notes) {
        const size_t begin = std::min(total, size_t(std::max(0.0, note.start_s) * rate));
        const size_t end = std::min(total, size_t(std::max(0.0, note.start_s + note.length_s) * rate));
        if (end <= begin) continue;
        std::vector<double> envelope(end - begin);
        for (size_t i = begin; i < end; ++i) {
            const double t = double(i - begin) / rate;
            const double left = double(end - i) / rate;
            envelope[i - begin] = ramp(t / kAttack) * ramp(left / kRelease);
            double cents = note.detune_cents;
            if (note.scoop_s > 0.0) cents += note.scoop_cents * (1.0 - ramp(t / note.scoop_s));
            const double fade = ramp((t - settings.vibrato_onset_s) / 0.3);
            cents += settings.vibrato_depth_cents * fade *
                     std::sin(2.0 * M_PI * settings.vibrato_rate_hz * t);
            contour[i] = note_to_hz(note.midi_note + cents / 100.0);
        }
        synthesise(out, begin, end, note.vowel, note.level, envelope);
    }
    return out;
}

std::vector<float> Voice_Generator::render_contour(const std::vector<double>& f0_hz, Vowel vowel,
                                                   double level)
{
    contour = f0_hz;
    std::vector<float> out(f0_hz.size(), 0.0f);
    // Voiced stretches are rendered apart, each with its own attack and release.
    size_t i = 0;
    while (i < f0_hz.size()) {
        if (f0_hz[i] <= 0.0) {
            contour[i] = 0.0;
            ++i;
            continue;
        }
        size_t end = i;
        while (end < f0_hz.size() && f0_hz[end] > 0.0) ++end;
        std::vector<double> envelope(end - i);
        for (size_t k = i; k < end; ++k) {
            envelope[k - i] = ramp(double(k - i) / settings.sample_rate / kAttack) *
                              ramp(double(end - k) / settings.sample_rate / kRelease);
        }
        synthesise(out, i, end, vowel, level, envelope);
        i = end;
    }
    return out;
}

std::vector<Voice_Note> demo_phrase_notes()
{
    // A falling and rising line in C major, sung a little sharp or flat.
    // Fields: start, length, note, detune, scoop, scoop time, vowel, level.
    return {
        {0.20, 0.70, 60, +28, -90, 0.12, Vowel::A, 0.35},
        {1.00, 0.55, 62, -22, -70, 0.10, Vowel::E, 0.35},
        {1.60, 0.55, 64, +35, -80, 0.10, Vowel::A, 0.40},
        {2.25, 0.90, 67, -30, -120, 0.15, Vowel::O, 0.45},
        {3.25, 0.60, 69, +18, -90, 0.12, Vowel::A, 0.45},
        {3.95, 0.55, 67, -38, -60, 0.10, Vowel::E, 0.40},
        {4.60, 0.55, 65, +25, -80, 0.10, Vowel::I, 0.35},
        {5.25, 0.60, 64, -15, -70, 0.10, Vowel::O, 0.35},
        {5.95, 0.55, 62, +32, -90, 0.12, Vowel::U, 0.35},
        {6.60, 1.10, 60, -27, -100, 0.15, Vowel::A, 0.40},
    };
}

double demo_phrase_seconds()
{
    return 8.0;
}

std::vector<float> render_demo_phrase(double sample_rate, uint32_t seed)
{
    Voice_Settings settings;
    settings.sample_rate = sample_rate;
    settings.seed = seed;
    Voice_Generator generator(settings);
    return generator.render(demo_phrase_notes(), demo_phrase_seconds());
}

} // namespace voicegen
