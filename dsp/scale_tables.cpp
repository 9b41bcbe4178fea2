#include "dsp/scale_tables.h"

#include <cstdio>

namespace {

// Equal division of the octave into n steps, each rounded to nearest.
constexpr int64_t step(int k, int n)
{
    return (int64_t(octave_interval) * k + n / 2) / n;
}

const int64_t major_intervals[] = {0, 20000, 40000, 50000, 70000, 90000, 110000, 120000};
const int64_t minor_intervals[] = {0, 20000, 30000, 50000, 70000, 80000, 100000, 120000};
const int64_t chromatic_intervals[] = {
    step(0, 12), step(1, 12), step(2, 12), step(3, 12), step(4, 12), step(5, 12), step(6, 12),
    step(7, 12), step(8, 12), step(9, 12), step(10, 12), step(11, 12), step(12, 12)};
const int64_t ling_lun_intervals[] = {0, 11369, 20391, 31760, 40782, 52151, 61173,
                                      70196, 81564, 90587, 101955, 110978, 120000};
const int64_t scholars_intervals[] = {0, 23117, 31564, 38631, 49804, 70196, 88436, 120000};
const int64_t greek_dia_intervals[] = {0, 11173, 31564, 49804, 70196, 81369, 101760, 120000};
const int64_t greek_chr_intervals[] = {0, 6296, 18240, 49804, 70196, 76492, 88436, 120000};
const int64_t greek_en_intervals[] = {0, 6296, 11173, 49804, 70196, 76492, 81369, 120000};
const int64_t pythagor_intervals[] = {0, 11713, 20391, 30115, 40782, 49804, 61173,
                                      70196, 81369, 90587, 99825, 110978, 120000};
const int64_t just_major_intervals[] = {0, 11173, 20391, 31564, 38631, 49804, 59022,
                                        70196, 81369, 88436, 99609, 108827, 120000};
const int64_t just_minor_intervals[] = {0, 7067, 18240, 31564, 38631, 49804, 59022,
                                        70196, 81369, 88436, 99609, 108827, 120000};
const int64_t meantone_intervals[] = {0, 8631, 19218, 31173, 38436, 50391, 57849,
                                      69609, 77067, 88827, 100782, 108240, 120000};
const int64_t werck_intervals[] = {0, 9367, 19218, 27769, 39023, 47458, 58827,
                                   69610, 79023, 88828, 97479, 109219, 120000};
const int64_t vallotti_intervals[] = {0, 9367, 19609, 27769, 39218, 47458, 58827,
                                      69805, 79023, 89414, 97479, 109023, 120000};
const int64_t barnes_intervals[] = {0, 9367, 19609, 27769, 39218, 47458, 59218,
                                    69805, 79023, 89414, 97479, 109023, 120000};
const int64_t indian_intervals[] = {0, 9022, 11173, 18240, 20391, 29413, 31564, 38631,
                                    40782, 49804, 51955, 59022, 61173, 70196, 79218, 81369,
                                    88436, 90586, 99609, 101760, 108827, 110977, 120000};
const int64_t slendro_intervals[] = {0, 25695, 49371, 72489, 96883, 120000};
const int64_t pelog_intervals[] = {0, 13324, 27181, 54501, 69037, 80283, 96883, 120000};
const int64_t arabic1_intervals[] = {0, 9020, 18040, 20390, 29410, 38440, 40780, 49800, 58830,
                                     67850, 70195, 79220, 88240, 90590, 99610, 108630, 117650,
                                     120000};
const int64_t arabic2_intervals[] = {0, 15000, 20000, 30000, 35000, 50000, 60000,
                                     70000, 75000, 90000, 100000, 105000, 120000};
const int64_t tone19_intervals[] = {
    step(0, 19), step(1, 19), step(2, 19), step(3, 19), step(4, 19), step(5, 19), step(6, 19),
    step(7, 19), step(8, 19), step(9, 19), step(10, 19), step(11, 19), step(12, 19), step(13, 19),
    step(14, 19), step(15, 19), step(16, 19), step(17, 19), step(18, 19), step(19, 19)};
const int64_t tone24_intervals[] = {
    step(0, 24), step(1, 24), step(2, 24), step(3, 24), step(4, 24), step(5, 24), step(6, 24),
    step(7, 24), step(8, 24), step(9, 24), step(10, 24), step(11, 24), step(12, 24),
    step(13, 24), step(14, 24), step(15, 24), step(16, 24), step(17, 24), step(18, 24),
    step(19, 24), step(20, 24), step(21, 24), step(22, 24), step(23, 24), step(24, 24)};
const int64_t tone31_intervals[] = {
    step(0, 31), step(1, 31), step(2, 31), step(3, 31), step(4, 31), step(5, 31), step(6, 31),
    step(7, 31), step(8, 31), step(9, 31), step(10, 31), step(11, 31), step(12, 31),
    step(13, 31), step(14, 31), step(15, 31), step(16, 31), step(17, 31), step(18, 31),
    step(19, 31), step(20, 31), step(21, 31), step(22, 31), step(23, 31), step(24, 31),
    step(25, 31), step(26, 31), step(27, 31), step(28, 31), step(29, 31), step(30, 31),
    step(31, 31)};
const int64_t tone53_intervals[] = {
    step(0, 53), step(1, 53), step(2, 53), step(3, 53), step(4, 53), step(5, 53), step(6, 53),
    step(7, 53), step(8, 53), step(9, 53), step(10, 53), step(11, 53), step(12, 53),
    step(13, 53), step(14, 53), step(15, 53), step(16, 53), step(17, 53), step(18, 53),
    step(19, 53), step(20, 53), step(21, 53), step(22, 53), step(23, 53), step(24, 53),
    step(25, 53), step(26, 53), step(27, 53), step(28, 53), step(29, 53), step(30, 53),
    step(31, 53), step(32, 53), step(33, 53), step(34, 53), step(35, 53), step(36, 53),
    step(37, 53), step(38, 53), step(39, 53), step(40, 53), step(41, 53), step(42, 53),
    step(43, 53), step(44, 53), step(45, 53), step(46, 53), step(47, 53), step(48, 53),
    step(49, 53), step(50, 53), step(51, 53), step(52, 53), step(53, 53)};
const int64_t partch_intervals[] = {
    0,     2151,  5327,  8447,  11173, 15064, 16500, 18240,  20391,  23117,  26687,
    29413, 31564, 34741, 38631, 41751, 43508, 47078, 49804,  51955,  55132,  58251,
    61749, 64868, 68045, 70196, 72922, 76492, 78249, 81369,  85259,  88436,  90586,
    93313, 96883, 99609, 101760, 103500, 104936, 108827, 111553, 114673, 117849, 120000};
const int64_t carlos_a_intervals[] = {0, 7800, 15600, 23399, 31199, 38999, 46799, 54599, 62398,
                                      70198, 77998, 85798, 93598, 101397, 109197, 116997, 120000};
const int64_t carlos_b_intervals[] = {0, 6380, 12760, 19140, 25520, 31900, 38280,
                                      44659, 51039, 57416, 63799, 70179, 76559, 82939,
                                      89319, 95699, 102079, 108459, 114839, 120000};
const int64_t carlos_g_intervals[] = {
    0,     3510,  7020,  10530, 14040, 17550, 21060, 24570,  28080,  31590,  35100,  38610,
    42120, 45630, 49140, 52650, 56160, 59670, 63180, 66690,  70200,  73710,  77220,  80730,
    84240, 87750, 91260, 94770, 98280, 101790, 105300, 108810, 112320, 115830, 119340, 120000};
const int64_t harmonic_intervals[] = {0, 10496, 20391, 29751, 38631, 47078, 55132,
                                      70196, 84053, 90587, 96883, 108827, 120000};

template <size_t N>
constexpr int16_t count_of(const int64_t (&)[N])
{
    return int16_t(N);
}

// The sharp and flat rows of the twelve keys, from C.
const char* const sharp_row[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
const char* const flat_row[12] = {"C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B"};
// Keys whose plain names are spelt with flats: 1, 3, 5, 8 and 10.
constexpr unsigned flat_keys = 1322;

// Names by key (row) and degree from the key (entry); the rows stand as
// they have always been labelled, including their doubled names.
const char* const major_block[12][12] = {
    {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"},
    {"Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B", "C"},
    {"D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B", "C", "C#"},
    {"Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B", "C", "Db", "D"},
    {"E", "F", "F#", "G", "G#", "A", "A#", "B", "B", "C#", "D", "D#"},
    {"F", "Gb", "G", "Ab", "A", "Bb", "B", "C", "Db", "D", "Eb", "E"},
    {"F#", "G", "G#", "A", "A#", "B", "C", "C#", "D", "D#", "E", "E#"},
    {"G", "G#", "A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#"},
    {"Ab", "A", "Bb", "B", "C", "Db", "D", "Eb", "E", "F", "Gb", "G"},
    {"A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#", "G", "G#"},
    {"Bb", "B", "C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A"},
    {"B", "C", "C#", "D", "D#", "E", "E", "F#", "G", "G#", "A", "A#"},
};
const char* const minor_block[12][12] = {
    {"C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B"},
    {"C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B", "C"},
    {"D", "Eb", "E", "F", "Gb", "G", "Ab", "A", "Bb", "B", "C", "Db"},
    {"D#", "E", "E#", "F#", "G", "G#", "A", "A#", "B", "C", "C#", "D"},
    {"E", "F", "F#", "G", "G#", "A", "A#", "B", "C", "C#", "D", "D#"},
    {"F", "Gb", "G", "Ab", "A", "Bb", "B", "C", "Db", "D", "Eb", "E"},
    {"F#", "G", "G#", "A", "A#", "B", "C", "C#", "D", "D#", "E", "F"},
    {"G", "Ab", "A", "Bb", "B", "C", "Db", "D", "Eb", "E", "F", "Gb"},
    {"G#", "A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#", "G"},
    {"A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#", "G", "G#"},
    {"Bb", "B", "C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab", "A"},
    {"B", "C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#"},
};
const char* const seven_note_block[12][7] = {
    {"C", "D", "E", "F", "G", "A", "B"},       {"Db", "Eb", "F", "Gb", "Ab", "Bb", "C"},
    {"D", "E", "F#", "G", "A", "B", "C#"},     {"Eb", "F", "G", "Ab", "Bb", "C", "D"},
    {"E", "F#", "G#", "A", "B", "C#", "D#"},   {"F", "G", "A", "Bb", "C", "D", "E"},
    {"F#", "G#", "A#", "B", "C#", "D#", "E#"}, {"G", "A", "B", "C", "D", "E", "F#"},
    {"Ab", "Bb", "C", "Db", "Eb", "F", "G"},   {"A", "B", "C#", "D", "E", "F#", "G#"},
    {"Bb", "C", "D", "Eb", "F", "G", "A"},     {"B", "C#", "D#", "E", "F#", "G#", "A#"},
};

// Semitone index of each position of the scales with other numbers of
// notes; -1 for a position without a name.
const int16_t indian_map[22] = {0, -1, 1, -1, 2, 3, -1, -1, 4, 5, -1, 6, -1, 7, 8, -1, -1, 9, -1, 10, -1, 11};
const int16_t arabic1_map[17] = {0, 1, -1, 2, 3, -1, 4, 5, 6, -1, 7, 8, -1, 9, 10, 11, -1};
const int16_t tone19_map[19] = {0, -1, 1, 2, -1, 3, 4, -1, 5, 6, -1, 7, -1, 8, 9, -1, 10, -1, 11};
const int16_t tone24_map[24] = {0, -1, 1, -1, 2, -1, 3, -1, 4, -1, 5, -1,
                                6, -1, 7, -1, 8, -1, 9, -1, 10, -1, 11, -1};
const int16_t tone31_map[31] = {0, -1, -1, 1, -1, 2, -1, -1, 3, -1, 4, -1, -1, 5, -1, -1,
                                6, -1, 7, -1, -1, 8, -1, 9, -1, -1, 10, -1, -1, 11, -1};
const int16_t tone53_named[12] = {0, 4, 9, 13, 18, 22, 27, 31, 35, 40, 44, 49};
const int16_t partch_named[12] = {0, 4, 8, 11, 14, 18, 21, 25, 29, 32, 35, 39};
const int16_t carlos_a_map[16] = {0, 1, -1, 2, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1};
const int16_t carlos_b_map[19] = {0, -1, 1, 2, -1, 3, 4, -1, 5, 6, -1, 7, -1, 8, 9, -1, 10, 11, -1};
const int16_t carlos_g_named[12] = {0, 3, 6, 9, 11, 14, 17, 20, 23, 26, 29, 32};
// "Slendro": five notes near the equal pentatonic, named after the nearest
// note of the twelve from the key: key, second, fourth, fifth, sixth.
const int16_t slendro_map[5] = {0, 2, 5, 7, 9};

// Index among the named positions, or -1.
int16_t named_index(const int16_t (&named)[12], int position)
{
    for (int i = 0; i < 12; ++i) {
        if (named[i] == position) return int16_t(i);
    }
    return -1;
}

int mod(int a, int n)
{
    const int r = a % n;
    return r < 0 ? r + n : r;
}

} // namespace

const char* const scale_names[scale_count + 1] = {
    "Major",      "Minor",      "Chromatic", "Ling Lun",  "Scholar's", "Greek dia", "Greek chr",
    "Greek en",   "Pythagor",   "Just major", "Just minor", "Meantone", "Werck III", "Vallotti",
    "Barnes",     "Indian",     "Slendro",   "Pelog",     "Arabic 1",  "Arabic 2",  "19 Tone",
    "24 Tone",    "31 Tone",    "53 Tone",   "Partch",    "Carlos A",  "Carlos B",  "Carlos G",
    "Harmonic",   nullptr};

const int64_t* const scale_intervals[scale_count + 1] = {
    major_intervals,    minor_intervals,     chromatic_intervals,  ling_lun_intervals,
    scholars_intervals, greek_dia_intervals, greek_chr_intervals,  greek_en_intervals,
    pythagor_intervals, just_major_intervals, just_minor_intervals, meantone_intervals,
    werck_intervals,    vallotti_intervals,  barnes_intervals,     indian_intervals,
    slendro_intervals,  pelog_intervals,     arabic1_intervals,    arabic2_intervals,
    tone19_intervals,   tone24_intervals,    tone31_intervals,     tone53_intervals,
    partch_intervals,   carlos_a_intervals,  carlos_b_intervals,   carlos_g_intervals,
    harmonic_intervals, nullptr};

const int16_t scale_entries[scale_count] = {
    count_of(major_intervals),    count_of(minor_intervals),      count_of(chromatic_intervals),
    count_of(ling_lun_intervals), count_of(scholars_intervals),   count_of(greek_dia_intervals),
    count_of(greek_chr_intervals), count_of(greek_en_intervals),  count_of(pythagor_intervals),
    count_of(just_major_intervals), count_of(just_minor_intervals), count_of(meantone_intervals),
    count_of(werck_intervals),    count_of(vallotti_intervals),   count_of(barnes_intervals),
    count_of(indian_intervals),   count_of(slendro_intervals),    count_of(pelog_intervals),
    count_of(arabic1_intervals),  count_of(arabic2_intervals),    count_of(tone19_intervals),
    count_of(tone24_intervals),   count_of(tone31_intervals),     count_of(tone53_intervals),
    count_of(partch_intervals),   count_of(carlos_a_intervals),   count_of(carlos_b_intervals),
    count_of(carlos_g_intervals), count_of(harmonic_intervals)};

const int16_t minor_scale_flags[12] = {1, 0, 1, 1, 0, 1, 0, 1, 1, 0, 1, 0};
const int16_t major_scale_flags[12] = {1, 0, 1, 0, 1, 1, 0, 1, 0, 1, 0, 1};

const char* Note_Name(int scale, int key, int note)
{
    key = mod(key, 12);
    note = mod(note, 12);
    if (scale > 1) return ((flat_keys >> key) & 1u) ? flat_row[note] : sharp_row[note];
    const int degree = mod(note - key, 12);
    return scale == 0 ? major_block[key][degree] : minor_block[key][degree];
}

const char* Scale_Note_Name(int key, int scale, int position)
{
    if (scale < 0 || scale >= scale_count) return " ";
    key = mod(key, 12);
    const int entries = scale_entries[scale];
    if (entries == 13) return sharp_row[mod(position + key, 12)];
    if (entries == 8) {
        if (scale == 1) {
            position = mod(position - 2, 7);
            key = mod(key + 3, 12);
        } else if (scale >= 4 && scale <= 7) {
            position = mod(position + 2, 7);
            key = mod(key - 4, 12);
        }
        return seven_note_block[key][mod(position, 7)];
    }
    const int notes = entries - 1;
    if (position < 0 || position >= notes) return " ";
    int16_t index = -1;
    switch (scale) {
    case 15: index = indian_map[position]; break;
    case 16: index = slendro_map[position]; break;
    case 18: index = arabic1_map[position]; break;
    case 20: index = tone19_map[position]; break;
    case 21: index = tone24_map[position]; break;
    case 22: index = tone31_map[position]; break;
    case 23: index = named_index(tone53_named, position); break;
    case 24: index = named_index(partch_named, position); break;
    case 25: index = carlos_a_map[position]; break;
    case 26: index = carlos_b_map[position]; break;
    case 27: index = named_index(carlos_g_named, position); break;
    default: break;
    }
    if (index < 0) return " ";
    return sharp_row[mod(index + key, 12)];
}

const char* Scale_Interval_Text(int scale, int position)
{
    static char buffer[32];
    buffer[0] = '\0';
    if (scale < 0 || scale >= scale_count || position < 0 || position >= scale_entries[scale])
        return buffer;
    std::snprintf(buffer, sizeof buffer, "%ld", long((scale_intervals[scale][position] + 50) / 100));
    return buffer;
}
