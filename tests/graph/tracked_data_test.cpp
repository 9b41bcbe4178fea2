#include "dsp/byte_stream.h"
#include "graph/model/AudioDataStore.h"
#include "graph/model/TrackedFrameArray.h"
#include "support/byte_buffer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

int32_t bitsOf(float v)
{
    int32_t bits;
    std::memcpy(&bits, &v, 4);
    return bits;
}

std::string freshFolder(const char* name)
{
    const std::string path = std::string(CORVANE_TEST_TMP) + "/" + name + std::to_string(::getpid());
    std::system(("rm -rf '" + path + "'").c_str());
    return path;
}

// Reads a position, waiting while the disk thread still owes its block.
int readWaiting(AudioDataStore& store, int64_t position, float& left, float* right)
{
    for (int tries = 0; tries < 5000; ++tries) {
        const int r = store.readSample(position, left, right);
        if (r != AudioDataStore::readPending) return r;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return AudioDataStore::readPending;
}

} // namespace

TEST(CircularFifo, HoldsFourEntriesAndRefusesTheFifthUnchanged)
{
    CircularFifo fifo;
    uint64_t value = 77;
    EXPECT_FALSE(fifo.pop(value));
    EXPECT_EQ(value, 77u);
    for (uint64_t i = 1; i <= 4; ++i) EXPECT_TRUE(fifo.push(i));
    EXPECT_FALSE(fifo.push(5));
    for (uint64_t i = 1; i <= 4; ++i) {
        ASSERT_TRUE(fifo.pop(value));
        EXPECT_EQ(value, i);
    }
    EXPECT_FALSE(fifo.pop(value));
    EXPECT_EQ(value, 4u);
}

TEST(TrackedFrameArray, DirtyRangeAndTrackedEndFollowTheirBounds)
{
    TrackedFrameArray a;
    a.allocate(10);
    struct Step { int64_t dirty, extend, low, high, tracked; };
    // markDirty ignores frames outside 0..9; extendTracked caps at 10 and never shrinks.
    const Step steps[] = {
        {-1, 3, TrackedFrameArray::noDirtyLow, 0, 3},
        {10, 2, TrackedFrameArray::noDirtyLow, 0, 3},
        {5, 12, 5, 5, 10},
        {2, 4, 2, 5, 10},
        {9, 0, 2, 9, 10},
    };
    for (const Step& s : steps) {
        a.markDirty(s.dirty);
        a.extendTracked(s.extend);
        EXPECT_EQ(a.dirtyLow(), s.low) << s.dirty;
        EXPECT_EQ(a.dirtyHigh(), s.high) << s.dirty;
        EXPECT_EQ(a.trackedEnd(), s.tracked) << s.extend;
    }
    // The mark one beyond the count has its place.
    a.putBarBeat(10, 7, 3);
    EXPECT_EQ(a.get(10).bar, 7);
    EXPECT_EQ(a.get(10).beat, 3);
}

