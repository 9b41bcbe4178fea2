// Correction objects as data: the pass into the frames, the list
// operations, the stream forms and the undo history.

#include "dsp/byte_stream.h"
#include "graph/model/ObjectEditor.h"
#include "graph/model/ObjectHistory.h"
#include "graph/model/ObjectMaking.h"
#include "graph/model/ObjectPass.h"
#include "support/byte_buffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr double rate = 48000.0;
constexpr double hop = 200.0; // 240 frames a second

// Period in host samples of a pitch in cents: 900 is 440 Hz.
double periodOf(double cents) { return rate / 440.0 * std::pow(2.0, (900.0 - cents) / 1200.0); }

// Frames sung at `cents` (30000: unvoiced), one entry a frame.
void fill(TrackedFrameArray& frames, const std::vector<int>& cents)
{
    frames.allocate(int64_t(cents.size()) + 10);
    for (size_t i = 0; i < cents.size(); ++i) {
        TrackedFrame f;
        f.minSample = -0.5f;
        f.maxSample = 0.5f;
        if (cents[i] != 30000) {
            f.periodA = f.periodB = float(periodOf(cents[i]));
            f.centsA = f.centsB = cents[i];
        }
        frames.putTracked(int64_t(i), f);
    }
    frames.extendTracked(int64_t(cents.size()));
}

ObjectRecord rec(uint8_t kind, int32_t position, int16_t pitch, float retune = 0.0f)
{
    ObjectRecord r;
    r.kind = kind;
    r.position = position;
    r.pitch = pitch;
    r.retuneSpeed = retune;
    return r;
}

ObjectList list(std::vector<ObjectRecord> records)
{
    ObjectList l;
    for (auto& r : records) l.records.push_back(std::move(r));
    return l;
}

ObjectRecord curveRec(int32_t position, int16_t pitch, uint32_t step, std::vector<int16_t> deltas)
{
    ObjectRecord r = rec(KindCurve, position, pitch);
    r.curve = std::make_unique<CurveData>();
    r.curve->stepFrames = step;
    for (int16_t d : deltas) {
        CurvePoint p;
        p.pitchDelta = d;
        r.curve->points.push_back(p);
    }
    return r;
}

bool sorted(const ObjectList& l)
{
    for (size_t i = 1; i < l.count(); ++i)
        if (l.records[i].position < l.records[i - 1].position) return false;
    return true;
}

bool writeL(Bytes& out, const ObjectList& l) { return objectStream::writeList(out, l); }
bool readL(Bytes& in, ObjectList& l) { return objectStream::readList(in, l); }

} // namespace

