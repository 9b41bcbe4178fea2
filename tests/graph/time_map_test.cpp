// The time map, its editing list with the drag limits, the command-line point
// move, and the time history with its stream form.

#include "graph/model/TimeBreakpointList.h"
#include "graph/model/TimeHistory.h"
#include "support/byte_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

TimeMap make(std::vector<double> s, std::vector<double> t)
{
    auto m = TimeMap::fromBreakpoints(std::move(s), std::move(t));
    EXPECT_TRUE(m.has_value());
    return m ? *m : TimeMap();
}

// The map by the definition: a linear search and the line through the two
// breakpoints around t.
double reference(const TimeMap& m, double t)
{
    const auto& s = m.getSourceTimes();
    const auto& y = m.getTargetTimes();
    for (size_t i = 1; i < s.size(); ++i)
        if (t <= s[i]) return y[i - 1] + (t - s[i - 1]) * (y[i] - y[i - 1]) / (s[i] - s[i - 1]);
    return y.back();
}

// A random map of `points` breakpoints over 0..`length` with slopes 0.25..4,
// start fixed, values on whole samples.
TimeMap randomMap(std::mt19937& rng, int points, double length)
{
    std::vector<double> s{0.0}, t{0.0};
    std::uniform_real_distribution<double> cut(0.0, 1.0), slope(0.25, 4.0);
    std::vector<double> cuts;
    for (int i = 0; i < points - 2; ++i) cuts.push_back(std::round(cut(rng) * length));
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    cuts.push_back(length);
    for (double c : cuts) {
        if (c <= s.back()) continue;
        t.push_back(t.back() + std::round((c - s.back()) * slope(rng)) + 1.0);
        s.push_back(c);
    }
    return make(s, t);
}

// Every editor-made map: strictly increasing, start fixed, slopes within the
// limits up to the rounding of breakpoints to floats.
void expectWithinLimits(const TimeMap& m)
{
    const auto& s = m.getSourceTimes();
    const auto& t = m.getTargetTimes();
    ASSERT_GE(s.size(), 2u);
    EXPECT_EQ(s[0], t[0]);
    for (size_t i = 1; i < s.size(); ++i) {
        const double slope = (t[i] - t[i - 1]) / (s[i] - s[i - 1]);
        EXPECT_GE(slope, timeLimits::mostCompression - 1e-6) << "segment " << i;
        EXPECT_LE(slope, timeLimits::mostStretch + 1e-6) << "segment " << i;
        EXPECT_EQ(double(float(s[i])), s[i]);
        EXPECT_EQ(double(float(t[i])), t[i]);
    }
}

TEST(TimeMap, LookUpsAtTheEndsOnBreakpointsAndBetween)
{
    // Slopes 1.5, 0.5, 1; the audio after 4000 shifted 500 earlier.
    const TimeMap edited = make({0, 1000, 3000, 4000}, {0, 1500, 2500, 3500});
    const TimeMap two = TimeMap::identity(0, 4000);
    const TimeMap empty;
    const double nan = std::nan("");
    struct Case {
        const TimeMap* map;
        double t, view, engine, slope;
    } cases[] = {
        {&edited, 0, 0, 0, 1.5},          {&edited, 500, 750, 750, 1.5},     {&edited, 1000, 1500, 1500, 0.5},
        {&edited, 2000, 2000, 2000, 0.5}, {&edited, 3999, 3499, 3499, 1.0},  {&edited, 4000, 3500, 3500, 1.0},
        {&edited, 9000, 3500, 3500, 1.0}, {&edited, -10, 0, -10, 1.0},       {&two, 1234.5, 1234.5, 1234.5, 1.0},
        {&two, 4000, 4000, 4000, 1.0},    {&two, -5, 0, -5, 1.0},            {&empty, 77, 0, 77, 1.0},
        {&edited, nan, 0, nan, 1.0},
    };
    for (const Case& c : cases) {
        // Twice: the second look-up of each goes through the cache.
        for (int pass = 0; pass < 2; ++pass) {
            double slopeView = 0.0, slopeEngine = 0.0;
            EXPECT_EQ(c.map->mapForView(c.t, &slopeView), c.view) << c.t;
            const double e = c.map->mapForEngine(c.t, &slopeEngine);
            if (std::isnan(c.engine))
                EXPECT_TRUE(std::isnan(e));
            else
                EXPECT_EQ(e, c.engine) << c.t;
            EXPECT_EQ(slopeEngine, c.slope) << c.t;
        }
    }
    EXPECT_TRUE(two.isIdentity());
    EXPECT_FALSE(edited.isIdentity());
    EXPECT_EQ(edited.getRangeEnd(), 4000.0);
    EXPECT_EQ(edited.getOutputEnd(), 3500.0);
}

