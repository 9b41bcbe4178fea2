#pragma once

#include <cstdint>

// Conversions between period, cents, notes, decibels and times. Float
// arguments and results are 32-bit; all arithmetic inside is double.
//
// Cents: 900 is 440 Hz and 1200 make an octave, so 0 cents is the C a major
// sixth below A 440. A period is in samples at the given sample rate.

// 1200 / ln 2 * ln(sampleRate / (period * 440)) + 900.
float Period_ToCents(float period, float sampleRate);
// The inverse: (sampleRate / 440) * exp(ln 2 * (900 - cents) / 1200).
float Cents_ToPeriod(float cents, float sampleRate);
// A fractional MIDI note, 69 at 440 Hz. Accepts a rate of 0.
float Period_ToNote(float period, float sampleRate);

double Amp_ToDB(double amp);
double DB_ToAmp(double dB);

// Nearest integer, halves away from zero. The value passes through a 32-bit
// float first, so it is exact only up to 2^24.
int64_t Round_ToInt(float x);

// The curve through low at position 0, mid at 0.5 and high at 1:
// low + r / (e^k - 1) * (e^(position k) - 1), with r = high - low and
// k = 2 ln(r / (mid - low) - 1). mid must not be the middle of low and high.
// Each call leaves r and k in the two shared variables below; not for the
// audio thread.
float Exponential_Map(float low, float mid, float high, float position);
extern float exponential_map_range;
extern float exponential_map_curve;

// A sample count as text: "S.t", "M:SS.t" or "H:MM:SS.t" (t tenths), without
// leading blanks. `milliseconds` receives the whole time in milliseconds.
// `text` must hold at least 16 characters. Returns `text`.
char* Samples_ToTimeString(int64_t samples, char* text, int64_t* milliseconds, float sampleRate);
