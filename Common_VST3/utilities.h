#pragma once

#include <atomic>
#include <cmath>
#include <cstdint>

// Conversions between period, cents, notes, decibels and times. Float arguments
// and results are 32-bit; all arithmetic inside is double. Everything here may
// run on any thread except Exponential_Map (see there).
//
// Cents: 900 is 440 Hz and 1200 make an octave, so 0 cents is the C a major
// sixth below A 440 (261.63 Hz). A period is in samples at `sampleRate` (Hz).

// 1200 / ln 2 * ln(sampleRate / (period * 440)) + 900. Callers that need whole
// cents round the result with Round_ToInt. Asserts "sampleRate != 0.0".
float Period_ToCents(float period, float sampleRate);

// The inverse: (sampleRate / 440) * exp(ln 2 * (900 - cents) / 1200).
// Asserts "sampleRate != 0.0".
float Cents_ToPeriod(float cents, float sampleRate);

// 12 / ln 2 * ln(sampleRate / (period * 440)) + 69: a fractional MIDI note,
// 69 at 440 Hz. Checks nothing; a rate of 0 gives minus infinity.
float Period_ToNote(float period, float sampleRate);

// 20 log10(amp); a level of 0 gives minus infinity.
double Amp_ToDB(double amp);
// 10 to the power dB / 20.
double DB_ToAmp(double dB);

// Nearest integer, halves away from zero. The argument is a 32-bit float, so a
// value is exact only up to 2^24; the rounding itself is done in double. In
// double, x + 0.5 is exact for every float x, so the largest float below one
// half still rounds to 0; the result goes back through a float. Inline, as
// the engine calls it per sample.
[[gnu::always_inline]] inline int64_t Round_ToInt(float x)
{
    const double v = x;
    // Below 2^24 in size every whole number is a float, so the trip back
    // through a float changes nothing and is left out.
    constexpr double whole = 16777216.0;
    if (v > 0.0 && v < whole) return int64_t(v + 0.5);
    if (v <= 0.0 && v > -whole) return -int64_t(0.5 - v);
    // Below 2^52 the floor of a positive value is its truncation, which needs
    // no rounding mode; beyond, the library's floor.
    constexpr double exact = 4503599627370496.0;
    double rounded;
    if (v > 0.0)
        rounded = v < exact ? double(int64_t(v + 0.5)) : std::floor(v + 0.5);
    else
        rounded = v > -exact ? -double(int64_t(0.5 - v)) : -std::floor(0.5 - v);
    return int64_t(float(rounded));
}

// The curve through `low` at position 0, `mid` at 0.5 and `high` at 1:
//   low + r / (e^k - 1) * (e^(position k) - 1),
// with r = high - low and k = 2 ln(r / (mid - low) - 1), k held as a float.
// `mid` must lie strictly between `low` and `high` and not in their middle
// (k = 0 there); nothing is checked.
// Each call leaves r and k in the two shared variables below, stored relaxed,
// so that the audio and the interface thread may both call it. Any thread.
float Exponential_Map(float low, float mid, float high, float position);
// r and k of the last Exponential_Map of any thread.
extern std::atomic<float> exponential_map_range;
extern std::atomic<float> exponential_map_curve;

// Characters Samples_ToTimeString may write into `text`, terminator included.
constexpr int32_t time_string_capacity = 18;

// A sample count as text without leading blanks: "S.t" below a minute, "M:SS.t"
// below an hour, else "H:MM:SS.t" (t tenths, truncated). 0.99 samples are added
// first so that a whole second reads as such and not as a tenth less.
// `*milliseconds` receives the whole time in milliseconds (truncated);
// `milliseconds` may be null. `text` holds at least time_string_capacity
// characters. Returns `text`. `sampleRate` > 0 and below 32768 hours.
char* Samples_ToTimeString(int64_t samples, char* text, int64_t* milliseconds, double sampleRate);