TEST(TimeMap, BuildingRefusesWhatIsNoStrictlyIncreasingMap)
{
    const double inf = INFINITY;
    struct Case {
        std::vector<double> s, t;
        int points; // 0: refused
    } cases[] = {
        {{0, 10}, {0, 10}, 2},
        {{0, 10}, {0, 20}, 3}, // a two-point map that is no identity gains its middle
        {{0, 10, 20}, {0, 5}, 0},
        {{0}, {0}, 0},
        {{0, 10, 10}, {0, 5, 6}, 0},
        {{0, 10, 20}, {0, 5, 5}, 0},
        {{0, 10, 20}, {0, 15, 12}, 0},
        {{0, std::nan(""), 20}, {0, 5, 6}, 0},
        {{0, 10, inf}, {0, 5, 6}, 0},
    };
    for (const Case& c : cases) {
        const auto m = TimeMap::fromBreakpoints(c.s, c.t);
        EXPECT_EQ(m ? m->getPointCount() : 0, c.points);
        if (m && c.points == 3) {
            EXPECT_EQ(m->mapForView(2.5), 5.0);
            EXPECT_EQ(m->mapForEngine(7.5), 15.0);
        }
    }
}

TEST(TimeMap, CachedLookUpsAnswerAsAFreshScanAndTheInverseUndoesThem)
{
    std::mt19937 rng(21);
    for (int trial = 0; trial < 20; ++trial) {
        const TimeMap m = randomMap(rng, 50, 1e5);
        const auto& s = m.getSourceTimes();
        std::uniform_real_distribution<double> anywhere(-1e3, 1.01e5);
        std::uniform_int_distribution<size_t> node(0, s.size() - 1);
        double t = 0.0;
        for (int k = 0; k < 3000; ++k) {
            switch (k % 6) {
            case 0: t = anywhere(rng); break;       // jump
            case 1: t = s[node(rng)]; break;         // on a breakpoint
            case 2: t -= 300.0; break;               // backward
            default: t += 70.0 * (k % 3); break;     // forward, sometimes in place
            }
            const TimeMap fresh = make(m.getSourceTimes(), m.getTargetTimes());
            double slopeCached = 0.0, slopeFresh = 0.0;
            const double cached = m.mapForEngine(t, &slopeCached);
            EXPECT_EQ(cached, fresh.mapForEngine(t, &slopeFresh)) << t;
            EXPECT_EQ(slopeCached, slopeFresh) << t;
            EXPECT_EQ(m.mapForView(t), make(m.getSourceTimes(), m.getTargetTimes()).mapForView(t)) << t;
            if (t >= 0.0 && t <= 1e5) {
                EXPECT_NEAR(cached, reference(m, t), 1e-9 * std::max(1.0, cached)) << t;
                EXPECT_NEAR(m.unmapForEngine(cached), t, 1e-9) << t;
                EXPECT_NEAR(m.unmapForView(m.mapForView(t)), t, 1e-9) << t;
            }
        }
        // Past the output end the source runs on from the take's end.
        EXPECT_EQ(m.unmapForEngine(m.getOutputEnd() + 100.0), m.getRangeEnd() + 100.0);
        EXPECT_EQ(m.unmapForEngine(-50.0), -50.0);
    }
}

TEST(TimeBreakpointList, BreakpointAtFindsInsertsAndKeepsItsOddRelinking)
{
    TimeBreakpointList list;
    list.beginEdit(make({0, 1000, 2000}, {0, 2000, 3000}));
    TimeBreakpoint* cursor = list.getHead();
    TimeBreakpoint* second = list.getHead()->next;
    EXPECT_EQ(list.breakpointAt(cursor, nullptr, 1000), second); // existing: no new node
    EXPECT_EQ(list.getHead()->next->next->next, nullptr);
    TimeBreakpoint* mid = list.breakpointAt(cursor, nullptr, 1500);
    EXPECT_EQ(mid->mappedTime, 2500.0);
    EXPECT_EQ(mid->previous, second);
    EXPECT_EQ(mid->next, list.getTail());
    EXPECT_EQ(list.getTail()->previous, mid);
    TimeBreakpoint* after = list.breakpointAt(cursor, nullptr, 2500);
    EXPECT_EQ(after->mappedTime, 3500.0); // beyond the end: shifted as the end is
    EXPECT_EQ(list.getTail(), after);

    // A list of one node: appending leaves that node out of the chain.
    list.beginEdit(TimeMap());
    cursor = nullptr;
    TimeBreakpoint* first = list.breakpointAt(cursor, nullptr, 100);
    EXPECT_EQ(list.getHead(), first);
    cursor = list.getHead();
    TimeBreakpoint* appended = list.breakpointAt(cursor, nullptr, 200);
    EXPECT_EQ(list.getHead(), appended);
    EXPECT_EQ(list.getTail(), appended);
    EXPECT_EQ(appended->previous, nullptr);
    // Before a node without a previous: the new node is the head, and the old
    // head's previous stays null.
    cursor = list.getHead();
    TimeBreakpoint* front = list.breakpointAt(cursor, nullptr, 50);
    EXPECT_EQ(list.getHead(), front);
    EXPECT_EQ(front->next, appended);
    EXPECT_EQ(appended->previous, nullptr);
    EXPECT_EQ(front->mappedTime, 50.0);
}

