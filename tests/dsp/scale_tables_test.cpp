#include "dsp/scale_tables.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ScaleTables, EveryScaleRisesFromTheKeyToTheOctave)
{
    EXPECT_EQ(scale_names[scale_count], nullptr);
    EXPECT_EQ(scale_intervals[scale_count], nullptr);
    for (int s = 0; s < scale_count; ++s) {
        ASSERT_NE(scale_names[s], nullptr);
        const int n = scale_entries[s];
        ASSERT_GE(n, 6) << scale_names[s];
        EXPECT_EQ(scale_intervals[s][0], 0) << scale_names[s];
        EXPECT_EQ(scale_intervals[s][n - 1], octave_interval) << scale_names[s];
        for (int k = 1; k < n; ++k) EXPECT_GT(scale_intervals[s][k], scale_intervals[s][k - 1]);
        // The twelve-note mask marks exactly the scales of 13 entries.
        EXPECT_EQ(Is_TwelveNoteScale(s), n == 13) << scale_names[s];
    }
}

TEST(ScaleTables, EqualDivisionsRoundToTheNearestHundredthOfACent)
{
    // Entry k of n equal steps is 120000 k / n, rounded.
    const struct {
        int index, n;
    } equal[] = {{2, 12}, {20, 19}, {21, 24}, {22, 31}, {23, 53}};
    for (const auto& e : equal) {
        ASSERT_EQ(scale_entries[e.index], e.n + 1);
        for (int k = 0; k <= e.n; ++k)
            EXPECT_EQ(scale_intervals[e.index][k], std::llround(120000.0 * k / e.n)) << e.n << " " << k;
    }
}

TEST(ScaleTables, MajorAndMinorFlagsAgreeWithTheirIntervals)
{
    for (int s = 0; s < 2; ++s) {
        const int16_t* flags = s == 0 ? major_scale_flags : minor_scale_flags;
        int expected[12] = {};
        for (int k = 0; k < scale_entries[s] - 1; ++k) expected[scale_intervals[s][k] / 10000] = 1;
        for (int i = 0; i < 12; ++i) EXPECT_EQ(flags[i], expected[i]) << s << " " << i;
    }
}

TEST(ScaleTables, NoteNamesOfTheKeyboard)
{
    const struct {
        int scale, key, note;
        const char* name;
    } cases[] = {
        {0, 4, 0, "B"},   // the row of E major has no C
        {0, 11, 5, "E"},  // nor B major an F
        {0, 6, 5, "E#"},  {0, 0, 1, "C#"}, {1, 0, 1, "Db"}, {1, 3, 5, "E#"}, {0, 2, 6, "F#"},
        {2, 1, 1, "Db"},  {2, 2, 1, "C#"}, {2, 10, 10, "Bb"}, {5, 8, 3, "Eb"}, {28, 0, 6, "F#"},
    };
    for (const auto& c : cases)
        EXPECT_STREQ(Note_Name(c.scale, c.key, c.note), c.name) << c.scale << " " << c.key << " " << c.note;
}

TEST(ScaleTables, NoteNamesOfScalePositions)
{
    // B minor: key 11 + 3 = 14 -> row 2, position (0 - 2) mod 7 = 5: "B".
    EXPECT_STREQ(Scale_Note_Name(11, 1, 0), "B");
    EXPECT_STREQ(Scale_Note_Name(11, 1, 2), "D");
    // C minor: row 3 ("Eb" major), position 5: "C"; the third, position 2 -> 0: "Eb".
    EXPECT_STREQ(Scale_Note_Name(0, 1, 0), "C");
    EXPECT_STREQ(Scale_Note_Name(0, 1, 2), "Eb");
    // Greek dia on C: row 8, position 2: "C".
    EXPECT_STREQ(Scale_Note_Name(0, 5, 0), "C");
    EXPECT_STREQ(Scale_Note_Name(0, 2, 1), "C#");
    EXPECT_STREQ(Scale_Note_Name(9, 2, 3), "C");
    EXPECT_STREQ(Scale_Note_Name(0, 0, 4), "G");
    EXPECT_STREQ(Scale_Note_Name(2, 0, 2), "F#");
    EXPECT_STREQ(Scale_Note_Name(0, 23, 1), " ");
    EXPECT_STREQ(Scale_Note_Name(0, 23, 4), "C#");
    EXPECT_STREQ(Scale_Note_Name(2, 15, 0), "D");
    EXPECT_STREQ(Scale_Note_Name(2, 15, 1), " ");
    EXPECT_STREQ(Scale_Note_Name(0, 21, 2), "C#");
    EXPECT_STREQ(Scale_Note_Name(0, 16, 3), "G");
}

TEST(ScaleTables, IntervalTextInWholeCents)
{
    EXPECT_STREQ(Scale_Interval_Text(3, 1), "114");   // 11369 + 50 = 11419 -> 114
    EXPECT_STREQ(Scale_Interval_Text(0, 7), "1200");
    EXPECT_STREQ(Scale_Interval_Text(26, 9), "574");  // 57416 -> 574
    EXPECT_STREQ(Scale_Interval_Text(23, 1), "23");   // 2264 -> 23
    EXPECT_STREQ(Scale_Interval_Text(2, 13), "");     // past the count: nothing
}
