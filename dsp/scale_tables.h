#pragma once

#include <cstdint>

// The 29 tunings that the parameter "Scale" offers, as intervals above the
// key in hundredths of a cent, and the names of their notes. Constant data:
// nothing writes to it at run time, and any thread may read it.

constexpr int scale_count = 29;
// Indices of the scales that code singles out: the two with a key of their
// own spelling, and the one MIDI note entry writes.
constexpr int scale_major = 0;
constexpr int scale_minor = 1;
constexpr int scale_chromatic = 2;
constexpr int64_t octave_interval = 120000;

// Per scale, in index order, each followed by a null entry.
extern const char* const scale_names[scale_count + 1];
extern const int64_t* const scale_intervals[scale_count + 1];
// Entries of each interval array, the octave included: a scale of N notes
// has N + 1 entries. Read no further than this count.
extern const int16_t scale_entries[scale_count];

// The major and minor scales in the twelve-note layout, by semitone from the
// key: 1 for a note of the scale.
extern const int16_t major_scale_flags[12];
extern const int16_t minor_scale_flags[12];

// Bit n is set for scale index n when the scale has twelve notes, one per
// key of the keyboard.
constexpr uint32_t twelve_note_scales = 0x10087F0C;
inline bool Is_TwelveNoteScale(int scale)
{
    return scale >= 0 && scale < scale_count && ((twelve_note_scales >> scale) & 1u) != 0;
}

// Name of a key of the keyboard, `note` 0 to 11 from C, in the spelling of
// the scale and key.
const char* Note_Name(int scale, int key, int note);
// Name of a position of a scale, counted from 0 at the key; a single blank
// for a position without a name.
const char* Scale_Note_Name(int key, int scale, int position);
// The interval of a position in whole cents, as text. The result lies in a
// static buffer that the next call overwrites: interface thread only.
const char* Scale_Interval_Text(int scale, int position);