TEST(TimeBreakpointList, DragsMoveWithinTheLimitsAndNeverCross)
{
    // A take of 1000 frames, 100 engine samples a frame; positions below in
    // frames. R < 0: shift what follows.
    constexpr double scale = 100.0;
    struct Case {
        double left, start, end, right, target;
        int code;
        std::vector<std::pair<double, double>> expected; // frame -> output frame
    } cases[] = {
        // A point stretches the left side and compresses the right.
        {0, 400, 400, 1000, 500, 0, {{200, 250}, {400, 500}, {700, 500 + 300 * 5.0 / 6}, {1000, 1000}}},
        // The right side's compression to a quarter holds first.
        {0, 300, 300, 1000, 900, timeLimits::compressionLimit, {{300, 825}, {1000, 1000}}},
        // Compressed to a quarter, the rest shifted earlier.
        {0, 400, 400, -1, 50, timeLimits::compressionLimit, {{400, 100}, {1000, 700}}},
        // Stretched four times, the rest shifted later.
        {0, 100, 100, -1, 900, timeLimits::stretchLimit, {{50, 200}, {100, 400}, {1000, 1300}}},
        // Dragged past its left anchor: held where the left side is a quarter.
        {200, 400, 400, 600, 100, timeLimits::compressionLimit, {{200, 200}, {400, 250}, {600, 600}}},
        // A region moved whole.
        {0, 300, 500, 1000, 400, 0, {{150, 200}, {300, 400}, {500, 600}, {750, 800}, {1000, 1000}}},
        // Regions at the take's ends cannot leave them.
        {0, 0, 300, 1000, 100, timeLimits::stretchLimit, {{0, 0}, {300, 300}}},
        {0, 700, 1000, 1000, 600, timeLimits::stretchLimit, {{700, 700}, {1000, 1000}}},
    };
    const TimeMap start = TimeMap::identity(0, 1000 * scale);
    TimeBreakpointList list;
    for (const Case& c : cases) {
        list.beginEdit(start);
        const double right = c.right < 0 ? TimeBreakpointList::shiftRest : c.right;
        const TimeDragRange range = list.regionRange(c.left, c.start, c.end, right, scale);
        EXPECT_EQ(list.moveTimeRegion(c.left, c.start, c.end, right, c.target, scale), c.code) << c.start;
        const TimeMap m = list.buildMap();
        expectWithinLimits(m);
        for (const auto& [frame, output] : c.expected)
            EXPECT_NEAR(m.mapForView(frame * scale) / scale, output, 1e-6) << c.start << " at " << frame;
        // The range the view keeps holds the target where the move did.
        const double held = std::min(std::max(c.target, range.low), range.high);
        EXPECT_NEAR(m.mapForView(c.start * scale) / scale, held, 1e-6);
        if (c.code != 0) {
            EXPECT_EQ(c.target < c.start ? range.lowCode : range.highCode, c.code);
        }
    }
}

TEST(TimeBreakpointList, ADragBackToItsStartLeavesNoChange)
{
    const TimeMap start = make({0, 30000, 90000}, {0, 45000, 100000});
    TimeBreakpointList list;
    list.beginEdit(start);
    list.moveTimePoint(0, 170.5, 800, 300, 100);
    EXPECT_TRUE(list.changed());
    list.resetEdit();
    EXPECT_FALSE(list.changed());
    EXPECT_EQ(list.buildMap(), start);
    list.moveTimePoint(0, 170.5, 800, 170.5, 100);
    EXPECT_FALSE(list.changed());
    EXPECT_EQ(list.buildMap(), start);
}

