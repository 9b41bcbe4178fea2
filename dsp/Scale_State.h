#pragma once

#include <cstdint>

#include "dsp/byte_stream.h"
#include "dsp/scale_tables.h"

// The scale object: the current scale, key and detune, and the user's marks
// on the notes of every scale (ScaleNoteFlags): bypassed or removed, by row
// of the scale list and by key of the 78-key keyboard.
//
// All flag arrays are made in the constructor, so that the MIDI path of the
// audio thread can write them without allocating; a scale counts as touched
// from its first use, and only touched scales carry their marks in a saved
// state. Bytes are written by the interface thread (the scales list, the
// keyboard) and by the audio thread (MIDI note entry); each is a plain store.
class Scale_State {
public:
    static constexpr int keyboard_keys = 78;
    // The lowest key of the keyboard is MIDI note 19.
    static constexpr int lowest_note = 19;

    Scale_State();
    ~Scale_State();
    Scale_State(const Scale_State&) = delete;
    Scale_State& operator=(const Scale_State&) = delete;

    // Rows of a scale: its notes, the octave not counted.
    static int rowsOf(int scale) { return scale_entries[scale] - 1; }

    bool isRowBypassed(int row, int scale);
    bool isRowRemoved(int row, int scale);
    // Stores the mark at the row and, on a twelve-note scale, on every key of
    // that pitch class of the keyboard.
    void setRowBypassed(int row, int key, int scale, uint8_t value);
    void setRowRemoved(int row, int key, int scale, uint8_t value);
    // The keyboard column (0 to 11) of a row, or -1 off the twelve-note scales.
    static int keyColumnOfRow(int row, int key, int scale);

    // Marks of one keyboard key (note - 19).
    bool isKeyBypassed(int keyIndex, int scale);
    bool isKeyRemoved(int keyIndex, int scale);
    void setKeyBypassed(int keyIndex, int scale, uint8_t value);
    void setKeyRemoved(int keyIndex, int scale, uint8_t value);

    bool isTouched(int scale) const { return touched[scale]; }

    // The stream form: the rows group, then the keys group. Reading stops at
    // the first item that fails and answers false, keeping what it read.
    bool write(Byte_Writer& out) const;
    bool read(Byte_Reader& in);

    int16_t scale = 2;
    int16_t key = 0;
    int16_t detune = 0;

    uint8_t* bypassedRows[scale_count];
    uint8_t* removedRows[scale_count];
    uint8_t* bypassedKeys[scale_count];
    uint8_t* removedKeys[scale_count];

private:
    static bool validScale(int scale) { return scale >= 0 && scale < scale_count; }
    void setRow(uint8_t* const* rows, uint8_t* const* keys, int row, int key, int scale,
                uint8_t value);
    bool writeGroup(Byte_Writer& out, uint8_t* const* first, uint8_t* const* second, bool rows) const;
    bool readGroup(Byte_Reader& in, uint8_t** first, uint8_t** second, bool rows);

    bool touched[scale_count];
};
