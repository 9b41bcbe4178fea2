#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "Common_VST3/VST3_ExponentialParameter.h"
#include "Common_VST3/VST3_MultiStringArrayParameter.h"
#include "Common_VST3/VST3_SampleRateParameter.h"
#include "Common_VST3/VST3_ScaledParameter.h"
#include "Common_VST3/VST3_StringListParameter.h"
#include "Common_VST3/VST3_ToggleParameter.h"
#include "effect/Corvane_MIDIOctavesParameter.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::string text_of(const Parameter* p, ParamValue v)
{
    String128 s;
    p->toString(v, s);
    return VST3_BaseParameter::toUtf8(s);
}

// A text read by p: on success `v` is the normalized value (with `plain`,
// the plain one); on failure the value passed in stays.
struct Reading {
    const Parameter* p;
    const char* text;
    bool ok;
    double v;
};

void expect_readings(std::initializer_list<Reading> reads, bool plain = false)
{
    for (const auto& r : reads) {
        String128 s;
        VST3_BaseParameter::copyText(r.text, s);
        ParamValue v = 0.625;
        EXPECT_EQ(r.p->fromString(s, v), r.ok) << r.text;
        if (!r.ok) {
            EXPECT_EQ(v, 0.625) << r.text;
        } else if (plain) {
            EXPECT_EQ(r.p->toPlain(v), r.v) << r.text;
        } else {
            EXPECT_DOUBLE_EQ(v, r.v) << r.text;
        }
    }
}

IPtr<VST3_StringListParameter> fiveStrings()
{
    auto list = owned(new VST3_StringListParameter(10, u"Input type", u"InTP", 0));
    for (const char* s : {"Soprano", "Alto/Tenor", "Low Male", "Instrument", "Bass Inst"})
        list->appendString(std::string(s));
    return list;
}

} // namespace

TEST(ParameterKinds, BaseConvertsUtf8CutsTextsAndReadsALeadingNormalizedNumber)
{
    // One-, three-, two- and four-byte characters; the last a surrogate pair.
    const std::pair<const char*, std::u16string> cases[] = {
        {"Db", u"Db"}, {"C\u266F", u"C\u266F"}, {"\u00B0", u"\u00B0"}, {"G\U0001D12A", u"G\U0001D12A"}};
    String128 wide;
    for (const auto& [narrow, utf16] : cases) {
        VST3_BaseParameter::copyText(narrow, wide);
        EXPECT_EQ(std::u16string(wide), utf16) << narrow;
        EXPECT_EQ(VST3_BaseParameter::toUtf8(wide), narrow) << narrow;
    }
    // Texts are cut to 127 units, never inside a pair.
    VST3_BaseParameter::copyText(std::string(126, 'a') + "\U0001D12A", wide);
    EXPECT_EQ(std::u16string(wide), std::u16string(126, u'a'));
    const std::u16string longTitle(200, u'x');
    auto b = owned(new VST3_BaseParameter(5, longTitle.c_str(), nullptr, u"dB", 3, 0, 7));
    EXPECT_EQ(std::u16string(b->getInfo().title), std::u16string(127, u'x'));
    EXPECT_EQ(b->getInfo().shortTitle[0], 0);
    // Held within 0..1; later text ignored.
    expect_readings({{b, "0.25", true, 0.25}, {b, "7", true, 1.0}, {b, "-3", true, 0.0}, {b, " +0.5", true, 0.5},
                     {b, "0.75 of it", true, 0.75}, {b, ".5", true, 0.5}, {b, "", false, 0}, {b, "abc", false, 0},
                     {b, "nan", false, 0}, {b, "inf", false, 0}, {b, "+-1", false, 0}, {b, "- 1", false, 0}});
}

TEST(ParameterKinds, StringListCutsTheRangeIntoEqualBinsAndReadsWholeEntries)
{
    auto l = fiveStrings();
    EXPECT_EQ(l->getInfo().stepCount, 4);
    // Five bins of width 0.2; 1.0 falls in the last, values outside 0..1 on the ends.
    const std::tuple<double, double, const char*> cases[] = {
        {0.0, 0, "Soprano"}, {0.1999, 0, "Soprano"}, {0.2, 1, "Alto/Tenor"},  {0.5, 2, "Low Male"},
        {0.7999, 3, "Instrument"}, {0.8, 4, "Bass Inst"}, {1.0, 4, "Bass Inst"}, {-0.5, 0, "Soprano"},
        {1e30, 4, "Bass Inst"}, {notANumber, 0, "Soprano"},
    };
    for (const auto& [v, plain, text] : cases) {
        EXPECT_EQ(l->toPlain(v), plain) << v;
        EXPECT_EQ(text_of(l, v), text) << v;
    }
    for (int i = 0; i < 5; ++i) EXPECT_EQ(l->toPlain(l->toNormalized(i)), i);
    // Only whole entries, case and spaces as they are.
    expect_readings({{l, "Soprano", true, 0}, {l, "Alto/Tenor", true, 1}, {l, "Bass Inst", true, 4},
                     {l, "soprano", false, 0}, {l, "Sopran", false, 0}, {l, "Soprano ", false, 0},
                     {l, "Low male", false, 0}, {l, "2", false, 0}, {l, "", false, 0}},
                    true);
}

