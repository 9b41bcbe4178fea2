// The session state through the built module, as a host saves and reopens a
// project, and the old stream of sessions saved by the earlier format.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <initializer_list>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"

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
