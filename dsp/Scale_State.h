#pragma once

#include <atomic>
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
// state. Marks are written by the interface thread (the scales list, the
// keyboard, a restored state) and by the audio thread (MIDI note entry), and
// read by both (the note table is built on the audio thread): each mark is
// an atomic byte, stored and loaded relaxed; whoever writes a group of marks
// tells the other side when the group is complete. Scale, key and detune
// are the interface thread's.
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

    bool isTouched(int scale) const { return touched[scale].load(std::memory_order_relaxed); }

    // The stream form: the rows group, then the keys group. Reading stops at
    // the first item that fails and answers false, keeping what it read.
    bool write(Byte_Writer& out) const;
    bool read(Byte_Reader& in);

    int16_t scale = 2;
    int16_t key = 0;
    int16_t detune = 0;

    using Mark = std::atomic<uint8_t>;
    Mark* bypassedRows[scale_count];
    Mark* removedRows[scale_count];
    Mark* bypassedKeys[scale_count];
    Mark* removedKeys[scale_count];

private:
    static bool validScale(int scale) { return scale >= 0 && scale < scale_count; }
    static bool marked(const Mark& mark) { return mark.load(std::memory_order_relaxed) != 0; }
    static void mark(Mark& mark, uint8_t value) { mark.store(value, std::memory_order_relaxed); }
    void touch(int scale) { touched[scale].store(true, std::memory_order_relaxed); }
    void setRow(Mark* const* rows, Mark* const* keys, int row, int key, int scale, uint8_t value);
    bool writeGroup(Byte_Writer& out, Mark* const* first, Mark* const* second, bool rows) const;
    bool readGroup(Byte_Reader& in, Mark** first, Mark** second, bool rows);

    std::atomic<bool> touched[scale_count];
};