TEST(ParameterKinds, MultiStringArrayUsesOnlyTheArrayInForce)
{
    // Empty, this kind and the single list have no step, value or text.
    auto key = owned(new VST3_MultiStringArrayParameter(2, u"Key", u"KeyP", 0));
    auto empty = owned(new VST3_StringListParameter(10, u"Input type", u"InTP", 0));
    for (const Parameter* p : {static_cast<Parameter*>(key), static_cast<Parameter*>(empty)}) {
        EXPECT_EQ(p->getInfo().stepCount, -1);
        EXPECT_EQ(p->toPlain(0.6), 0.0);
        EXPECT_EQ(text_of(p, 0.6), "");
        expect_readings({{p, "C", false, 0}, {p, "", false, 0}});
    }
    EXPECT_FALSE(key->setCurrentArray(0));

    EXPECT_EQ(key->addStringArray({"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"}), 0);
    EXPECT_EQ(key->addStringArray({"C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B"}), 1);
    EXPECT_EQ(key->addStringArray({"C", "D", "E"}), 2);
    EXPECT_EQ(key->getCurrentArray(), 0) << "the first array comes into force";
    EXPECT_EQ(key->getInfo().stepCount, 11);
    // Index 1 is named in each spelling; a name only in another array does not read.
    const std::tuple<int, int, const char*, const char*, double, const char*> cases[] = {
        {1, 11, "Db", "Bb", 10, "A#"}, {2, 2, "D", "E", 2, "C#"}, {0, 11, "C#", "G", 7, "Gb"}};
    for (const auto& [array, stepCount, nameOf1, readable, readIndex, foreign] : cases) {
        ASSERT_TRUE(key->setCurrentArray(array));
        EXPECT_EQ(key->getInfo().stepCount, stepCount) << array;
        EXPECT_EQ(text_of(key, key->toNormalized(1)), nameOf1) << array;
        expect_readings({{key, readable, true, readIndex}, {key, foreign, false, 0}}, true);
        for (int i = 0; i <= stepCount; ++i) EXPECT_EQ(key->toPlain(key->toNormalized(i)), i);
        EXPECT_EQ(key->toPlain(1.0), stepCount) << array;
    }
    EXPECT_FALSE(key->setCurrentArray(3) || key->setCurrentArray(-1));
    EXPECT_EQ(key->getInfo().stepCount, 11) << "an unknown index changes nothing";
}