// The one-pole approach, the note's pre-set, unvoiced frames, the dying
// away after an end, unknown kinds and a local pass, against the formulas.
TEST(ObjectPass, FramesTakeTheCorrectionTheObjectsSay)
{
    ObjectPass pass;
    pass.setRates(rate, hop);
    // 240 frames a second: a retune speed of 50 ms is a half-life of 12
    // frames.
    const double c12 = std::pow(0.5, 1.0 / 12.0);
    std::vector<int> sung(400, 1030);
    sung[60] = 30000;
    TrackedFrameArray frames;
    fill(frames, sung);
    const double in = periodOf(1030);

    // A line at 1000 cents, instant: every voiced frame lands on the target.
    ObjectList line = list({rec(KindLineStart, 10, 1000), rec(KindEnd, 40, 1000)});
    pass.applyObjects(&line, frames);
    for (int64_t i : {10, 25, 40})
        EXPECT_NEAR(frames.get(i).outputPeriod, periodOf(1000), 1e-3 * periodOf(1000)) << i;
    EXPECT_EQ(frames.get(9).outputPeriod, 0.0f);
    EXPECT_EQ(frames.get(41).outputPeriod, 0.0f); // instant: nothing left to die away

    // At 50 ms the line covers half the distance in 12 frames, from the
    // singer's ratio of 1.0 at its first frame.
    ObjectList slow = list({rec(KindLineStart, 100, 1000, 50.0f), rec(KindEnd, 150, 1000, 50.0f)});
    pass.applyObjects(&slow, frames);
    const double w = in / periodOf(1000);
    EXPECT_NEAR(frames.get(111).outputPeriod, in / (w + (1.0 - w) * 0.5), 1e-3);
    // After the end the ratio returns to 1.0 at the same rate, and the frames
    // keep a correction until it is within 0.00001 of 1.0.
    const double r150 = w + (1.0 - w) * std::pow(c12, 51);
    const int64_t zero = 150 + int64_t(std::ceil(std::log(1e-5 / std::fabs(r150 - 1.0)) / std::log(c12)));
    EXPECT_NE(frames.get(zero - 1).outputPeriod, 0.0f);
    EXPECT_EQ(frames.get(zero).outputPeriod, 0.0f);
    EXPECT_LT(zero, 400);

    // A note over an unvoiced frame, with a slow retune speed: it begins at
    // the singer's distance (the pre-set), the unvoiced frame gets 0.
    ObjectList note = list({rec(KindNote, 50, 900, 400.0f), rec(KindEnd, 70, 900, 400.0f)});
    pass.applyObjects(&note, frames);
    EXPECT_NEAR(frames.get(50).outputPeriod, periodOf(900), 0.01);
    EXPECT_EQ(frames.get(60).outputPeriod, 0.0f);
    EXPECT_NEAR(frames.get(61).outputPeriod, periodOf(900), 0.01);

    // Kinds 0, 2 and 7 touch no frame: the pass gives what it gives without them.
    ObjectList plain = list({rec(KindNote, 20, 800), rec(KindEnd, 30, 800), rec(KindNote, 120, 700),
                             rec(KindEnd, 130, 700)});
    ObjectList odd = plain;
    odd.records.insert(odd.records.begin() + 1, rec(2, 25, 3000));
    odd.records.insert(odd.records.begin() + 3, rec(7, 60, -3000));
    odd.records.insert(odd.records.begin() + 4, rec(0, 90, 0));
    std::vector<float> a, b;
    pass.applyObjects(&plain, frames);
    for (int64_t i = 0; i < 200; ++i) a.push_back(frames.get(i).outputPeriod);
    pass.applyObjects(&odd, frames);
    for (int64_t i = 0; i < 200; ++i) b.push_back(frames.get(i).outputPeriod);
    EXPECT_EQ(a, b);

    // A local pass after an edit of the second note gives the whole pass.
    ObjectList edited = plain;
    edited.records[2].pitch = edited.records[3].pitch = 1100;
    pass.applyObjects(&edited, frames, 115, 135);
    std::vector<float> local;
    for (int64_t i = 0; i < 200; ++i) local.push_back(frames.get(i).outputPeriod);
    pass.applyObjects(&edited, frames);
    for (int64_t i = 0; i < 200; ++i) EXPECT_EQ(local[size_t(i)], frames.get(i).outputPeriod) << i;

    // A leap an octave above the mean under a note that keeps four times
    // the singer's vibrato scales the period past zero: the highest pitch.
    std::vector<int> leap(300, 1030);
    leap[250] = 2230;
    TrackedFrameArray leapt;
    fill(leapt, leap);
    ObjectList wide = list({rec(KindNote, 200, 1000), rec(KindEnd, 280, 1000)});
    wide.records[0].adjustVibrato = 3.98f;
    pass.applyObjects(&wide, leapt);
    EXPECT_NEAR(leapt.get(249).outputPeriod, periodOf(1000), 1e-3 * periodOf(1000));
    EXPECT_NEAR(leapt.get(250).outputPeriod, periodOf(highestObjectPitch), 1e-3 * periodOf(highestObjectPitch));

    // No list clears every frame.
    pass.applyObjects(nullptr, frames);
    for (int64_t i = 0; i < 200; ++i) ASSERT_EQ(frames.get(i).outputPeriod, 0.0f);
}