TEST(TrackedFrameArray, StreamFormsReadBackAndTheOlderFormCutsToFieldWidths)
{
    TrackedFrame f;
    f.minSample = -0.25f;
    f.maxSample = 0.5f;
    f.periodA = 109.0f;
    f.periodB = 110.5f;
    f.centsA = 901;
    f.centsB = 899;
    f.outputPeriod = 100.0f;
    f.throatOffset = 0.125f;
    f.bar = 12;
    f.beat = 3;
    f.midiNote = 64;

    TrackedFrameArray a;
    a.allocate(4);
    a.putAll(0, f);
    a.putAll(1, TrackedFrame());
    a.extendTracked(2);
    Bytes current;
    ASSERT_TRUE(a.writeFrames(current));
    EXPECT_EQ(current.data.size(), 4u + 2 * 50u);

    // The older form: the same through throatOffset, then i32 midiNote, bar, beat.
    Bytes older;
    older.write_int32(56);
    for (float v : {f.minSample, f.maxSample, f.periodA, f.periodB}) older.write_int32(bitsOf(v));
    older.write_int32(f.centsA);
    older.write_int32(f.centsB);
    for (float v : {f.outputPeriod, f.modulationOffset, f.modulationGain, f.modulationParameter, f.throatOffset})
        older.write_int32(bitsOf(v));
    older.write_int32(0x140);  // cut to 8 bits: 64
    older.write_int32(12);
    older.write_int32(0x103);  // cut to 8 bits: 3

    struct Case { Bytes* stream; uint32_t frameBytes; int64_t frames; };
    for (const Case& c : {Case{&current, TrackedFrame::streamBytes, 2}, Case{&older, TrackedFrame::olderStreamBytes, 1}}) {
        TrackedFrameArray b;
        b.allocate(1);
        ASSERT_TRUE(b.readFrames(*c.stream, c.frameBytes));
        ASSERT_EQ(b.trackedEnd(), c.frames);
        ASSERT_GE(b.frameCount(), c.frames);
        const TrackedFrame g = b.get(0);
        EXPECT_EQ(g.minSample, f.minSample);
        EXPECT_EQ(g.periodB, f.periodB);
        EXPECT_EQ(g.centsA, f.centsA);
        EXPECT_EQ(g.throatOffset, f.throatOffset);
        EXPECT_EQ(g.bar, 12);
        EXPECT_EQ(g.beat, 3);
        EXPECT_EQ(g.midiNote, 64);
        if (c.frames == 2) {
            EXPECT_FALSE(b.get(1).filled());
        }
    }

    // Every truncation is refused and keeps the frames read before it.
    for (size_t cut = 0; cut < current.data.size(); ++cut) {
        Bytes part;
        part.data.assign(current.data.begin(), current.data.begin() + long(cut));
        TrackedFrameArray b;
        b.allocate(4);
        EXPECT_FALSE(b.readFrames(part, TrackedFrame::streamBytes));
        EXPECT_EQ(b.trackedEnd(), cut < 54 ? 0 : 1);
    }

    // A damaged hop: an impossible period makes it unvoiced, a peak that is
    // not finite silent.
    TrackedFrame bad = f;
    bad.periodA = -3.0f;
    bad.maxSample = INFINITY;
    a.putAll(0, bad);
    Bytes damaged;
    ASSERT_TRUE(a.writeFrames(damaged));
    TrackedFrameArray b;
    ASSERT_TRUE(b.readFrames(damaged, TrackedFrame::streamBytes));
    EXPECT_FALSE(b.get(0).voiced());
    EXPECT_EQ(b.get(0).periodB, -1.0f);
    EXPECT_EQ(b.get(0).maxSample, 0.0f);
}

TEST(TrackedFrame, ZeroSamplesPerFrameActsAs200InEveryConversion)
{
    struct Case { int64_t frame, decimation; };
    for (const Case& c : {Case{0, 1}, Case{1, 1}, Case{7, 2}, Case{1000001, 4}}) {
        EXPECT_EQ(frameToStorePosition(c.frame, 0, c.decimation), c.frame * (200 / c.decimation));
        const int64_t pos = c.frame * 200 / c.decimation + 3;
        EXPECT_EQ(storePositionToFrame(pos, 0, c.decimation), storePositionToFrame(pos, 200, c.decimation));
        EXPECT_EQ(storePositionToFrame(pos, 0, c.decimation), c.frame);
    }
}

TEST(AudioDataStore, SamplesReadBackWithTheirClampAndChannelScales)
{
    // left and right as written, and as read: left / 32767, right / 32768.
    struct Case { int channels; float left, right, readLeft, readRight; };
    const Case cases[] = {
        {2, 1.5f, 1.0f, 1.0f, 32767.0f / 32768.0f},
        {2, -1.0f, -1.0f, -1.0f, -32767.0f / 32768.0f},
        {2, 0.5f, -2.0f, 16383.0f / 32767.0f, -32767.0f / 32768.0f},
        {1, 0.25f, 0.9f, 8191.0f / 32767.0f, 0.0f},
    };
    int n = 0;
    for (const Case& c : cases) {
        AudioDataStore store(c.channels, 64);
        store.setParentFolder(freshFolder("scales"));
        store.setSessionID("S" + std::to_string(n++));
        store.start();
        store.setOffline(true);
        store.beginRun();
        // 150 positions from 1000: three blocks, the last one partly filled.
        for (int64_t p = 1000; p < 1150; ++p) ASSERT_TRUE(store.writeSample(p, c.left * (p == 1100 ? 1 : 0), c.right * (p == 1100 ? 1 : 0)));
        store.endRun();
        store.waitIdle();
        float l = 9, r = 9;
        ASSERT_EQ(readWaiting(store, 1100, l, &r), AudioDataStore::readOk);
        EXPECT_EQ(l, c.readLeft);
        EXPECT_EQ(r, c.readRight);
        ASSERT_EQ(readWaiting(store, 1149, l, &r), AudioDataStore::readOk);
        EXPECT_EQ(l, 0.0f);
        EXPECT_EQ(store.readSample(1150, l, &r), AudioDataStore::readNothing);
        EXPECT_EQ(store.readSample(999, l, &r), AudioDataStore::readNothing);
        int64_t s = 0, e = 0;
        EXPECT_TRUE(store.findRegion(1000, &s, &e));
        EXPECT_EQ(s, 1000);
        EXPECT_EQ(e, 1150);
        store.stop();
        EXPECT_TRUE(store.purgeFiles());
    }
}

