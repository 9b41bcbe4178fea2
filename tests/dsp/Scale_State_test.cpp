#include "dsp/Scale_State.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

class Memory_Writer : public Byte_Writer {
public:
    bool write_bytes(const void* data, size_t size) override
    {
        const auto* p = static_cast<const unsigned char*>(data);
        bytes.insert(bytes.end(), p, p + size);
        return true;
    }
    std::vector<unsigned char> bytes;
};

class Memory_Reader : public Byte_Reader {
public:
    Memory_Reader(const std::vector<unsigned char>& data, size_t length) : data(data), length(length) {}
    bool read_bytes(void* out, size_t size) override
    {
        if (position + size > length) return false;
        std::memcpy(out, data.data() + position, size);
        position += size;
        return true;
    }
    const std::vector<unsigned char>& data;
    size_t length;
    size_t position = 0;
};

constexpr int kChromatic = 2, kIndian = 15, kMajor = 0, kPartch = 24;

} // namespace

TEST(ScaleState, ARowMarkOfATwelveNoteScaleReachesEveryOctave)
{
    Scale_State state;
    state.setRowBypassed(0, 0, kChromatic, 1);
    std::vector<int> marked;
    for (int k = 0; k < Scale_State::keyboard_keys; ++k)
        if (state.isKeyBypassed(k, kChromatic)) marked.push_back(k);
    // All the Cs from note 24 to note 96.
    EXPECT_EQ(marked, (std::vector<int>{5, 17, 29, 41, 53, 65, 77}));
    EXPECT_TRUE(state.isRowBypassed(0, kChromatic));
    EXPECT_EQ(Scale_State::keyColumnOfRow(0, 0, kChromatic), 5);
    // Key A (9): row 0 is an A, column (0 + 9 + 5) mod 12 = 2: note 21, 33...
    state.setRowRemoved(0, 9, kChromatic, 1);
    EXPECT_TRUE(state.isKeyRemoved(2, kChromatic));
    EXPECT_TRUE(state.isKeyRemoved(74, kChromatic));
    EXPECT_FALSE(state.isKeyRemoved(5, kChromatic));
    // Unmarking clears the keys again.
    state.setRowBypassed(0, 0, kChromatic, 0);
    for (int k = 5; k < 78; k += 12) EXPECT_FALSE(state.isKeyBypassed(k, kChromatic));
}

TEST(ScaleState, OtherScalesKeepTheKeyboardApart)
{
    Scale_State state;
    state.setKeyRemoved(10, kIndian, 1);
    state.setRowRemoved(3, 0, kIndian, 1);
    EXPECT_TRUE(state.isRowRemoved(3, kIndian));
    EXPECT_EQ(Scale_State::keyColumnOfRow(3, 0, kIndian), -1);
    int removedKeys = 0;
    for (int k = 0; k < 78; ++k) removedKeys += state.isKeyRemoved(k, kIndian);
    EXPECT_EQ(removedKeys, 1);
    // The seven-note scales too.
    state.setRowBypassed(2, 0, kMajor, 1);
    for (int k = 0; k < 78; ++k) EXPECT_FALSE(state.isKeyBypassed(k, kMajor));
    // Out-of-range rows are ignored.
    state.setRowBypassed(7, 0, kMajor, 1);
    EXPECT_FALSE(state.isRowBypassed(7, kMajor));
}

TEST(ScaleState, MarksRoundTripThroughTheStreamForm)
{
    Scale_State state;
    state.setRowBypassed(4, 2, kChromatic, 1);
    state.setRowRemoved(1, 0, kMajor, 1);
    state.setRowRemoved(40, 0, kPartch, 1);
    state.setKeyBypassed(77, kIndian, 1);
    Memory_Writer writer;
    ASSERT_TRUE(state.write(writer));
    // Two groups of 29 scales; an untouched scale writes one 0 word per array.
    size_t expected = 0;
    for (int group = 0; group < 2; ++group) {
        expected += 2;
        for (int s = 0; s < scale_count; ++s) {
            const bool touched = s == kChromatic || s == kMajor || s == kPartch || s == kIndian;
            const size_t size = group == 0 ? size_t(Scale_State::rowsOf(s)) : 78;
            expected += 2 * (touched ? 2 + 2 * size : 2);
        }
    }
    EXPECT_EQ(writer.bytes.size(), expected);

    Scale_State copy;
    Memory_Reader reader(writer.bytes, writer.bytes.size());
    ASSERT_TRUE(copy.read(reader));
    for (int s = 0; s < scale_count; ++s) {
        EXPECT_EQ(copy.isTouched(s), state.isTouched(s)) << s;
        for (int r = 0; r < Scale_State::rowsOf(s); ++r) {
            EXPECT_EQ(copy.bypassedRows[s][r], state.bypassedRows[s][r]);
            EXPECT_EQ(copy.removedRows[s][r], state.removedRows[s][r]);
        }
        for (int k = 0; k < 78; ++k) {
            EXPECT_EQ(copy.bypassedKeys[s][k], state.bypassedKeys[s][k]);
            EXPECT_EQ(copy.removedKeys[s][k], state.removedKeys[s][k]);
        }
    }
}

TEST(ScaleState, TruncatedStreamsFailAndKeepWhatWasRead)
{
    Scale_State state;
    state.setRowBypassed(0, 0, kMajor, 1);
    state.setRowRemoved(5, 0, kChromatic, 1);
    Memory_Writer writer;
    ASSERT_TRUE(state.write(writer));
    for (size_t length = 0; length < writer.bytes.size(); ++length) {
        Scale_State copy;
        Memory_Reader reader(writer.bytes, length);
        EXPECT_FALSE(copy.read(reader)) << length;
        // Anything read completely before the cut stands.
        if (length >= 2 + 2 * (2 + 2 * 7)) {
            EXPECT_TRUE(copy.bypassedRows[kMajor][0]) << length;
        }
    }
    // A count of 30 or more is read as 29; a negative count is refused.
    std::vector<unsigned char> big = writer.bytes;
    big[0] = 0;
    big[1] = 40;
    Scale_State fromBig;
    Memory_Reader bigReader(big, big.size());
    EXPECT_TRUE(fromBig.read(bigReader));
    std::vector<unsigned char> negative = writer.bytes;
    negative[0] = 0xFF;
    Scale_State fromNegative;
    Memory_Reader negativeReader(negative, negative.size());
    EXPECT_FALSE(fromNegative.read(negativeReader));
}