TEST(ParameterKinds, ScaledRoundsHalfAwayFromZeroTakesEndsInEitherOrderAndReadsPlainNumbers)
{
    auto whole = owned(new VST3_ScaledParameter(3, u"Detune", u"DetK", u"cents", -100, 100, 0, 0));
    auto tenths = owned(new VST3_ScaledParameter(99, u"F", u"F", nullptr, 10, -10, 0, 1));
    auto hundredths = owned(new VST3_ScaledParameter(97, u"H", u"H", nullptr, 0, 10, 0, 2));
    auto sr = owned(new VST3_SampleRateParameter(90, u"Sample Rate", u"SRtX", u"Hz", 8000, 384000, 44100, 0));
    EXPECT_EQ(whole->getNormalized(), 0.5) << "starts at the default";
    // y = 200 v - 100, rounded in single precision, halves away from zero,
    // then held within -100..100. y = 0.5 - 1e-10 is 0.5 in single precision.
    const double rounding[][2] = {
        {0.5, 0},     {0.0, -100},   {1.0, 100},    {0.5025, 1},    {0.4975, -1},      {0.5075, 2},
        {0.4925, -2}, {0.5125, 3},   {0.4875, -3},  {0.50245, 0},   {0.49755, 0},      {0.75, 50},
        {1.5, 100},   {-0.5, -100},  {1e30, 100},   {-1e30, -100},  {notANumber, -100}, {0.5025 - 5e-13, 1},
    };
    for (const auto& c : rounding) EXPECT_EQ(whole->toPlain(c[0]), c[1]) << c[0];
    // Ends given high first: minPlain at 0 and maxPlain at 1 all the same.
    for (double v : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        EXPECT_DOUBLE_EQ(tenths->toPlain(v), 10 - 20 * v) << v;
        EXPECT_DOUBLE_EQ(tenths->toNormalized(10 - 20 * v), v) << v;
    }

    const std::tuple<const Parameter*, double, const char*> texts[] = {
        {whole, 0.75, "50"}, {whole, 0.25, "-50"}, {whole, 0.4875, "-3"}, {tenths, 0.25, "5.0"},
        {tenths, 0.75, "-5.0"}, {hundredths, 0.123, "1.23"}, {hundredths, 1.0, "10.00"},
        {tenths, 0.5 + 1e-12, "0.0"},  // a hair below zero reads without a sign
    };
    for (const auto& [p, v, text] : texts) EXPECT_EQ(text_of(p, v), text) << v;
    expect_readings({{whole, "-25", true, 0.375}, {whole, "250 cents", true, 1.0}, {whole, "-1000", true, 0.0},
                     {whole, "sharp", false, 0}, {tenths, "20", true, 0.0}, {tenths, "-20", true, 1.0},
                     {tenths, "2.5", true, 0.375}, {hundredths, "  +7.5", true, 0.75}});

    // Sample rates show in kilohertz and read, as the scaled kind, in hertz.
    const std::pair<double, const char*> rates[] = {
        {8000, "8 kHz"},   {11025, "11.025 kHz"}, {22050, "22.05 kHz"},   {44100, "44.1 kHz"},   {48000, "48 kHz"},
        {88200, "88.2 kHz"}, {176400, "176.4 kHz"}, {192000, "192 kHz"}, {352800, "352.8 kHz"}, {384000, "384 kHz"},
    };
    for (const auto& [hertz, text] : rates) {
        EXPECT_EQ(sr->toPlain(sr->toNormalized(hertz)), hertz) << hertz;
        EXPECT_EQ(text_of(sr, sr->toNormalized(hertz)), text) << hertz;
    }
    expect_readings({{sr, "48000", true, 48000}, {sr, "1000000", true, 384000}}, true);
}

TEST(ParameterKinds, NumbersIgnoreTheProcessLocale)
{
    // A host may switch to a locale with a decimal comma; texts and their
    // reading stay in the "C" form.
    const char* chosen = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
        if (!chosen && std::setlocale(LC_ALL, name)) chosen = name;
    if (!chosen) GTEST_SKIP() << "no locale with a decimal comma is installed";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 5.5);

    auto rate = owned(new VST3_ScaledParameter(7, u"Vibrato Rate", u"VRtK", u"hz", 0.1, 10, 5.5, 1));
    auto speed = owned(new VST3_ExponentialParameter(4, u"Speed", u"S", nullptr, 0, 50, 400, 20, 2));
    auto sr = owned(new VST3_SampleRateParameter(90, u"Sample Rate", u"SRtX", u"Hz", 8000, 384000, 44100, 0));
    const std::string texts = text_of(rate, rate->toNormalized(5.5)) + " " + text_of(speed, speed->toNormalized(50)) +
                              " " + text_of(sr, sr->toNormalized(44100));
    String128 s;
    VST3_BaseParameter::copyText("5.5", s);
    ParamValue v = 0;
    const bool read = rate->fromString(s, v);
    std::setlocale(LC_ALL, "C");

    EXPECT_STREQ(probe, "5,5") << chosen;
    EXPECT_EQ(texts, "5.5 50.00 44.1 kHz");
    EXPECT_TRUE(read);
    EXPECT_DOUBLE_EQ(v, (5.5 - 0.1) / 9.9);
}