TEST(TimeEdit, CommandLineMovesShiftWhatFollowsAndHoldTheirAnchors)
{
    // Stretch source a..b by 1.5 on a 10-second take at 48 kHz: hold a, then
    // move b.
    const double a = 96000, b = 192000, end = 480000;
    int code = -9;
    const TimeMap held = movePoint(TimeMap::identity(0, end), a, a, &code);
    EXPECT_EQ(code, timeLimits::noLimit);
    const TimeMap m = movePoint(held, b, a + 1.5 * (b - a), &code);
    EXPECT_EQ(code, timeLimits::noLimit);
    expectWithinLimits(m);
    const std::pair<double, double> expected[] = {
        {50000, 50000}, {a, a}, {150000, a + 1.5 * 54000}, {b, 240000}, {300000, 348000}, {end, end + 48000}};
    for (const auto& [s, out] : expected) EXPECT_NEAR(m.mapForEngine(s), out, 1e-9) << s;

    struct Case {
        double from, to;
        int code;
        double at, expected; // m's point `at` then sounds at `expected`
    } cases[] = {
        {b + 10, 250000, 0, b, 250000},                                    // near b: b itself moves
        {b, a + 0.1 * (b - a), timeLimits::compressionLimit, b, a + 0.25 * (b - a)},
        {b, a + 9 * (b - a), timeLimits::stretchLimit, b, a + 4 * (b - a)},
        {0, 5000, timeLimits::pointFixed, 1000, 1000},                      // the take's start
        {end + 1000, 5000, timeLimits::pointFixed, b, 240000},              // outside the take
    };
    for (const Case& c : cases) {
        const TimeMap moved = movePoint(m, c.from, c.to, &code);
        EXPECT_EQ(code, c.code) << c.from;
        EXPECT_NEAR(moved.mapForEngine(c.at), c.expected, 1e-9) << c.from;
        if (c.code == 0) {
            EXPECT_EQ(moved.getPointCount(), m.getPointCount());
        }
    }
}

TEST(TimeHistory, UndoRedoAcrossClearAllAndTheDepth)
{
    TimeHistory h;
    const TimeMap identity = TimeMap::identity(0, 1000);
    std::vector<TimeMap> maps;
    for (int i = 1; i <= 5; ++i) maps.push_back(make({0, 500, 1000}, {0, 500.0 + 10 * i, 1000.0 + 10 * i}));
    EXPECT_FALSE(h.clearAll()); // nothing to clear
    EXPECT_TRUE(h.pushStep(maps[0]));
    EXPECT_TRUE(h.pushStep(maps[1]));
    EXPECT_TRUE(h.clearAll());
    EXPECT_EQ(h.mapInForce(0, 1000), identity);
    const TimeMap* expected[] = {&maps[1], &maps[0], &identity};
    for (const TimeMap* e : expected) {
        EXPECT_TRUE(h.undo());
        EXPECT_EQ(h.mapInForce(0, 1000), *e);
    }
    EXPECT_FALSE(h.undo());
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(h.redo());
    EXPECT_FALSE(h.redo());
    EXPECT_EQ(h.mapInForce(0, 1000), identity);
    // A new step after an undo drops what could have been redone.
    h.undo();
    h.pushStep(maps[2]);
    EXPECT_EQ(h.stepCount(), 3u);
    EXPECT_FALSE(h.canRedo());

    // Past the depth the oldest becomes the base, still reached by undo.
    h.clear();
    EXPECT_EQ(h.setMaxSteps(3), 3);
    for (const TimeMap& m : maps) h.pushStep(m);
    EXPECT_EQ(h.stepCount(), 3u);
    while (h.undo()) {
    }
    EXPECT_EQ(h.currentMap(), maps[1]);
    EXPECT_EQ(h.setMaxSteps(25), TimeHistory::mostSteps);
    EXPECT_EQ(h.setMaxSteps(0), TimeHistory::mostSteps);
    // A map covering part of the take goes on unchanged in length after it.
    h.redo();
    EXPECT_EQ(h.mapInForce(0, 2000).mapForView(1500), 1530.0);
}

// A history written by hand: steps of (source, target) pairs.
Bytes stream(const std::vector<std::vector<std::pair<float, float>>>& steps, int32_t index)
{
    Bytes out;
    out.write_int32(int32_t(steps.size()));
    for (const auto& step : steps) {
        out.write_int32(int32_t(step.size()));
        for (auto [s, t] : step) {
            out.f32(s);
            out.f32(t);
        }
    }
    out.write_int32(index);
    return out;
}

