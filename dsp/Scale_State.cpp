#include "dsp/Scale_State.h"

#include <cstring>
#include <initializer_list>

Scale_State::Scale_State()
{
    for (int s = 0; s < scale_count; ++s) {
        bypassedRows[s] = new uint8_t[size_t(rowsOf(s))]();
        removedRows[s] = new uint8_t[size_t(rowsOf(s))]();
        bypassedKeys[s] = new uint8_t[keyboard_keys]();
        removedKeys[s] = new uint8_t[keyboard_keys]();
        touched[s] = false;
    }
}

Scale_State::~Scale_State()
{
    for (int s = 0; s < scale_count; ++s) {
        delete[] bypassedRows[s];
        delete[] removedRows[s];
        delete[] bypassedKeys[s];
        delete[] removedKeys[s];
    }
}

bool Scale_State::isRowBypassed(int row, int s)
{
    if (!validScale(s) || row < 0 || row >= rowsOf(s)) return false;
    touched[s] = true;
    return bypassedRows[s][row] != 0;
}

bool Scale_State::isRowRemoved(int row, int s)
{
    if (!validScale(s) || row < 0 || row >= rowsOf(s)) return false;
    touched[s] = true;
    return removedRows[s][row] != 0;
}

int Scale_State::keyColumnOfRow(int row, int keyRoot, int s)
{
    if (!Is_TwelveNoteScale(s)) return -1;
    return ((row + keyRoot + 5) % 12 + 12) % 12;
}

void Scale_State::setRow(uint8_t* const* rows, uint8_t* const* keys, int row, int keyRoot, int s,
                         uint8_t value)
{
    if (!validScale(s) || row < 0 || row >= rowsOf(s)) return;
    touched[s] = true;
    rows[s][row] = value;
    const int column = keyColumnOfRow(row, keyRoot, s);
    if (column < 0) return;
    for (int k = column; k < keyboard_keys; k += 12) keys[s][k] = value;
}

void Scale_State::setRowBypassed(int row, int keyRoot, int s, uint8_t value)
{
    setRow(bypassedRows, bypassedKeys, row, keyRoot, s, value);
}

void Scale_State::setRowRemoved(int row, int keyRoot, int s, uint8_t value)
{
    setRow(removedRows, removedKeys, row, keyRoot, s, value);
}

bool Scale_State::isKeyBypassed(int keyIndex, int s)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return false;
    return bypassedKeys[s][keyIndex] != 0;
}

bool Scale_State::isKeyRemoved(int keyIndex, int s)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return false;
    return removedKeys[s][keyIndex] != 0;
}

void Scale_State::setKeyBypassed(int keyIndex, int s, uint8_t value)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return;
    touched[s] = true;
    bypassedKeys[s][keyIndex] = value;
}

void Scale_State::setKeyRemoved(int keyIndex, int s, uint8_t value)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return;
    touched[s] = true;
    removedKeys[s][keyIndex] = value;
}

bool Scale_State::writeGroup(Byte_Writer& out, uint8_t* const* first, uint8_t* const* second,
                             bool rows) const
{
    if (!out.write_int16(scale_count)) return false;
    for (int s = 0; s < scale_count; ++s) {
        const int size = rows ? rowsOf(s) : keyboard_keys;
        for (uint8_t* const* table : {first, second}) {
            // An untouched scale saves as an empty array.
            if (!touched[s]) {
                if (!out.write_int16(0)) return false;
                continue;
            }
            if (!out.write_int16(int16_t(size))) return false;
            for (int i = 0; i < size; ++i) {
                if (!out.write_int16(table[s][i] ? 1 : 0)) return false;
            }
        }
    }
    return true;
}

bool Scale_State::readGroup(Byte_Reader& in, uint8_t** first, uint8_t** second, bool rows)
{
    int16_t count = 0;
    if (!in.read_int16(count) || count < 0) return false;
    if (count >= 30) count = scale_count;
    for (int s = 0; s < count; ++s) {
        const int size = rows ? rowsOf(s) : keyboard_keys;
        for (uint8_t** table : {first, second}) {
            int16_t present = 0;
            if (!in.read_int16(present)) return false;
            if (present == 0) continue;
            // The array is made anew: cleared, then filled word by word.
            std::memset(table[s], 0, size_t(size));
            touched[s] = true;
            for (int i = 0; i < size; ++i) {
                int16_t word = 0;
                if (!in.read_int16(word)) return false;
                table[s][i] = word != 0 ? 1 : 0;
            }
        }
    }
    return true;
}

bool Scale_State::write(Byte_Writer& out) const
{
    return writeGroup(out, bypassedRows, removedRows, true) &&
           writeGroup(out, bypassedKeys, removedKeys, false);
}

bool Scale_State::read(Byte_Reader& in)
{
    return readGroup(in, bypassedRows, removedRows, true) &&
           readGroup(in, bypassedKeys, removedKeys, false);
}
