// The session state through the built module, as a host saves and reopens a
// project, and the old stream of sessions saved by the earlier format.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <initializer_list>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"
#include "support/tracked_data.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// A big-endian stream built by hand.
struct Stream {
    std::vector<char> bytes;
    Stream& i32(int32_t v)
    {
        for (int s = 24; s >= 0; s -= 8) bytes.push_back(char((uint32_t(v) >> s) & 0xFF));
        return *this;
    }
    Stream& i16(int16_t v)
    {
        bytes.push_back(char((uint16_t(v) >> 8) & 0xFF));
        bytes.push_back(char(uint16_t(v) & 0xFF));
        return *this;
    }
    Stream& raw(const std::string& s)
    {
        for (char c : s) bytes.push_back(c);
        return *this;
    }
    Stream& f32(float v)
    {
        uint32_t u = 0;
        std::memcpy(&u, &v, 4);
        return i32(int32_t(u));
    }
    Stream& zeros(size_t n)
    {
        bytes.insert(bytes.end(), n, 0);
        return *this;
    }
};

class SessionState : public Built_Module_Test {
protected:
    std::vector<double> values(hostlib::Instance& instance)
    {
        std::vector<double> v;
        for (ParamID id = 0; id < 90; ++id) v.push_back(instance.normalized(id));
        return v;
    }
    // An old stream: the foreign header, version 8, the 42 settings words,
    // empty scale marks, empty histories, no frames, placement, no store.
    static Stream oldStream(const std::vector<std::pair<int, int32_t>>& words)
    {
        Stream s;
        s.raw("VstW").zeros(212).i32(8).i32(0).i32(0);
        int32_t w[42] = {};
        w[0] = 2;   // Chromatic
        w[3] = 20;  // Retune Speed
        w[7] = 55;
        w[10] = 20;
        w[33] = 1;
        for (const auto& p : words) w[p.first] = p.second;
        for (int32_t v : w) s.i32(v);
        s.i16(29);
        for (int k = 0; k < 58; ++k) s.i16(0);
        s.i16(29);
        for (int k = 0; k < 58; ++k) s.i16(0);
        s.i32(0).i32(-1);          // object history
        s.i32(0).i32(-1);          // time history
        s.i32(0);                  // frames
        s.i32(3).i32(4).i32(5).i32(6);  // graph placement
        s.i32(0);                  // no store
        return s;
    }
};

} // namespace

TEST_F(SessionState, EveryParameterRoundTripsIntoAFreshInstance)
{
    auto first = create();
    ASSERT_TRUE(first);
    for (const auto& p : first->parameters()) {
        if (p.flags & ParameterInfo::kIsReadOnly) continue;
        // A value away from the default: the second step of a list, else 0.37.
        const double v = p.step_count > 0 ? 1.0 / p.step_count : 0.37;
        ASSERT_TRUE(first->set_normalized(p.id, v)) << p.title;
    }
    std::vector<char> saved;
    ASSERT_TRUE(first->get_state(saved));
    EXPECT_EQ(saved[0], 0);
    EXPECT_EQ(saved[3], 10);  // version 10, big-endian

    auto second = create();
    ASSERT_TRUE(second);
    ASSERT_TRUE(second->set_state(saved));
    const auto a = values(*first), b = values(*second);
    for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i], b[i]) << "id " << i;
    EXPECT_EQ(second->text(1), first->text(1));
    std::vector<char> again;
    ASSERT_TRUE(second->get_state(again));
    EXPECT_EQ(again, saved);
}