TEST(TimeHistory, StreamRoundTripsBitForBitAndRefusesDamage)
{
    // Above 2^24 samples a float holds even positions only: a move there
    // still saves and reads back as the map in force.
    TimeHistory h;
    h.setMaxSteps(3);
    TimeMap m = TimeMap::identity(0, 4e7);
    for (double from : {1e6, 2.00000013e7, 3.0000001e7, 3.3e7}) {
        m = movePoint(m, from, from * 1.1);
        h.pushStep(m);
    }
    h.clearAll();
    h.undo();
    h.undo();
    Bytes out;
    ASSERT_TRUE(writeTimeHistory(out, h));
    TimeHistory back;
    back.setMaxSteps(3);
    ASSERT_TRUE(readTimeHistory(out, back));
    EXPECT_EQ(back.mapInForce(0, 4e7), h.mapInForce(0, 4e7));
    EXPECT_EQ(back.baseMap(), h.baseMap());
    Bytes again;
    ASSERT_TRUE(writeTimeHistory(again, back));
    EXPECT_EQ(again.data, out.data);
    // 4 bytes of count, the base and three steps, 4 bytes of index.
    size_t bytes = 8;
    for (const TimeMap* s : {&h.baseMap(), &h.step(0), &h.step(1), &h.step(2)})
        bytes += 4 + 8 * size_t(s->getPointCount());
    EXPECT_EQ(out.data.size(), bytes);

    for (size_t length = 0; length < out.data.size(); ++length) {
        Bytes cut;
        cut.data.assign(out.data.begin(), out.data.begin() + long(length));
        TimeHistory r;
        EXPECT_FALSE(readTimeHistory(cut, r)) << length;
        EXPECT_EQ(r.getCurrentIndex(), -1);
        EXPECT_LE(r.stepCount(), size_t(TimeHistory::mostSteps));
    }

    const float nan = std::nanf("");
    struct Case {
        Bytes bytes;
        bool good;
    } cases[] = {
        {stream({{{0, 0}, {48000, 96000}, {96000, 144000}}}, 0), true},
        {stream({{{0, 0}, {48000, 96000}}, {}}, 7), true},
        {stream({{{0, 0}}}, 0), false},
        {stream({{{0, 0}, {48000, nan}, {96000, 144000}}}, 0), false},
        {stream({{{0, 0}, {48000, 96000}, {48000, 144000}}}, 0), false},
        {stream({{{0, 0}, {48000, 96000}, {96000, 96000}}}, 0), false},
        {stream({{{0, 0}, {48000, INFINITY}}}, 0), false},
    };
    for (Case& c : cases) {
        TimeHistory r;
        EXPECT_EQ(readTimeHistory(c.bytes, r), c.good);
    }
    TimeHistory r;
    cases[0].bytes.at = cases[1].bytes.at = 0;
    ASSERT_TRUE(readTimeHistory(cases[0].bytes, r));
    EXPECT_EQ(r.mapInForce(0, 96000).mapForEngine(24000), 48000.0);
    ASSERT_TRUE(readTimeHistory(cases[1].bytes, r));
    EXPECT_EQ(r.getCurrentIndex(), 1); // an index past the steps: the newest
    EXPECT_TRUE(r.currentMap().isIdentity());

    // Counts no stream can hold are refused before anything is allocated.
    for (int32_t steps : {int32_t(0x7fffffff), -1}) {
        Bytes huge;
        huge.write_int32(steps);
        EXPECT_FALSE(readTimeHistory(huge, r));
    }
    Bytes pairs;
    pairs.write_int32(1);
    pairs.write_int32(int32_t(0x40000000));
    EXPECT_FALSE(readTimeHistory(pairs, r));

    // A shallower history keeps the newest steps, the one before as its base.
    TimeHistory shallow;
    shallow.setMaxSteps(2);
    Bytes four = stream({{{0, 0}, {10, 20}, {20, 30}},
                         {{0, 0}, {10, 30}, {20, 40}},
                         {{0, 0}, {10, 40}, {20, 50}},
                         {{0, 0}, {10, 50}, {20, 60}}},
                        2);
    ASSERT_TRUE(readTimeHistory(four, shallow));
    EXPECT_EQ(shallow.stepCount(), 2u);
    EXPECT_EQ(shallow.getCurrentIndex(), 0);
    EXPECT_EQ(shallow.currentMap().mapForView(10), 40.0);
    EXPECT_EQ(shallow.baseMap().mapForView(10), 30.0);
}

} // namespace
