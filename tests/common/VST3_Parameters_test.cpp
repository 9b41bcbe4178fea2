#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

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

std::string text_of(const Parameter& p, ParamValue v)
{
    String128 s;
    p.toString(v, s);
    return VST3_BaseParameter::toUtf8(s);
}

bool parse(const Parameter& p, const std::string& text, ParamValue& v)
{
    String128 s;
    VST3_BaseParameter::copyText(text, s);
    return p.fromString(s, v);
}

// Releases an FObject-derived parameter made with new.
template <class P>
struct Owned {
    P* p;
    explicit Owned(P* made) : p(made) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { p->release(); }
    P* operator->() const { return p; }
    P& operator*() const { return *p; }
};

// A reading: on success `v` is expected (or, with `plain`, its plain value);
// on failure the value passed in is kept.
struct Reading {
    const Parameter* p;
    const char* text;
    bool ok;
    double v;
};

void expect_readings(std::initializer_list<Reading> reads, bool plain = false)
{
    for (const auto& r : reads) {
        ParamValue v = 0.625;
        EXPECT_EQ(parse(*r.p, r.text, v), r.ok) << r.text;
        if (!r.ok) {
            EXPECT_EQ(v, 0.625) << r.text;
        } else if (plain) {
            EXPECT_EQ(r.p->toPlain(v), r.v) << r.text;
        } else {
            EXPECT_DOUBLE_EQ(v, r.v) << r.text;
        }
    }
}

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

VST3_StringListParameter* fiveStrings()
{
    auto* list = new VST3_StringListParameter(10, u"Input type", u"InTP", 0);
    for (const char* s : {"Soprano", "Alto/Tenor", "Low Male", "Instrument", "Bass Inst"})
        list->appendString(std::string(s));
    return list;
}

} // namespace

TEST(ParameterKinds, BaseCopiesItsInfoAndReadsANormalizedNumber)
{
    const std::u16string longTitle(200, u'x');
    Owned<VST3_BaseParameter> base(new VST3_BaseParameter(
        5, longTitle.c_str(), nullptr, u"dB", 3, ParameterInfo::kCanAutomate, 7));
    const ParameterInfo& info = base->getInfo();
    EXPECT_EQ(info.id, 5u);
    EXPECT_EQ(std::u16string(info.title), std::u16string(127, u'x'));  // 128 units with the end
    EXPECT_EQ(info.shortTitle[0], 0);
    EXPECT_EQ(std::u16string(info.units), u"dB");
    EXPECT_EQ(info.stepCount, 3);
    EXPECT_EQ(info.flags, ParameterInfo::kCanAutomate);
    EXPECT_EQ(info.unitId, 7);
    EXPECT_EQ(info.defaultNormalizedValue, 0.0);

    // A leading number, held within 0..1; later text ignored.
    const VST3_BaseParameter* b = base.p;
    expect_readings({{b, "0.25", true, 0.25}, {b, "7", true, 1.0}, {b, "-3", true, 0.0},
                     {b, " +0.5", true, 0.5}, {b, "0.75 of it", true, 0.75}, {b, ".5", true, 0.5},
                     {b, "", false, 0}, {b, "abc", false, 0}, {b, "nan", false, 0}, {b, "inf", false, 0},
                     {b, "+-1", false, 0}, {b, "- 1", false, 0}});
}

