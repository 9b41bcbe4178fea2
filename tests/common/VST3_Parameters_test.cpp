#include <gtest/gtest.h>

#include <cmath>
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
    ~Owned() { p->release(); }
    P* operator->() const { return p; }
    P& operator*() const { return *p; }
};

} // namespace

TEST(ParameterKinds, StringListBinsAndTexts)
{
    Owned<VST3_StringListParameter> list(new VST3_StringListParameter(10, u"Input type", u"InTP", 0));
    EXPECT_EQ(list->getInfo().stepCount, -1);
    EXPECT_EQ(list->toPlain(0.7), 0.0);
    EXPECT_TRUE(list->getInfo().flags & ParameterInfo::kIsList);
    for (const char* s : {"Soprano", "Alto/Tenor", "Low Male", "Instrument", "Bass Inst"})
        list->appendString(std::string(s));
    EXPECT_EQ(list->getInfo().stepCount, 4);

    const struct {
        double v;
        double plain;
        const char* text;
    } cases[] = {{0.0, 0, "Soprano"}, {0.2, 1, "Alto/Tenor"}, {0.5, 2, "Low Male"},
                 {0.99, 4, "Bass Inst"}, {1.0, 4, "Bass Inst"}, {0.7999, 3, "Instrument"}};
    for (const auto& c : cases) {
        EXPECT_EQ(list->toPlain(c.v), c.plain) << c.v;
        EXPECT_EQ(text_of(*list, c.v), c.text) << c.v;
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(list->toPlain(list->toNormalized(i)), i);
        ParamValue v = -1;
        ASSERT_TRUE(parse(*list, text_of(*list, list->toNormalized(i)), v));
        EXPECT_EQ(list->toPlain(v), i);
    }
    // Whole strings, case-sensitive; a miss keeps the value.
    ParamValue v = 0.123;
    EXPECT_FALSE(parse(*list, "soprano", v));
    EXPECT_FALSE(parse(*list, "Sopran", v));
    EXPECT_FALSE(parse(*list, "2", v));
    EXPECT_EQ(v, 0.123);
}

TEST(ParameterKinds, MultiStringArrayFollowsTheListInForce)
{
    Owned<VST3_MultiStringArrayParameter> key(new VST3_MultiStringArrayParameter(2, u"Key", u"KeyP", 0));
    key->addStringArray({"C", "C#", "D"});
    key->addStringArray({"C", "Db", "D", "Eb"});
    EXPECT_EQ(key->getCurrentArray(), 0);
    EXPECT_EQ(key->getInfo().stepCount, 2);
    ParamValue v = 0;
    EXPECT_TRUE(parse(*key, "C#", v));
    EXPECT_EQ(key->toPlain(v), 1.0);
    EXPECT_FALSE(parse(*key, "Db", v));

    ASSERT_TRUE(key->setCurrentArray(1));
    EXPECT_EQ(key->getInfo().stepCount, 3);
    EXPECT_FALSE(parse(*key, "C#", v));
    EXPECT_TRUE(parse(*key, "Eb", v));
    EXPECT_EQ(key->toPlain(v), 3.0);
    EXPECT_EQ(text_of(*key, key->toNormalized(1)), "Db");
    EXPECT_FALSE(key->setCurrentArray(2));
    EXPECT_EQ(key->getCurrentArray(), 1);
}

TEST(ParameterKinds, ScaledStraightLines)
{
    Owned<VST3_ScaledParameter> detune(
        new VST3_ScaledParameter(3, u"Detune", u"DetK", u"cents", -100, 100, 0, 0));
    EXPECT_EQ(detune->toPlain(0.5), 0.0);
    EXPECT_EQ(detune->toPlain(0.0), -100.0);
    EXPECT_EQ(detune->toPlain(1.0), 100.0);
    // -0.5 and 0.5 round away from zero; plain values stay within the ends.
    EXPECT_EQ(detune->toPlain(0.4975), -1.0);
    EXPECT_EQ(detune->toPlain(0.5025), 1.0);
    EXPECT_EQ(detune->toPlain(1.5), 100.0);
    EXPECT_EQ(detune->toPlain(-0.5), -100.0);
    EXPECT_EQ(text_of(*detune, 0.75), "50");
    EXPECT_EQ(detune->getInfo().defaultNormalizedValue, 0.5);

    ParamValue v = 0;
    EXPECT_TRUE(parse(*detune, "-25", v));
    EXPECT_DOUBLE_EQ(v, 0.375);
    EXPECT_TRUE(parse(*detune, "250 cents", v));
    EXPECT_DOUBLE_EQ(v, 1.0);
    EXPECT_FALSE(parse(*detune, "sharp", v));

    // Ends given high first: minPlain at 0 and maxPlain at 1 all the same.
    Owned<VST3_ScaledParameter> reversed(new VST3_ScaledParameter(99, u"R", u"R", nullptr, 10, -10, 0, 1));
    EXPECT_EQ(reversed->toPlain(0.0), 10.0);
    EXPECT_EQ(reversed->toPlain(1.0), -10.0);
    EXPECT_DOUBLE_EQ(reversed->toPlain(0.25), 5.0);
    EXPECT_DOUBLE_EQ(reversed->toNormalized(5.0), 0.25);
    EXPECT_EQ(text_of(*reversed, 0.25), "5.0");
    EXPECT_TRUE(parse(*reversed, "20", v));
    EXPECT_DOUBLE_EQ(v, 0.0);

    Owned<VST3_ScaledParameter> rate(new VST3_ScaledParameter(7, u"Vibrato Rate", u"VRtK", u"hz", 0.1, 10, 5.5, 1));
    EXPECT_EQ(text_of(*rate, rate->toNormalized(5.5)), "5.5");

    Owned<VST3_SampleRateParameter> sr(new VST3_SampleRateParameter(90, u"Sample Rate", u"SRtX", u"Hz", 8000, 384000, 44100, 0));
    EXPECT_EQ(text_of(*sr, sr->toNormalized(44100)), "44.1 kHz");
    EXPECT_EQ(text_of(*sr, sr->toNormalized(48000)), "48 kHz");
}

