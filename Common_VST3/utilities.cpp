#include "Common_VST3/utilities.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "Common_VST3/assertion.h"

namespace {
constexpr const char* kPath = "Common_VST3/utilities";
}

float exponential_map_range = 0.0f;
float exponential_map_curve = 0.0f;

float Period_ToCents(float period, float sampleRate)
{
    CORVANE_ASSERT(sampleRate != 0.0f, "Period_ToCents", kPath, "sampleRate != 0.0");
    return float(1200.0 / std::log(2.0) * std::log(double(sampleRate) / (double(period) * 440.0)) +
                 900.0);
}

float Cents_ToPeriod(float cents, float sampleRate)
{
    CORVANE_ASSERT(sampleRate != 0.0f, "Cents_ToPeriod", kPath, "sampleRate != 0.0");
    return float((double(sampleRate) / 440.0) *
                 std::exp(std::log(2.0) * (900.0 - double(cents)) / 1200.0));
}

float Period_ToNote(float period, float sampleRate)
{
    return float(12.0 / std::log(2.0) * std::log(double(sampleRate) / (double(period) * 440.0)) +
                 69.0);
}

double Amp_ToDB(double amp)
{
    return 20.0 * std::log10(amp);
}

double DB_ToAmp(double dB)
{
    return std::pow(10.0, dB / 20.0);
}

int64_t Round_ToInt(float x)
{
    const double v = x;
    const float rounded = v > 0.0 ? float(std::floor(v + 0.5)) : float(-std::floor(0.5 - v));
    return int64_t(rounded);
}

float Exponential_Map(float low, float mid, float high, float position)
{
    const double r = double(high) - double(low);
    const float k = float(2.0 * std::log(r / (double(mid) - double(low)) - 1.0));
    exponential_map_range = float(r);
    exponential_map_curve = k;
    return float(double(low) +
                 (r / (std::exp(double(k)) - 1.0)) * (std::exp(double(position) * k) - 1.0));
}

char* Samples_ToTimeString(int64_t samples, char* text, int64_t* milliseconds, float sampleRate)
{
    const float t = float(float(double(samples) + 0.99) / (double(sampleRate) * 3600.0));
    double rest = t;
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

    char buffer[64];
    if (hours) {
        std::snprintf(buffer, sizeof buffer, "%2hd:%02hd:%02hd.%01hd", hours, minutes, seconds,
                      tenths);
    } else if (minutes) {
        std::snprintf(buffer, sizeof buffer, "%2hd:%02hd.%01hd", minutes, seconds, tenths);
    } else {
        std::snprintf(buffer, sizeof buffer, "%2hd.%01hd", seconds, tenths);
    }
    // Strip leading blanks; the search gives up after 15 characters.
    int first = 0;
    while (first < 15 && buffer[first] == ' ') ++first;
    std::strncpy(text, buffer + first, 15);
    text[15] = '\0';
    return text;
}