TEST_F(SessionState, VersionsAreCheckedBeforeAnythingChanges)
{
    auto source = create();
    ASSERT_TRUE(source);
    source->set_plain(3, 42.0);
    std::vector<char> saved;
    ASSERT_TRUE(source->get_state(saved));

    // Version 9 reads as 10 does.
    auto nine = saved;
    nine[3] = 9;
    auto reader = create();
    ASSERT_TRUE(reader->set_state(nine));
    EXPECT_EQ(reader->plain(3), 42.0);

    for (int version : {8, 11, 0}) {
        auto refused = saved;
        refused[3] = char(version);
        auto target = create();
        const auto before = values(*target);
        EXPECT_FALSE(target->set_state(refused)) << version;
        EXPECT_EQ(values(*target), before) << version;
        // A project saved after the failed load still opens.
        std::vector<char> resaved;
        ASSERT_TRUE(target->get_state(resaved));
        EXPECT_EQ(resaved[3], 10);
        EXPECT_TRUE(create()->set_state(resaved)) << version;
    }
    // A version-9 stream is written back in the current form.
    std::vector<char> upgraded;
    ASSERT_TRUE(reader->get_state(upgraded));
    EXPECT_EQ(upgraded, saved);
    auto target = create();
    EXPECT_FALSE(target->set_state({}));
    EXPECT_FALSE(target->set_state({0, 0}));
}

TEST_F(SessionState, OldStreamBehindTheForeignHeader)
{
    auto instance = create();
    ASSERT_TRUE(instance);
    const Stream s = oldStream({{7, 55}, {3, 35}, {13, 1}, {14, 1}, {2, -20}, {27, 1}});
    ASSERT_TRUE(instance->set_state(s.bytes));
    EXPECT_NEAR(instance->plain(7), 5.5, 1e-9);  // tenths of a hertz
    EXPECT_EQ(instance->plain(4), 35.0);
    EXPECT_EQ(instance->plain(3), -20.0);
    EXPECT_EQ(instance->plain(24), 0.0);  // words 13 and 14 both set: off
    EXPECT_EQ(instance->plain(0), 1.0);   // Graph mode

    auto tie = create();
    ASSERT_TRUE(tie->set_state(oldStream({{13, 0}, {14, 1}}).bytes));
    EXPECT_EQ(tie->plain(24), 1.0);

    // Behind the header only version 8 is read.
    Stream wrong = oldStream({});
    wrong.bytes[216 + 3] = 9;
    auto refused = create();
    EXPECT_FALSE(refused->set_state(wrong.bytes));
}

TEST_F(SessionState, OnlyAWholeStreamIsAGoodState)
{
    auto source = create();
    ASSERT_TRUE(source);
    source->set_plain(4, 123.0);
    std::vector<char> saved;
    ASSERT_TRUE(source->get_state(saved));
    const std::vector<char> old = oldStream({{7, 55}}).bytes;
    const std::vector<char>* streams[] = {&saved, &old};
    for (const std::vector<char>* stream : streams) {
        for (size_t length = 0; length <= stream->size(); ++length) {
            auto target = create();
            const std::vector<char> cut(stream->begin(), stream->begin() + long(length));
            const bool ok = target->set_state(cut);
            // Only the whole stream is a good state.
            EXPECT_EQ(ok, length == stream->size()) << length;
        }
    }
    // Flipped bytes: Robustness.EveryCutOrFlippedSessionLeavesParametersAndEngineAgreeing.
}