TEST(ParameterKinds, StringListCutsTheRangeIntoEqualBinsAndReadsWholeEntries)
{
    Owned<VST3_StringListParameter> empty(new VST3_StringListParameter(10, u"Input type", u"InTP", 0));
    EXPECT_EQ(empty->getInfo().stepCount, -1);
    EXPECT_TRUE(empty->getInfo().flags & ParameterInfo::kIsList);
    EXPECT_EQ(empty->getInfo().units[0], 0);
    for (double v : {0.0, 0.7, 1.0}) EXPECT_EQ(empty->toPlain(v), 0.0) << v;
    EXPECT_EQ(text_of(*empty, 0.5), "");
    expect_readings({{empty.p, "", false, 0}});

    Owned<VST3_StringListParameter> list(fiveStrings());
    EXPECT_EQ(list->getInfo().stepCount, 4);
    // Five bins of width 0.2; 1.0 falls in the last, values outside 0..1 on the ends.
    const struct {
        double v;
        double plain;
        const char* text;
    } cases[] = {
        {0.0, 0, "Soprano"},    {0.1999, 0, "Soprano"},  {0.2, 1, "Alto/Tenor"},
        {0.5, 2, "Low Male"},   {0.7999, 3, "Instrument"}, {0.8, 4, "Bass Inst"},
        {1.0, 4, "Bass Inst"},  {-0.5, 0, "Soprano"},    {1e30, 4, "Bass Inst"},
        {notANumber, 0, "Soprano"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(list->toPlain(c.v), c.plain) << c.v;
        EXPECT_EQ(text_of(*list, c.v), c.text) << c.v;
    }
    for (int i = 0; i < 5; ++i) EXPECT_EQ(list->toPlain(list->toNormalized(i)), i);

    // Only whole entries, case and spaces as they are.
    const VST3_StringListParameter* l = list.p;
    expect_readings({{l, "Soprano", true, 0}, {l, "Alto/Tenor", true, 1}, {l, "Low Male", true, 2},
                     {l, "Instrument", true, 3}, {l, "Bass Inst", true, 4}, {l, "soprano", false, 0},
                     {l, "Sopran", false, 0}, {l, "Soprano ", false, 0}, {l, "Low male", false, 0},
                     {l, "2", false, 0}, {l, "", false, 0}},
                    true);
}

TEST(ParameterKinds, MultiStringArrayUsesOnlyTheArrayInForce)
{
    Owned<VST3_MultiStringArrayParameter> key(new VST3_MultiStringArrayParameter(2, u"Key", u"KeyP", 0));
    EXPECT_EQ(key->getInfo().stepCount, -1);
    EXPECT_TRUE(key->getInfo().flags & ParameterInfo::kIsList);
    EXPECT_EQ(key->toPlain(0.6), 0.0);
    EXPECT_EQ(text_of(*key, 0.6), "");
    expect_readings({{key.p, "C", false, 0}});
    EXPECT_FALSE(key->setCurrentArray(0));

    EXPECT_EQ(key->addStringArray({"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"}), 0);
    EXPECT_EQ(key->addStringArray({"C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B"}), 1);
    EXPECT_EQ(key->addStringArray({"C", "D", "E"}), 2);
    EXPECT_EQ(key->getCurrentArray(), 0);
    EXPECT_EQ(key->getInfo().stepCount, 11);

    // The same normalized value of index 1 names it in each spelling; a name
    // only in another array does not read.
    const struct {
        int array, stepCount;
        const char* nameOf1;
        const char* readable;
        int readIndex;
        const char* foreign;
    } cases[] = {
        {0, 11, "C#", "A#", 10, "Bb"}, {1, 11, "Db", "Bb", 10, "A#"},
        {2, 2, "D", "E", 2, "C#"},     {0, 11, "C#", "G", 7, "Gb"},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(key->setCurrentArray(c.array));
        EXPECT_EQ(key->getCurrentArray(), c.array);
        EXPECT_EQ(key->getInfo().stepCount, c.stepCount) << c.array;
        EXPECT_EQ(text_of(*key, key->toNormalized(1)), c.nameOf1) << c.array;
        EXPECT_EQ(key->toPlain(1.0), c.stepCount) << c.array;
        expect_readings({{key.p, c.readable, true, double(c.readIndex)}, {key.p, c.foreign, false, 0}}, true);
        for (int i = 0; i <= c.stepCount; ++i) EXPECT_EQ(key->toPlain(key->toNormalized(i)), i);
    }
    EXPECT_FALSE(key->setCurrentArray(3));
    EXPECT_FALSE(key->setCurrentArray(-1));
    EXPECT_EQ(key->getCurrentArray(), 0);
    EXPECT_EQ(key->getInfo().stepCount, 11);
}

TEST(ParameterKinds, ScaledWholeNumbersRoundHalfAwayFromZero)
{
    Owned<VST3_ScaledParameter> detune(
        new VST3_ScaledParameter(3, u"Detune", u"DetK", u"cents", -100, 100, 0, 0));
    EXPECT_EQ(detune->getInfo().defaultNormalizedValue, 0.5);
    EXPECT_EQ(detune->getNormalized(), 0.5);
    // y = 200 v - 100, rounded in single precision, halves away from zero,
    // then held within -100..100.
    const double cases[][2] = {
        {0.5, 0},      {0.0, -100},  {1.0, 100},   {0.5025, 1},  {0.4975, -1},  {0.5075, 2},
        {0.4925, -2},  {0.5125, 3},  {0.4875, -3}, {0.50245, 0}, {0.49755, 0},  {0.75, 50},
        {1.5, 100},    {-0.5, -100}, {1e30, 100},  {-1e30, -100}, {notANumber, -100},
        // y = 0.5 - 1e-10 is 0.5 in single precision, so it rounds up.
        {0.5025 - 5e-13, 1},
    };
    for (const auto& c : cases) EXPECT_EQ(detune->toPlain(c[0]), c[1]) << c[0];
}

TEST(ParameterKinds, ScaledEndsInEitherOrderTextsAndReading)
{
    Owned<VST3_ScaledParameter> whole(new VST3_ScaledParameter(3, u"Detune", u"DetK", u"cents", -100, 100, 0, 0));
    Owned<VST3_ScaledParameter> rising(new VST3_ScaledParameter(98, u"R", u"R", nullptr, -10, 10, 0, 1));
    Owned<VST3_ScaledParameter> tenths(new VST3_ScaledParameter(99, u"F", u"F", nullptr, 10, -10, 0, 1));
    Owned<VST3_ScaledParameter> hundredths(new VST3_ScaledParameter(97, u"H", u"H", nullptr, 0, 10, 0, 2));
    // Ends given high first: minPlain at 0 and maxPlain at 1 all the same.
    for (double v : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        EXPECT_DOUBLE_EQ(rising->toPlain(v), 20 * v - 10) << v;
        EXPECT_DOUBLE_EQ(tenths->toPlain(v), 10 - 20 * v) << v;
        EXPECT_DOUBLE_EQ(rising->toNormalized(20 * v - 10), v) << v;
        EXPECT_DOUBLE_EQ(tenths->toNormalized(10 - 20 * v), v) << v;
    }
    EXPECT_EQ(tenths->toNormalized(20), 0.0);
    EXPECT_EQ(tenths->toNormalized(-20), 1.0);

    const struct {
        const VST3_ScaledParameter* p;
        double v;
        const char* text;
    } texts[] = {
        {whole.p, 0.75, "50"},       {whole.p, 0.25, "-50"},        {whole.p, 0.5, "0"},
        {whole.p, 0.4875, "-3"},     {tenths.p, 0.25, "5.0"},       {tenths.p, 0.75, "-5.0"},
        {tenths.p, 0.0, "10.0"},     {hundredths.p, 0.123, "1.23"}, {hundredths.p, 1.0, "10.00"},
        {tenths.p, 0.5 + 1e-12, "0.0"},  // a hair below zero reads without a sign
    };
    for (const auto& t : texts) EXPECT_EQ(text_of(*t.p, t.v), t.text) << t.v;

    // A plain number, held within the ends.
    expect_readings({{whole.p, "-25", true, 0.375}, {whole.p, "250 cents", true, 1.0},
                     {whole.p, "-1000", true, 0.0}, {whole.p, "sharp", false, 0},
                     {tenths.p, "20", true, 0.0}, {tenths.p, "-20", true, 1.0},
                     {tenths.p, "2.5", true, 0.375}, {hundredths.p, "  +7.5", true, 0.75}});
}

TEST(ParameterKinds, NumbersIgnoreTheProcessLocale)
{
    // A host may switch to a locale with a decimal comma; the texts and their
    // reading stay in the "C" form.
    const char* chosen = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {
        if (std::setlocale(LC_ALL, name)) {
            chosen = name;
            break;
        }
    }
    if (!chosen) GTEST_SKIP() << "no locale with a decimal comma is installed";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 5.5);
    const bool commaLocale = std::string(probe) == "5,5";

    Owned<VST3_ScaledParameter> rate(new VST3_ScaledParameter(7, u"Vibrato Rate", u"VRtK", u"hz", 0.1, 10, 5.5, 1));
    Owned<VST3_ExponentialParameter> speed(
        new VST3_ExponentialParameter(4, u"Speed", u"S", nullptr, 0, 50, 400, 20, 2));
    Owned<VST3_SampleRateParameter> sr(
        new VST3_SampleRateParameter(90, u"Sample Rate", u"SRtX", u"Hz", 8000, 384000, 44100, 0));
    const std::string rateText = text_of(*rate, rate->toNormalized(5.5));
    const std::string speedText = text_of(*speed, speed->toNormalized(50));
    const std::string srText = text_of(*sr, sr->toNormalized(44100));
    ParamValue v = 0;
    const bool read = parse(*rate, "5.5", v);
    std::setlocale(LC_ALL, "C");

    EXPECT_TRUE(commaLocale) << chosen;
    EXPECT_EQ(rateText, "5.5");
    EXPECT_EQ(speedText, "50.00");
    EXPECT_EQ(srText, "44.1 kHz");
    EXPECT_TRUE(read);
    EXPECT_DOUBLE_EQ(v, (5.5 - 0.1) / 9.9);
}

