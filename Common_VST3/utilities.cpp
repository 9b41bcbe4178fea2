#include "Common_VST3/utilities.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "Common_VST3/assertion.h"

namespace {
constexpr const char* kPath = "Common_VST3/utilities";
constexpr double kLn2 = 0.69314718055994530942;
constexpr double kA4_Hz = 440.0;
constexpr double kA4_cents = 900.0;
constexpr double kA4_note = 69.0;
// The search for the first non-blank of a time text gives up after this many.
constexpr int kMaxLeadingBlanks = 15;
} // namespace

std::atomic<float> exponential_map_range{0.0f};
std::atomic<float> exponential_map_curve{0.0f};

float Period_ToCents(float period, float sampleRate)
{
    CORVANE_ASSERT(sampleRate != 0.0f, "Period_ToCents", kPath, "sampleRate != 0.0");
    return float(1200.0 / kLn2 * std::log(double(sampleRate) / (double(period) * kA4_Hz)) +
                 kA4_cents);
}

float Cents_ToPeriod(float cents, float sampleRate)
{
    CORVANE_ASSERT(sampleRate != 0.0f, "Cents_ToPeriod", kPath, "sampleRate != 0.0");
    return float((double(sampleRate) / kA4_Hz) *
                 std::exp(kLn2 * (kA4_cents - double(cents)) / 1200.0));
}

float Period_ToNote(float period, float sampleRate)
{
    return float(12.0 / kLn2 * std::log(double(sampleRate) / (double(period) * kA4_Hz)) + kA4_note);
}

double Amp_ToDB(double amp)
{
    return 20.0 * std::log10(amp);
}

double DB_ToAmp(double dB)
{
    return std::pow(10.0, dB / 20.0);
}

float Exponential_Map(float low, float mid, float high, float position)
{
    const double r = double(high) - double(low);
    const float k = float(2.0 * std::log(r / (double(mid) - double(low)) - 1.0));
    exponential_map_range.store(float(r), std::memory_order_relaxed);
    exponential_map_curve.store(k, std::memory_order_relaxed);
    return float(double(low) +
                 (r / (std::exp(double(k)) - 1.0)) * (std::exp(double(position) * double(k)) - 1.0));
}

char* Samples_ToTimeString(int64_t samples, char* text, int64_t* milliseconds, double sampleRate)
{
    // Hours as a float; the parts below are taken from it in double.
    const float count = float(double(samples) + 0.99);
    const float hours_f = float(double(count) / (sampleRate * 3600.0));
    double rest = hours_f;
    const int16_t hours = int16_t(rest);
    rest = (rest - hours) * 60.0;
    const int16_t minutes = int16_t(rest);
    rest = (rest - minutes) * 60.0;
    const int16_t seconds = int16_t(rest);
    rest = (rest - seconds) * 1000.0;
    const int16_t millis = int16_t(rest);
    if (milliseconds) {
        *milliseconds = (int64_t(hours) * 3600 + int64_t(minutes) * 60 + seconds) * 1000 + millis;
    }
    const int16_t tenths = int16_t(millis / 100);

    // Every part but the hours is below 60 in magnitude, so the longest text,
    // "-32768:-59:-59.-9", fits time_string_capacity with its terminator.
    char formatted[32];
    if (hours != 0) {
        std::snprintf(formatted, sizeof formatted, "%2hd:%02hd:%02hd.%01hd", hours, minutes,
                      seconds, tenths);
    } else if (minutes != 0) {
        std::snprintf(formatted, sizeof formatted, "%2hd:%02hd.%01hd", minutes, seconds, tenths);
    } else {
        std::snprintf(formatted, sizeof formatted, "%2hd.%01hd", seconds, tenths);
    }
    int first = 0;
    while (first < kMaxLeadingBlanks && formatted[first] == ' ') ++first;
    size_t length = std::strlen(formatted + first);
    if (length > size_t(time_string_capacity) - 1) length = size_t(time_string_capacity) - 1;
    std::memcpy(text, formatted + first, length);
    text[length] = '\0';
    return text;
}
