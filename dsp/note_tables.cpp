#include "dsp/note_tables.h"

#include <algorithm>
#include <cmath>

double Note_Frequency(int key_note, int64_t interval, int detune)
{
    const double reference = 440.0 * std::pow(2.0, double(detune) / 1200.0);
    return reference * std::pow(2.0, double(key_note - 69) / 12.0 + double(interval) / 120000.0);
}

namespace {

struct Entry {
    double period;
    bool bypassed;
};

} // namespace

void Note_Table::build(Scale_State& marks, int scale_index, int key_index, int detune,
                       double host_rate, int held_note) noexcept
{
    const int s = scale_index >= 0 && scale_index < scale_count ? scale_index : scale_chromatic;
    const int key = ((key_index % 12) + 12) % 12;
    const int64_t* intervals = scale_intervals[s];
    Entry entries[CV_DSPObject::max_targets];
    int n = 0;

    const int held_key = held_note - Scale_State::lowest_note;
    const bool held = held_key >= 0 && held_key < Scale_State::keyboard_keys;
    explicit_form = held || Is_TwelveNoteScale(s);
    unit = 64.0;
    if (held) {
        // The key's own pitch in the tuning of the scale and key, when the
        // scale has one per key; equal temperament otherwise.
        const int position = ((held_note - key) % 12 + 12) % 12;
        const int64_t interval = Is_TwelveNoteScale(s) ? intervals[position] : int64_t(position) * 10000;
        const double hz = Note_Frequency(held_note - position, interval, detune);
        entries[n++] = {host_rate / hz * unit, false};
    } else if (explicit_form) {
        for (int k = 0; k < Scale_State::keyboard_keys; ++k) {
            if (marks.isKeyRemoved(k, s)) continue;
            const int note = Scale_State::lowest_note + k;
            const int position = ((note - key) % 12 + 12) % 12;
            const double hz = Note_Frequency(note - position, intervals[position], detune);
            entries[n++] = {host_rate / hz * unit, marks.isKeyBypassed(k, s)};
        }
    } else {
        // One octave low enough that whole units resolve a small fraction of
        // a cent: the key of MIDI octave -1.
        const int rows = Scale_State::rowsOf(s);
        for (int r = 0; r < rows && n < CV_DSPObject::max_targets; ++r) {
            if (marks.isRowRemoved(r, s)) continue;
            const double hz = Note_Frequency(key, intervals[r], detune);
            entries[n++] = {host_rate / hz * unit, marks.isRowBypassed(r, s)};
        }
    }
    std::sort(entries, entries + n, [](const Entry& a, const Entry& b) { return a.period < b.period; });

    count = n;
    for (int i = 0; i < n; ++i) {
        periods[i] = entries[i].bypassed ? 0 : int64_t(entries[i].period);
        octaves[i] = 0;
    }
    for (int i = 1; i < n; ++i) bounds[i] = int64_t(std::sqrt(entries[i - 1].period * entries[i].period));
    if (n == 0) {
        bounds[0] = 0;
    } else if (explicit_form) {
        bounds[0] = 0;
        bounds[n] = CV_DSPObject::target_sentinel;
    } else {
        // The octave wraps: the lowest note borders the highest one of the
        // octave below.
        const double wrap = std::sqrt(entries[n - 1].period * 2.0 * entries[0].period);
        bounds[0] = int64_t(wrap * 0.5);
        bounds[n] = int64_t(wrap);
    }
}

void Note_Table::apply(CV_DSPObject& engine) const noexcept
{
    if (explicit_form)
        engine.set_note_table(count, periods, bounds, octaves);
    else
        engine.set_octave_table(count, periods, bounds, unit);
}
