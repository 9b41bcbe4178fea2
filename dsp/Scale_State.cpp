#include "dsp/Scale_State.h"

#include <initializer_list>

Scale_State::Scale_State()
{
    for (int s = 0; s < scale_count; ++s) {
        bypassedRows[s] = new Mark[size_t(rowsOf(s))]();
        removedRows[s] = new Mark[size_t(rowsOf(s))]();
        bypassedKeys[s] = new Mark[keyboard_keys]();
        removedKeys[s] = new Mark[keyboard_keys]();
        touched[s].store(false, std::memory_order_relaxed);
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
    touch(s);
    return marked(bypassedRows[s][row]);
}

bool Scale_State::isRowRemoved(int row, int s)
{
    if (!validScale(s) || row < 0 || row >= rowsOf(s)) return false;
    touch(s);
    return marked(removedRows[s][row]);
}

int Scale_State::keyColumnOfRow(int row, int keyRoot, int s)
{
    if (!Is_TwelveNoteScale(s)) return -1;
    return ((row + keyRoot + 5) % 12 + 12) % 12;
}

void Scale_State::setRow(Mark* const* rows, Mark* const* keys, int row, int keyRoot, int s, uint8_t value)
{
    if (!validScale(s) || row < 0 || row >= rowsOf(s)) return;
    touch(s);
    mark(rows[s][row], value);
    const int column = keyColumnOfRow(row, keyRoot, s);
    if (column < 0) return;
    for (int k = column; k < keyboard_keys; k += 12) mark(keys[s][k], value);
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
    return marked(bypassedKeys[s][keyIndex]);
}

bool Scale_State::isKeyRemoved(int keyIndex, int s)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return false;
    return marked(removedKeys[s][keyIndex]);
}

void Scale_State::setKeyBypassed(int keyIndex, int s, uint8_t value)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return;
    touch(s);
    mark(bypassedKeys[s][keyIndex], value);
}

void Scale_State::setKeyRemoved(int keyIndex, int s, uint8_t value)
{
    if (!validScale(s) || keyIndex < 0 || keyIndex >= keyboard_keys) return;
    touch(s);
    mark(removedKeys[s][keyIndex], value);
}

bool Scale_State::writeGroup(Byte_Writer& out, Mark* const* first, Mark* const* second, bool rows) const
{
    if (!out.write_int16(scale_count)) return false;
    for (int s = 0; s < scale_count; ++s) {
        const int size = rows ? rowsOf(s) : keyboard_keys;
        for (Mark* const* table : {first, second}) {
            // An untouched scale saves as an empty array.
            if (!isTouched(s)) {
                if (!out.write_int16(0)) return false;
                continue;
            }
            if (!out.write_int16(int16_t(size))) return false;
            for (int i = 0; i < size; ++i) {
                if (!out.write_int16(marked(table[s][i]) ? 1 : 0)) return false;
            }
        }
    }
    return true;
}

bool Scale_State::readGroup(Byte_Reader& in, Mark** first, Mark** second, bool rows)
{
    int16_t count = 0;
    if (!in.read_int16(count) || count < 0) return false;
    if (count >= 30) count = scale_count;
    for (int s = 0; s < count; ++s) {
        const int size = rows ? rowsOf(s) : keyboard_keys;
        for (Mark** table : {first, second}) {
            int16_t present = 0;
            if (!in.read_int16(present)) return false;
            if (present == 0) continue;
            // The array is made anew: cleared, then filled word by word.
            for (int i = 0; i < size; ++i) mark(table[s][i], 0);
            touch(s);
            for (int i = 0; i < size; ++i) {
                int16_t word = 0;
                if (!in.read_int16(word)) return false;
                mark(table[s][i], word != 0 ? 1 : 0);
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