TEST(ObjectRecords, PitchTrimAndSelectionFollowTheirRules)
{
    // pitchAt: a line interpolates, a note holds, a curve steps by its points,
    // a gap and the ends give none.
    ObjectList l = list({rec(KindLineStart, 0, 0), rec(KindLinePoint, 10, 100), rec(KindEnd, 20, 300),
                         rec(KindNote, 30, 500), rec(KindEnd, 40, 500), curveRec(50, 200, 5, {10, 30}),
                         rec(KindEnd, 60, 230)});
    struct Case {
        int64_t frame;
        bool found;
        int16_t pitch;
    } cases[] = {{0, true, 0},    {5, true, 50},  {15, true, 200}, {25, false, 0}, {35, true, 500},
                 {52, true, 200}, {55, true, 210}, {60, true, 230}, {61, false, 0}, {-1, false, 0}};
    for (const Case& c : cases) {
        int16_t p = -1;
        EXPECT_EQ(pitchAt(l, c.frame, p), c.found) << c.frame;
        if (c.found) {
            EXPECT_EQ(p, c.pitch) << c.frame;
        }
    }

    // trimList: a line cut behind its last point ends at endFrame - 1 at the
    // interpolated pitch; a note shrinks; a note cut at its start is gone.
    ObjectList line = list({rec(KindLineStart, 0, 0), rec(KindEnd, 100, 1000)});
    EXPECT_FALSE(trimList(line, 51));
    ASSERT_EQ(line.count(), 2u);
    EXPECT_EQ(line.records[1].kind, KindEnd);
    EXPECT_EQ(line.records[1].position, 50);
    EXPECT_EQ(line.records[1].pitch, 500);
    ObjectList note = list({rec(KindNote, 10, 300), rec(KindEnd, 30, 300)});
    EXPECT_FALSE(trimList(note, 21));
    EXPECT_EQ(note.records[1].position, 20);
    EXPECT_TRUE(trimList(note, 11));
    ObjectList curve = list({curveRec(0, 100, 4, {1, 2, 3, 4}), rec(KindEnd, 16, 104)});
    EXPECT_FALSE(trimList(curve, 10));
    EXPECT_EQ(curve.records[0].curve->pointCount(), 2);
    EXPECT_EQ(curve.records[1].position, 8);
    EXPECT_EQ(curve.records[1].pitch, 102);

    // selectedRange: a selected end is never the first; the run stops at the
    // first unselected record, one back when it would end behind an end.
    struct Sel {
        std::vector<uint8_t> selected;
        uint16_t first, last;
    } sels[] = {{{0, 0, 0, 0, 0}, 65535, 65535},
                {{0, 1, 1, 0, 0}, 2, 2},
                {{0, 1, 1, 1, 1}, 2, 3},
                {{1, 1, 1, 0, 0}, 0, 1}};
    ObjectList five = list({rec(KindNote, 0, 0), rec(KindEnd, 5, 0), rec(KindNote, 6, 0), rec(KindEnd, 9, 0),
                            rec(KindNote, 10, 0)});
    for (const Sel& s : sels) {
        for (size_t i = 0; i < 5; ++i) five.records[i].selected = s.selected[i];
        uint16_t first, last;
        selectedRange(five, first, last);
        EXPECT_EQ(first, s.first);
        EXPECT_EQ(last, s.last);
    }
    ObjectList endFirst = list({rec(KindEnd, 0, 0), rec(KindNote, 5, 0), rec(KindEnd, 8, 0)});
    endFirst.records[0].selected = 1;
    endFirst.records[1].selected = 1;
    uint16_t first, last;
    selectedRange(endFirst, first, last);
    EXPECT_EQ(first, 1);
}