TEST(ParameterKinds, ExponentialCurveThroughTheMidAndBack)
{
    // 0..400 with mid 50: k = 2 ln(400 / 50 - 1) = ln 49, so
    // y = 400 / 48 * (49^v - 1) and v = ln(48 y / 400 + 1) / ln 49.
    const auto curve = [](double v) { return 400.0 / 48.0 * (std::pow(49.0, v) - 1.0); };
    const auto inverse = [](double y) {
        return std::log(48.0 * std::clamp(y, 0.0, 400.0) / 400.0 + 1.0) / std::log(49.0);
    };
    auto speed = owned(new VST3_ExponentialParameter(4, u"Retune Speed", u"RetK", u"msec", 0, 50, 400, 20, 0));
    auto fine = owned(new VST3_ExponentialParameter(5, u"Fine", u"Fin", nullptr, 0, 50, 400, 20, 2));
    auto down = owned(new VST3_ExponentialParameter(6, u"Down", u"Dwn", nullptr, 400, 50, 0, 20, 0));
    for (double v : {0.0, 0.1, 0.25, 0.5, 0.75, 0.9, 1.0}) {
        const double whole = std::round(curve(v));
        char fineText[32];
        std::snprintf(fineText, sizeof fineText, "%.2f", curve(v));
        EXPECT_EQ(speed->toPlain(v), whole) << v;
        EXPECT_NEAR(fine->toPlain(v), curve(v), 2e-4) << v;
        EXPECT_EQ(text_of(fine, v), fineText) << v;
        EXPECT_EQ(text_of(speed, v), std::to_string(int(whole))) << v;
        EXPECT_EQ(down->toPlain(1.0 - v), whole) << v;  // the same curve run backwards
    }
    // Held within 0..1 first, NaN taken as 0.
    for (const auto& [v, y] : {std::pair{-1.0, 0.0}, {2.0, 400.0}, {-1e30, 0.0}, {1e30, 400.0}, {notANumber, 0.0}})
        EXPECT_EQ(speed->toPlain(v), y) << v;

    for (double plain : {0.0, 1.0, 14.0, 50.0, 100.0, 146.0, 399.0, 400.0, -10.0, 1000.0}) {
        EXPECT_NEAR(speed->toNormalized(plain), inverse(plain), 1e-6) << plain;
        EXPECT_NEAR(down->toNormalized(plain), 1.0 - inverse(plain), 1e-6) << plain;
    }
    for (int plain = 0; plain <= 400; ++plain) {
        ASSERT_EQ(speed->toPlain(speed->toNormalized(plain)), plain);
        ASSERT_EQ(down->toPlain(down->toNormalized(plain)), plain);
    }
    EXPECT_NEAR(speed->getInfo().defaultNormalizedValue, inverse(20), 1e-6);
    expect_readings({{speed, "50", true, 50}, {speed, "146 msec", true, 146}, {speed, "1000", true, 400},
                     {speed, "-5", true, 0}, {speed, "fast", false, 0}},
                    true);
}

TEST(ParameterKinds, TogglesStoreZeroOrOneAndReadOffAtTheMiddle)
{
    auto toggle = owned(new VST3_ToggleParameter(70, u"Use Formants", u"UsFB", 0));
    auto octaves = owned(new Corvane_MIDIOctavesParameter(58, u"MIDI Octaves", u"MiOR", 0));
    EXPECT_EQ(toggle->getInfo().stepCount, 1);
    EXPECT_EQ(octaves->getInfo().stepCount, 1);
    // At exactly 0.5 the stored and plain value is 1.0 but the text reads off.
    for (double v : {0.0, 0.3, 0.4999, 0.5, 0.5001, 0.7, 1.0}) {
        const double stored = v >= 0.5 ? 1.0 : 0.0;
        const bool on = v > 0.5;
        for (VST3_ToggleParameter* p : {toggle.get(), static_cast<VST3_ToggleParameter*>(octaves.get())}) {
            p->setNormalized(v);
            EXPECT_EQ(p->getNormalized(), stored) << v;
            EXPECT_EQ(p->toPlain(v), stored) << v;
        }
        EXPECT_EQ(text_of(toggle, v), on ? "On" : "Off") << v;
        EXPECT_EQ(text_of(octaves, v), on ? "All" : "AsPlayed") << v;
    }
    // Each reads its own two texts, exactly, and numbers as the base does.
    expect_readings({{toggle, "On", true, 1.0}, {toggle, "Off", true, 0.0}, {toggle, "0.7", true, 1.0},
                     {toggle, "0.2", true, 0.0}, {toggle, "on", false, 0}, {toggle, "All", false, 0},
                     {octaves, "All", true, 1.0}, {octaves, "AsPlayed", true, 0.0}, {octaves, "1", true, 1.0},
                     {octaves, "On", false, 0}, {octaves, "as played", false, 0}});
}

TEST(ParameterKinds, DefaultPlainLeavesTheCurrentValue)
{
    auto scaled = owned(new VST3_ScaledParameter(1, u"P", u"P", nullptr, 0, 100, 10, 0));
    auto list = fiveStrings();
    auto curve = owned(new VST3_ExponentialParameter(4, u"E", u"E", nullptr, 0, 50, 400, 20, 0));
    auto toggle = owned(new VST3_ToggleParameter(70, u"T", u"T", 0));
    // The list's default is index / stepCount, as hosts step lists.
    const std::tuple<VST3_BaseParameter*, double, double, double> cases[] = {
        {scaled, 0.9, 30, 0.3}, {list, 0.1, 2, 0.5}, {curve, 0.2, 50, 0.5}, {toggle, 0.0, 1, 1.0}};
    for (const auto& [p, current, defaultPlain, defaultNormalized] : cases) {
        p->setNormalized(current);
        p->setDefaultPlain(defaultPlain);
        EXPECT_NEAR(p->getInfo().defaultNormalizedValue, defaultNormalized, 1e-6) << defaultPlain;
        EXPECT_EQ(p->getNormalized(), current) << defaultPlain;
    }
}