TEST(ParameterKinds, ExponentialCurve)
{
    Owned<VST3_ExponentialParameter> speed(
        new VST3_ExponentialParameter(4, u"Retune Speed", u"RetK", u"msec", 0, 50, 400, 20, 0));
    EXPECT_EQ(speed->toPlain(0.0), 0.0);
    EXPECT_EQ(speed->toPlain(0.5), 50.0);
    EXPECT_EQ(speed->toPlain(1.0), 400.0);
    // Steep at the top: the last tenth covers more than the first five.
    const double top = speed->toPlain(1.0) - speed->toPlain(0.9);
    const double bottom = speed->toPlain(0.5) - speed->toPlain(0.0);
    EXPECT_GT(top, bottom);
    for (double plain : {0.0, 1.0, 7.0, 20.0, 50.0, 123.0, 399.0, 400.0})
        EXPECT_EQ(speed->toPlain(speed->toNormalized(plain)), plain) << plain;
    EXPECT_EQ(text_of(*speed, speed->toNormalized(20)), "20");
    EXPECT_NEAR(speed->getInfo().defaultNormalizedValue, speed->toNormalized(20), 1e-12);

    // Reversed ends and decimals.
    Owned<VST3_ExponentialParameter> down(
        new VST3_ExponentialParameter(98, u"D", u"D", nullptr, 10, 2, 0, 5, 2));
    EXPECT_NEAR(down->toPlain(0.0), 10.0, 1e-5);
    EXPECT_NEAR(down->toPlain(1.0), 0.0, 1e-5);
    EXPECT_NEAR(down->toPlain(0.5), 2.0, 1e-5);
    EXPECT_NEAR(down->toNormalized(down->toPlain(0.3)), 0.3, 1e-5);
    EXPECT_EQ(text_of(*down, down->toNormalized(2.0)), "2.00");
    ParamValue v = 0;
    EXPECT_TRUE(parse(*down, "50", v));
    EXPECT_NEAR(v, 0.0, 1e-9);
}

TEST(ParameterKinds, TogglesAndTheirEdge)
{
    Owned<VST3_ToggleParameter> toggle(new VST3_ToggleParameter(70, u"Use Formants", u"UsFB", 0));
    EXPECT_EQ(toggle->getInfo().stepCount, 1);
    toggle->setNormalized(0.3);
    EXPECT_EQ(toggle->getNormalized(), 0.0);
    toggle->setNormalized(0.5);
    EXPECT_EQ(toggle->getNormalized(), 1.0);
    EXPECT_EQ(toggle->toPlain(0.5), 1.0);
    EXPECT_EQ(text_of(*toggle, 0.5), "Off");
    EXPECT_EQ(text_of(*toggle, 0.51), "On");
    ParamValue v = 0.5;
    EXPECT_TRUE(parse(*toggle, "On", v));
    EXPECT_EQ(v, 1.0);
    EXPECT_TRUE(parse(*toggle, "0", v));
    EXPECT_EQ(v, 0.0);
    EXPECT_FALSE(parse(*toggle, "on", v));

    Owned<Corvane_MIDIOctavesParameter> octaves(new Corvane_MIDIOctavesParameter(58, u"MIDI Octaves", u"MiOR", 0));
    EXPECT_EQ(text_of(*octaves, 1.0), "All");
    EXPECT_EQ(text_of(*octaves, 0.0), "AsPlayed");
    EXPECT_TRUE(parse(*octaves, "All", v));
    EXPECT_EQ(v, 1.0);
}

TEST(ParameterKinds, DefaultPlainLeavesTheValue)
{
    Owned<VST3_ScaledParameter> p(new VST3_ScaledParameter(1, u"P", u"P", nullptr, 0, 100, 10, 0));
    p->setNormalized(0.9);
    p->setDefaultPlain(30);
    EXPECT_DOUBLE_EQ(p->getInfo().defaultNormalizedValue, 0.3);
    EXPECT_EQ(p->getNormalized(), 0.9);
    // The base form reads a normalized number.
    Owned<VST3_BaseParameter> base(new VST3_BaseParameter(5, u"B", nullptr, nullptr, 0, 0));
    ParamValue v = 0;
    EXPECT_TRUE(parse(*base, "0.25", v));
    EXPECT_EQ(v, 0.25);
    EXPECT_TRUE(parse(*base, "7", v));
    EXPECT_EQ(v, 1.0);
    EXPECT_FALSE(parse(*base, "", v));
}