// Lists are sorted after every edit, whatever order they come in, and an
// inserted run replaces what lay under it while the object straddling its
// far end goes on after it.
TEST(ObjectRecords, EditsKeepTheListSortedAndWhole)
{
    ObjectList old = list({rec(KindNote, 0, 100), rec(KindEnd, 100, 100), rec(KindNote, 150, 200),
                           rec(KindEnd, 200, 200)});
    ObjectList inserted = list({rec(KindNote, 40, 700), rec(KindEnd, 60, 700)});
    ObjectList merged = mergeObjects(inserted, old, 1000);
    EXPECT_TRUE(sorted(merged));
    // 0..39 at 100, 40..60 at 700, 61..100 at 100 again, the second note whole.
    const std::vector<std::pair<int32_t, int16_t>> expected = {{0, 100}, {39, 100}, {40, 700}, {60, 700},
                                                               {61, 100}, {100, 100}, {150, 200}, {200, 200}};
    ASSERT_EQ(merged.count(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(merged.records[i].position, expected[i].first) << i;
        EXPECT_EQ(merged.records[i].pitch, expected[i].second) << i;
    }

    // A nudge with snap moves a note and its end together onto a semitone
    // of the detune, and keeps the list sorted past its neighbour.
    ObjectList two = list({rec(KindNote, 0, 130), rec(KindEnd, 10, 130), rec(KindNote, 20, 400),
                           rec(KindEnd, 30, 400)});
    two.records[0].selected = two.records[1].selected = 1;
    ObjectList nudged = nudgeSelected(two, 40, 20, true, 10, 1000);
    EXPECT_TRUE(sorted(nudged));
    ASSERT_EQ(nudged.count(), 4u);
    EXPECT_EQ(nudged.records[2].position, 40);
    EXPECT_EQ(nudged.records[2].pitch, 110); // 130 + 20 - 10 rounds to 100, plus 10
    EXPECT_EQ(nudged.records[3].pitch, 110);
    EXPECT_EQ(nudged.records[3].kind, KindEnd);

    // Dragging a curve's end stretches the curve: its points cover the new
    // length and its last point reaches the moved end.
    ObjectList drag = list({curveRec(0, 100, 2, {10, 20, 30, 40}), rec(KindEnd, 8, 140)});
    drag.records[1].selected = 1;
    ObjectList dragged = drag;
    moveRecords(drag, dragged, 4, 20, false, 0);
    ASSERT_TRUE(dragged.records[0].curve);
    const CurveData& stretched = *dragged.records[0].curve;
    EXPECT_EQ(int64_t(stretched.stepFrames) * stretched.pointCount(), 12);
    EXPECT_EQ(dragged.records[1].position, 12);
    EXPECT_EQ(dragged.records[0].pitch + stretched.points.back().pitchDelta, dragged.records[1].pitch);
    EXPECT_EQ(dragged.records[1].pitch, 160);

    // Every made note's end record carries its pitch.
    TrackedFrameArray frames;
    std::vector<int> sung(240, 30000);
    for (int i = 10; i < 100; ++i) sung[size_t(i)] = i < 55 ? 1010 : 1390;
    fill(frames, sung);
    NewObjectSettings settings;
    settings.snap = true;
    const ObjectList notes = makeNotes(frames, rate / hop, settings);
    ASSERT_EQ(notes.count(), 4u);
    EXPECT_TRUE(sorted(notes));
    EXPECT_EQ(notes.records[0].pitch, 1000);
    EXPECT_EQ(notes.records[2].pitch, 1400);
    for (size_t i = 0; i < notes.count(); i += 2) {
        EXPECT_EQ(notes.records[i].kind, KindNote);
        EXPECT_EQ(notes.records[i + 1].kind, KindEnd);
        EXPECT_EQ(notes.records[i + 1].pitch, notes.records[i].pitch);
    }
}

// Notes from the recorded MIDI sit on the note held (MIDI 60 is 0 cents,
// moved by the detune); a made curve follows the tracked pitch point by
// point and ends on it.
TEST(ObjectRecords, MidiNotesAndCurvesFollowTheTrackedData)
{
    TrackedFrameArray frames;
    std::vector<int> sung(60, 30000);
    for (int i = 0; i < 40; ++i) sung[size_t(i)] = 1000 + 10 * i;
    fill(frames, sung);
    for (int64_t i = 5; i < 50; ++i) {
        TrackedFrame f = frames.get(i);
        f.midiNote = int8_t(i < 20 ? 62 : 55);
        frames.putTracked(i, f);
    }
    NewObjectSettings s;
    s.pitchOffset = 12;
    const ObjectList midi = makeNotesFromMidi(frames, s);
    ASSERT_EQ(midi.count(), 4u);
    const int expected[4][3] = {{5, 212, KindNote}, {19, 212, KindEnd}, {20, -488, KindNote}, {49, -488, KindEnd}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(midi.records[i].position, expected[i][0]);
        EXPECT_EQ(midi.records[i].pitch, expected[i][1]);
        EXPECT_EQ(midi.records[i].kind, expected[i][2]);
    }
    const ObjectList curves = makeCurves(frames, rate / hop, s);
    ASSERT_EQ(curves.count(), 2u);
    ASSERT_TRUE(curves.records[0].curve);
    EXPECT_EQ(curves.records[0].curve->pointCount(), 39 / int(madeCurveStep));
    for (int64_t frame = 0; frame < 39; frame += madeCurveStep) {
        int16_t p = 0;
        ASSERT_TRUE(pitchAt(curves, frame, p));
        EXPECT_EQ(p, 1000 + 10 * frame) << frame;
    }
    EXPECT_EQ(curves.records[1].pitch, 1000 + 10 * int(curves.records[1].position));
}

TEST(ObjectRecords, CurveBlocksLiveAndDieWithTheirRecords)
{
    const long before = CurveData::liveCount();
    {
        ObjectHistory history;
        ObjectList l = list({curveRec(0, 0, 2, {1, 2}), rec(KindEnd, 4, 2)});
        history.pushStep(l);                 // a copy with its own block
        history.pushStep(ObjectList());
        history.clipboard = l;
        EXPECT_EQ(CurveData::liveCount(), before + 3);
        ObjectList moved = std::move(l);     // a move keeps the one block
        EXPECT_EQ(CurveData::liveCount(), before + 3);
        EXPECT_TRUE(trimList(moved, 2));     // cut to nothing, the block stays with its record
        moved.records.clear();
        EXPECT_EQ(CurveData::liveCount(), before + 2);
        history.setMaxUndos(1);              // the step with the curve becomes the working list
        EXPECT_EQ(CurveData::liveCount(), before + 2);
    }
    EXPECT_EQ(CurveData::liveCount(), before);
}

TEST(ObjectRecords, StreamFormsRoundTripAndRefuseBrokenItems)
{
    ObjectList l = list({rec(KindNote, 5, -300, 20.0f), rec(KindEnd, 9, -300), curveRec(12, 40, 3, {7, -2}),
                         rec(KindEnd, 18, 38)});
    l.records[2].curve->points[1].modulationGain = 0.5f;
    l.records[0].selected = 1;
    Bytes b;
    ASSERT_TRUE(writeL(b, l));
    ObjectList back;
    ASSERT_TRUE(readL(b, back));
    ASSERT_EQ(back.count(), 4u);
    EXPECT_EQ(back.records[0].retuneSpeed, 20.0f);
    EXPECT_EQ(back.records[0].selected, 1);
    EXPECT_EQ(back.records[2].curve->stepFrames, 3u);
    EXPECT_EQ(back.records[2].curve->points[1].pitchDelta, -2);
    EXPECT_EQ(back.records[2].curve->points[1].modulationGain, 0.5f);
    // Numbers of a damaged stream come back as what the knobs can give.
    l.records[0].retuneSpeed = std::nanf("");
    l.records[1].adjustVibrato = 1e9f;
    l.records[2].curve->points[0].modulationGain = INFINITY;
    Bytes damaged;
    ASSERT_TRUE(writeL(damaged, l));
    ObjectList mended;
    ASSERT_TRUE(readL(damaged, mended));
    EXPECT_EQ(mended.records[0].retuneSpeed, 0.0f);
    EXPECT_NEAR(mended.records[1].adjustVibrato, std::pow(10.0, 12.0 / 20.0), 1e-5);
    EXPECT_EQ(mended.records[2].curve->points[0].modulationGain, 1.0f);
    // Every truncation fails, keeping the records read before it.
    for (size_t cut = 0; cut < b.data.size(); ++cut) {
        Bytes t;
        t.data.assign(b.data.begin(), b.data.begin() + long(cut));
        ObjectList part;
        EXPECT_FALSE(readL(t, part)) << cut;
        EXPECT_LE(part.count(), 4u);
    }
    // A curve record without its block cannot be written.
    ObjectList broken = list({rec(KindCurve, 0, 0), rec(KindEnd, 3, 0)});
    Bytes nothing;
    EXPECT_FALSE(writeL(nothing, broken));

    // The older form, laid out by hand: a note record (kind 6, selected 7
    // reads as 1), a curve record whose block follows (2 points, step 4).
    Bytes older;
    auto record32 = [&](int32_t pos, int16_t pitch, uint8_t sel, int32_t kind) {
        older.write_int32(pos);
        older.write_int16(pitch);
        older.write_int16(0);
        older.f32(10.0f);
        older.f32(0.0f);
        older.f32(1.0f);
        const uint8_t s[4] = {sel, 0, 0, 0};
        older.write_bytes(s, 4);
        older.write_int32(kind);
        older.write_int32(0);
    };
    record32(3, 100, 7, 6);
    record32(9, 120, 0, 0x103); // the kind is cut to its low byte
    record32(17, 160, 0, 4);
    older.write_int32(24); // the curve's byte size
    older.write_int32(4);
    older.write_int16(2);
    older.write_int16(0);
    for (int16_t d : {20, 40}) {
        older.write_int16(d);
        older.write_int16(0);
        older.f32(0.0f);
        older.f32(1.0f);
        older.f32(0.0f);
    }
    ObjectList read;
    ASSERT_TRUE(objectStream::readOlderList(older, 96, read));
    ASSERT_EQ(read.count(), 3u);
    EXPECT_EQ(read.records[0].selected, 1);
    EXPECT_EQ(read.records[1].kind, KindCurve);
    ASSERT_TRUE(read.records[1].curve);
    EXPECT_EQ(read.records[1].curve->points[1].pitchDelta, 40);
}

TEST(ObjectHistory, StepsUndoRedoAndDepthFollowTheirRules)
{
    auto one = [](int16_t pitch) { return list({rec(KindNote, 0, pitch), rec(KindEnd, 10, pitch)}); };
    auto pitchInForce = [](const ObjectHistory& h) {
        const ObjectList* l = h.currentList();
        return l == nullptr ? -2 : (l->empty() ? -1 : int(l->records[0].pitch));
    };
    ObjectHistory h;
    EXPECT_EQ(pitchInForce(h), -1);
    h.pushStep(one(100));
    h.pushStep(one(200));
    // Undo of the first step returns to the working list, and no further.
    EXPECT_TRUE(h.undo());
    EXPECT_TRUE(h.undo());
    EXPECT_EQ(pitchInForce(h), -1);
    EXPECT_FALSE(h.undo());
    EXPECT_TRUE(h.redo());
    EXPECT_EQ(pitchInForce(h), 100);
    // A new edit clears what could have been redone.
    h.pushStep(one(300));
    EXPECT_FALSE(h.redo());
    EXPECT_EQ(h.stepCount(), 2u);

    // Depth: bounded, out-of-range values held or ignored, old steps folded
    // into the working list.
    EXPECT_EQ(h.setMaxUndos(25), 20);
    EXPECT_EQ(h.setMaxUndos(0), 20);
    EXPECT_EQ(h.setMaxUndos(3), 3);
    for (int16_t p = 400; p < 410; ++p) h.pushStep(one(p));
    EXPECT_EQ(h.stepCount(), 3u);
    int undos = 0;
    while (h.undo()) ++undos;
    EXPECT_EQ(undos, 3);
    EXPECT_EQ(pitchInForce(h), 406); // the working list is the step before the three kept

    // The current form round-trips; every cut of it is refused.
    h.redo();
    Bytes b;
    ASSERT_TRUE(h.write(b, writeL));
    ObjectHistory back;
    ASSERT_TRUE(back.read(b, readL));
    EXPECT_EQ(back.stepCount(), 3u);
    EXPECT_EQ(back.getCurrentIndex(), 0);
    EXPECT_EQ(pitchInForce(back), 407);
    for (size_t cut = 0; cut < b.data.size(); ++cut) {
        Bytes t;
        t.data.assign(b.data.begin(), b.data.begin() + long(cut));
        ObjectHistory part;
        EXPECT_FALSE(part.read(t, readL)) << cut;
    }

    // The older form: an index past the steps is held at the last; a null
    // step puts no list in force, and the pass then clears every frame.
    Bytes older;
    older.write_int32(6); // base + 5 steps
    older.write_int32(0);
    for (int s = 0; s < 5; ++s) older.write_int32(0);
    older.write_int32(9);
    ObjectHistory old;
    ASSERT_TRUE(old.readOlder(older, [](Bytes& in, uint32_t bytes, ObjectList& l) {
        return objectStream::readOlderList(in, bytes, l);
    }));
    EXPECT_EQ(old.getCurrentIndex(), 4);
    EXPECT_EQ(old.currentList(), nullptr);
    TrackedFrameArray frames;
    fill(frames, std::vector<int>(50, 500));
    ObjectPass pass;
    pass.setRates(rate, hop);
    ObjectList n = one(600);
    pass.applyObjects(&n, frames);
    EXPECT_NE(frames.get(5).outputPeriod, 0.0f);
    pass.applyObjects(old.currentList(), frames);
    EXPECT_EQ(frames.get(5).outputPeriod, 0.0f);
}

// A drag of an object knob is one step; another knob, or any other edit
// between, starts a new one.
TEST(ObjectEditor, TurnsOfOneKnobAreOneStep)
{
    TrackedFrameArray frames;
    std::vector<int> sung(100, 30000);
    for (int i = 10; i < 80; ++i) sung[size_t(i)] = 950;
    fill(frames, sung);
    ObjectEditor editor;
    editor.attach(&frames);
    editor.setRates(rate, hop);
    ASSERT_TRUE(editor.makeNotes(NewObjectSettings()));
    ASSERT_TRUE(editor.selectAll());
    const size_t steps = editor.getHistory().stepCount();
    for (float ms : {10.0f, 20.0f, 30.0f}) EXPECT_TRUE(editor.setSelected(ObjectSetting::retuneSpeed, ms));
    EXPECT_EQ(editor.getHistory().stepCount(), steps + 1);
    EXPECT_EQ(editor.currentList().records[0].retuneSpeed, 30.0f);
    EXPECT_TRUE(editor.setSelected(ObjectSetting::throatLength, 0.1f));
    EXPECT_EQ(editor.getHistory().stepCount(), steps + 2);
    EXPECT_TRUE(editor.undo());
    EXPECT_TRUE(editor.setSelected(ObjectSetting::retuneSpeed, 40.0f));
    EXPECT_EQ(editor.getHistory().stepCount(), steps + 2); // the throat step is gone, a new one is in
    EXPECT_TRUE(editor.undo());
    EXPECT_EQ(editor.currentList().records[0].retuneSpeed, 30.0f);
    EXPECT_TRUE(editor.undo());
    EXPECT_EQ(editor.currentList().records[0].retuneSpeed, 0.0f);
}