TEST(AudioDataStore, FindRegionWidensOverAdjacentFilesAndRefusesAFilelessOne)
{
    // Regions in the order recorded: [0,100) file, [100,200) file, [200,300)
    // none, [300,400) file, [500,600) file; then, as after loops back,
    // [50,150) file and [380,420) none, which count where they lie.
    Bytes s;
    s.write_int32(1);
    s.text("/nonexistent");
    s.text("X");
    s.text("X");
    s.write_int32(1);
    s.write_int32(1);
    s.write_int32(0);
    s.text("X_0.dat");
    s.write_int32(600);
    s.write_int32(64);
    s.write_int32(1);
    const int32_t regions[][4] = {{0, 100, 0, 0},     {100, 200, 0, 100}, {200, 300, -1, 0}, {300, 400, 0, 300},
                                  {500, 600, 0, 500}, {50, 150, 0, 0},    {380, 420, -1, 0}};
    s.write_int32(7);
    for (const auto& r : regions)
        for (int32_t v : r) s.write_int32(v);
    s.write_int32(0);

    AudioDataStore store(1, 64);
    ASSERT_TRUE(store.readStore(s));
    struct Case { int64_t position; bool found; int64_t start, end; };
    const Case cases[] = {
        {20, true, 0, 200},   {50, true, 50, 150},  {149, true, 50, 150}, {150, true, 0, 200},
        {250, false, 0, 0},   {300, true, 300, 400}, {390, false, 0, 0},  {420, false, 0, 0},
        {599, true, 500, 600}, {600, false, 0, 0},   {-1, false, 0, 0},
    };
    for (const Case& c : cases) {
        int64_t a = 0, b = 0;
        EXPECT_EQ(store.findRegion(c.position, &a, &b), c.found) << c.position;
        if (c.found) {
            EXPECT_EQ(a, c.start) << c.position;
            EXPECT_EQ(b, c.end) << c.position;
        }
    }
    // Its files are missing: the store reads as unusable and opens without audio.
    store.start();
    float l = 0;
    EXPECT_EQ(store.getStatus(), AudioDataStore::statusFilesMissing);
    EXPECT_EQ(store.readSample(50, l, nullptr), AudioDataStore::readUnusable);
    store.stop();
}

TEST(AudioDataStore, PurgeFilesKeepsAFolderHoldingAnotherSessionsFile)
{
    struct Case { std::vector<std::string> files; bool removed; };
    const Case cases[] = {
        {{"S1_0.dat", "S1_1.dat"}, true},
        {{"S1_0.dat", "S2_0.dat"}, false},
        {{"S1_0.dat", "S1_notes.txt"}, false},
    };
    for (const Case& c : cases) {
        const std::string parent = freshFolder("purge");
        AudioDataStore store(1, 64);
        store.setParentFolder(parent);
        store.setSessionID("S1");
        ::mkdir(parent.c_str(), 0755);
        ::mkdir(store.sessionFolder().c_str(), 0755);
        for (const auto& f : c.files) std::ofstream(store.sessionFolder() + "/" + f) << "x";
        EXPECT_EQ(store.purgeFiles(), c.removed);
        struct stat st;
        EXPECT_EQ(::stat(store.sessionFolder().c_str(), &st) == 0, !c.removed);
        EXPECT_NE(::stat((store.sessionFolder() + "/S1_0.dat").c_str(), &st), 0);
    }
}

TEST(AudioDataStore, RealTimeWriteWithoutAFreeBlockStopsTheRunAndKeepsItsEnd)
{
    // No disk thread: blocks are never returned, so the fifth block finds none.
    AudioDataStore store(1, 16);
    store.setParentFolder(freshFolder("overrun"));
    store.setSessionID("S");
    store.beginRun();
    int64_t p = 0;
    while (store.writeSample(p, 0.1f, 0.0f)) ++p;
    EXPECT_EQ(p, 4 * 16);
    EXPECT_TRUE(store.hasOverrun());
    EXPECT_TRUE(store.hasWriteFailed());
    EXPECT_EQ(store.getRunEnd(), 0);
    EXPECT_FALSE(store.writeSample(p + 1, 0.1f, 0.0f));
}