// An old stream with something in every item: a key of a scale marked, an
// object history holding a note, a time history holding a stretch, tracked
// frames in the older form, the graph's placement. Each comes back in its
// place: the note plays over its frames, the map places a source position,
// the frames keep their beat and MIDI note, and the current stream written
// after holds the mark and the placement and round-trips byte for byte.
TEST_F(SessionState, OldStreamWithEveryItemOpensWithEachInPlace)
{
    Stream s;
    s.raw("VstW").zeros(212).i32(8).i32(0).i32(0);
    int32_t w[42] = {};
    w[0] = 2;
    w[3] = 20;
    w[27] = 1;  // Graph mode
    for (int32_t v : w) s.i32(v);
    // Scale marks: rows untouched; key 40 of scale 3 bypassed.
    s.i16(29);
    for (int k = 0; k < 58; ++k) s.i16(0);
    s.i16(29);
    for (int scale = 0; scale < 29; ++scale) {
        if (scale != 3) {
            s.i16(0).i16(0);
            continue;
        }
        s.i16(78);
        for (int key = 0; key < 78; ++key) s.i16(key == 40 ? 1 : 0);
        s.i16(0);
    }
    // Object history, older form: one list, a note of 1000 cents over
    // frames 10..40 (records of 32 bytes), no further step.
    const auto record = [&](int32_t position, int16_t pitch, int32_t kind) {
        s.i32(position).i16(pitch).zeros(2).f32(0.0f).f32(0.0f).f32(1.0f).zeros(4).i32(kind).zeros(4);
    };
    s.i32(1).i32(64);
    record(10, 1000, 6);
    record(40, 1000, 4);
    s.i32(-1);
    // Time history: one step stretching source 0..48000 by 1.5, the rest
    // shifted.
    s.i32(1).i32(3).f32(0.0f).f32(0.0f).f32(48000.0f).f32(72000.0f).f32(96000.0f).f32(120000.0f).i32(0);
    // 60 voiced frames, older form (56 bytes); frame 5 holds beat 2 of bar
    // 3 and MIDI note 60.
    s.i32(60 * 56);
    for (int i = 0; i < 60; ++i) {
        s.f32(-0.5f).f32(0.5f).f32(200.0f).f32(200.0f).i32(900).i32(900);
        s.f32(0.0f).f32(0.0f).f32(1.0f).f32(0.0f).f32(0.0f);
        s.i32(i == 5 ? 60 : -128).i32(i == 5 ? 3 : 0).i32(i == 5 ? 2 : 0);
    }
    s.i32(3).i32(4).i32(5).i32(6);  // graph placement
    s.i32(0);                       // no store

    auto instance = create();
    ASSERT_TRUE(instance);
    ASSERT_TRUE(instance->set_state(s.bytes));
    ICorvaneTrackedData* data = test_tracking::trackedData(*instance);
    ASSERT_NE(data, nullptr);
    ASSERT_EQ(data->getTrackedFrameCount(), 60);
    TrackedFrame f;
    ASSERT_EQ(data->getTrackedFrame(5, &f), kResultOk);
    EXPECT_EQ(f.bar, 3);
    EXPECT_EQ(f.beat, 2);
    EXPECT_EQ(f.midiNote, 60);
    ASSERT_EQ(data->getTrackedFrame(25, &f), kResultOk);
    EXPECT_GT(f.outputPeriod, 0.0f) << "the note plays over its frames";
    ASSERT_EQ(data->getTrackedFrame(50, &f), kResultOk);
    EXPECT_EQ(f.outputPeriod, 0.0f);
    EXPECT_DOUBLE_EQ(data->mapTimePosition(24000.0), 36000.0);
    EXPECT_DOUBLE_EQ(data->mapTimePosition(72000.0), 96000.0);

    std::vector<char> saved;
    ASSERT_TRUE(instance->get_state(saved));
    Stream marks;
    marks.i16(78);
    for (int key = 0; key < 78; ++key) marks.i16(key == 40 ? 1 : 0);
    EXPECT_NE(std::search(saved.begin(), saved.end(), marks.bytes.begin(), marks.bytes.end()), saved.end());
    // Version, the parameters, the settings (18 bytes), then the placement.
    Stream placement;
    placement.i32(0).i32(3).i32(0).i32(4).i16(5).i16(6);
    const size_t at = 8 + 12 * size_t(uint8_t(saved[7]) | uint8_t(saved[6]) << 8) + 18;
    ASSERT_GE(saved.size(), at + placement.bytes.size());
    EXPECT_TRUE(std::equal(placement.bytes.begin(), placement.bytes.end(), saved.begin() + long(at)));

    // All of it round-trips byte for byte through a fresh instance.
    auto fresh = create();
    ASSERT_TRUE(fresh && fresh->set_state(saved));
    std::vector<char> again;
    ASSERT_TRUE(fresh->get_state(again));
    EXPECT_EQ(again, saved);
}