TEST(ParameterKinds, SampleRateReadsInKilohertz)
{
    Owned<VST3_SampleRateParameter> sr(
        new VST3_SampleRateParameter(90, u"Sample Rate", u"SRtX", u"Hz", 8000, 384000, 44100, 0));
    EXPECT_DOUBLE_EQ(sr->toPlain(sr->getNormalized()), 44100);
    const struct {
        double hertz;
        const char* text;
    } cases[] = {
        {8000, "8 kHz"},       {11025, "11.025 kHz"}, {22050, "22.05 kHz"}, {44100, "44.1 kHz"},
        {48000, "48 kHz"},     {88200, "88.2 kHz"},   {176400, "176.4 kHz"}, {192000, "192 kHz"},
        {352800, "352.8 kHz"}, {384000, "384 kHz"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(sr->toPlain(sr->toNormalized(c.hertz)), c.hertz) << c.hertz;
        EXPECT_EQ(text_of(*sr, sr->toNormalized(c.hertz)), c.text) << c.hertz;
    }
    // Reading is that of the scaled kind: hertz, held within the ends.
    expect_readings({{sr.p, "48000", true, 48000}, {sr.p, "1000000", true, 384000}}, true);
}

TEST(ParameterKinds, ExponentialCurveThroughTheMidAndBack)
{
    // 0..400 with mid 50: k = 2 ln(400 / 50 - 1) = ln 49, so
    // y = 400 / 48 * (49^v - 1) and v = ln(48 y / 400 + 1) / ln 49.
    const auto curve = [](double v) { return 400.0 / 48.0 * (std::pow(49.0, v) - 1.0); };
    const auto inverse = [](double y) {
        return std::log(48.0 * std::clamp(y, 0.0, 400.0) / 400.0 + 1.0) / std::log(49.0);
    };
    Owned<VST3_ExponentialParameter> speed(
        new VST3_ExponentialParameter(4, u"Retune Speed", u"RetK", u"msec", 0, 50, 400, 20, 0));
    Owned<VST3_ExponentialParameter> fine(new VST3_ExponentialParameter(5, u"Fine", u"Fin", nullptr, 0, 50, 400, 20, 2));
    Owned<VST3_ExponentialParameter> down(new VST3_ExponentialParameter(6, u"Down", u"Dwn", nullptr, 400, 50, 0, 20, 0));
    EXPECT_NEAR(fine->toPlain(0.5), 50.0, 2e-4);
    for (double v : {0.0, 0.1, 0.25, 0.5, 0.75, 0.9, 1.0}) {
        const double whole = std::round(curve(v));
        char fineText[32];
        std::snprintf(fineText, sizeof fineText, "%.2f", curve(v));
        EXPECT_EQ(speed->toPlain(v), whole) << v;
        EXPECT_NEAR(fine->toPlain(v), curve(v), 2e-4) << v;
        EXPECT_EQ(text_of(*fine, v), fineText) << v;
        EXPECT_EQ(text_of(*speed, v), std::to_string(int(whole))) << v;
        EXPECT_EQ(down->toPlain(1.0 - v), whole) << v;  // the same curve run backwards
    }
    for (double v : {-1.0, 2.0, 1e30, -1e30, notANumber}) {
        const double y = speed->toPlain(v);
        EXPECT_TRUE(y >= 0.0 && y <= 400.0) << v;
    }
    EXPECT_EQ(speed->toPlain(1e30), 400.0);

    for (double plain : {0.0, 1.0, 14.0, 50.0, 100.0, 146.0, 399.0, 400.0, -10.0, 1000.0}) {
        EXPECT_NEAR(speed->toNormalized(plain), inverse(plain), 1e-6) << plain;
        EXPECT_NEAR(down->toNormalized(plain), 1.0 - inverse(plain), 1e-6) << plain;
    }
    for (int plain = 0; plain <= 400; ++plain) {
        ASSERT_EQ(speed->toPlain(speed->toNormalized(plain)), plain);
        ASSERT_EQ(down->toPlain(down->toNormalized(plain)), plain);
    }
    EXPECT_NEAR(speed->getInfo().defaultNormalizedValue, inverse(20), 1e-6);
    expect_readings({{speed.p, "50", true, 50}, {speed.p, "146 msec", true, 146}, {speed.p, "1000", true, 400},
                     {speed.p, "-5", true, 0}, {speed.p, "fast", false, 0}},
                    true);
}

TEST(ParameterKinds, TogglesStoreZeroOrOneAndReadOffAtTheMiddle)
{
    Owned<VST3_ToggleParameter> toggle(new VST3_ToggleParameter(70, u"Use Formants", u"UsFB", 0));
    Owned<Corvane_MIDIOctavesParameter> octaves(new Corvane_MIDIOctavesParameter(58, u"MIDI Octaves", u"MiOR", 0));
    EXPECT_EQ(toggle->getInfo().stepCount, 1);
    EXPECT_EQ(octaves->getInfo().stepCount, 1);
    EXPECT_EQ(toggle->getInfo().units[0], 0);

    // At exactly 0.5 the stored and plain value is 1.0 but the text reads
    // off: the two tests differ on purpose.
    for (double v : {0.0, 0.3, 0.4999, 0.5, 0.5001, 0.7, 1.0}) {
        const double stored = v >= 0.5 ? 1.0 : 0.0;
        const bool on = v > 0.5;
        toggle->setNormalized(v);
        octaves->setNormalized(v);
        EXPECT_EQ(toggle->getNormalized(), stored) << v;
        EXPECT_EQ(octaves->getNormalized(), stored) << v;
        EXPECT_EQ(toggle->toPlain(v), stored) << v;
        EXPECT_EQ(octaves->toPlain(v), stored) << v;
        EXPECT_EQ(text_of(*toggle, v), on ? "On" : "Off") << v;
        EXPECT_EQ(text_of(*octaves, v), on ? "All" : "AsPlayed") << v;
    }
    // Each reads its own two texts, exactly, and numbers as the base does.
    expect_readings({{toggle.p, "On", true, 1.0}, {toggle.p, "Off", true, 0.0}, {toggle.p, "0.7", true, 1.0},
                     {toggle.p, "0.2", true, 0.0}, {toggle.p, "on", false, 0}, {toggle.p, "All", false, 0},
                     {octaves.p, "All", true, 1.0}, {octaves.p, "AsPlayed", true, 0.0}, {octaves.p, "1", true, 1.0},
                     {octaves.p, "On", false, 0}, {octaves.p, "as played", false, 0}});
}

TEST(ParameterKinds, DefaultPlainLeavesTheCurrentValue)
{
    Owned<VST3_ScaledParameter> scaled(new VST3_ScaledParameter(1, u"P", u"P", nullptr, 0, 100, 10, 0));
    Owned<VST3_StringListParameter> list(fiveStrings());
    Owned<VST3_ExponentialParameter> curve(new VST3_ExponentialParameter(4, u"E", u"E", nullptr, 0, 50, 400, 20, 0));
    Owned<VST3_ToggleParameter> toggle(new VST3_ToggleParameter(70, u"T", u"T", 0));
    const struct {
        VST3_BaseParameter* p;
        double current, defaultPlain, defaultNormalized;
    } cases[] = {
        {scaled.p, 0.9, 30, 0.3},
        {list.p, 0.1, 2, 0.5},  // index / stepCount, as hosts step lists
        {curve.p, 0.2, 50, 0.5},
        {toggle.p, 0.0, 1, 1.0},
    };
    for (const auto& c : cases) {
        c.p->setNormalized(c.current);
        c.p->setDefaultPlain(c.defaultPlain);
        EXPECT_NEAR(c.p->getInfo().defaultNormalizedValue, c.defaultNormalized, 1e-6) << c.defaultPlain;
        EXPECT_EQ(c.p->getNormalized(), c.current) << c.defaultPlain;
    }
}

TEST(ParameterKinds, TextsConvertBetweenUtf8AndUtf16)
{
    const std::pair<const char*, std::u16string> cases[] = {
        {"Db", u"Db"},
        {"C\u266F", u"C\u266F"},          // three bytes, one unit
        {"\u00B0", u"\u00B0"},            // two bytes
        {"G\U0001D12A", u"G\U0001D12A"},  // four bytes, a surrogate pair
    };
    String128 wide;
    for (const auto& c : cases) {
        VST3_BaseParameter::copyText(c.first, wide);
        EXPECT_EQ(std::u16string(wide), c.second) << c.first;
        EXPECT_EQ(VST3_BaseParameter::toUtf8(wide), c.first) << c.first;
    }
    // Long texts are cut to 127 units, never inside a pair.
    VST3_BaseParameter::copyText(std::string(200, 'a'), wide);
    EXPECT_EQ(std::u16string(wide).size(), 127u);
    VST3_BaseParameter::copyText(std::string(126, 'a') + "\U0001D12A", wide);
    EXPECT_EQ(std::u16string(wide), std::u16string(126, u'a'));
}
