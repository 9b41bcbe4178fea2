#pragma once

// Stream forms of the tracked frames, for any reader or writer with
// read_bytes/write_bytes and big-endian read_int32/write_int32.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "graph/model/Stream_Floats.h"

namespace trackedFrameStream {

using streamFloats::readFloat;
using streamFloats::writeFloat;

} // namespace trackedFrameStream

template <class Writer> bool TrackedFrameArray::writeFrames(Writer& out) const
{
    using namespace trackedFrameStream;
    const int64_t n = trackedEnd();
    if (!out.write_int32(int32_t(uint32_t(n * TrackedFrame::streamBytes)))) return false;
    for (int64_t i = 0; i < n; ++i) {
        const TrackedFrame f = get(i);
        const uint8_t tail[2] = {f.beat, uint8_t(f.midiNote)};
        if (!writeFloat(out, f.minSample) || !writeFloat(out, f.maxSample) ||
            !writeFloat(out, f.periodA) || !writeFloat(out, f.periodB) ||
            !out.write_int32(f.centsA) || !out.write_int32(f.centsB) ||
            !writeFloat(out, f.outputPeriod) || !writeFloat(out, f.modulationOffset) ||
            !writeFloat(out, f.modulationGain) || !writeFloat(out, f.modulationParameter) ||
            !writeFloat(out, f.throatOffset) || !out.write_int32(f.bar) ||
            !out.write_bytes(tail, 2))
            return false;
    }
    return true;
}

template <class Reader> bool TrackedFrameArray::readFrames(Reader& in, uint32_t frameBytes)
{
    using namespace trackedFrameStream;
    tracked.store(0, std::memory_order_release);
    clear();
    int32_t rawBytes = 0;
    if (!in.read_int32(rawBytes)) return false;
    const uint32_t bytes = uint32_t(rawBytes);
    const int64_t n = int64_t(bytes / frameBytes);
    if (n > maxFrames) return false;
    for (int64_t i = 0; i < n; ++i) {
        // Grown as the frames arrive, so that a stream that claims more
        // frames than it holds fails before it costs their memory.
        if (i >= count) grow(std::min<int64_t>(n, std::max<int64_t>(2 * count, 4096)));
        TrackedFrame f;
        bool ok = readFloat(in, f.minSample) && readFloat(in, f.maxSample) &&
                  readFloat(in, f.periodA) && readFloat(in, f.periodB) &&
                  in.read_int32(f.centsA) && in.read_int32(f.centsB) &&
                  readFloat(in, f.outputPeriod) && readFloat(in, f.modulationOffset) &&
                  readFloat(in, f.modulationGain) && readFloat(in, f.modulationParameter) &&
                  readFloat(in, f.throatOffset);
        if (ok && frameBytes == TrackedFrame::streamBytes) {
            uint8_t tail[2] = {0, 0};
            ok = in.read_int32(f.bar) && in.read_bytes(tail, 2);
            f.beat = tail[0];
            f.midiNote = int8_t(tail[1]);
        } else if (ok) {
            int32_t note = 0, bar = 0, beat = 0;
            ok = in.read_int32(note) && in.read_int32(bar) && in.read_int32(beat);
            f.midiNote = int8_t(note);
            f.bar = bar;
            f.beat = uint8_t(beat);
        }
        if (!ok) return false;
        // Periods no tracker writes (not finite, or not above zero) make the
        // hop unvoiced, and peaks that are not finite silent, so that a
        // damaged stream gives no later step an impossible number.
        if (f.periodB != -1.0f &&
            !(std::isfinite(f.periodA) && std::isfinite(f.periodB) && f.periodA > 0.0f && f.periodB > 0.0f)) {
            f.periodB = -1.0f;
            f.centsB = TrackedFrame::unvoicedCents;
        }
        if (!std::isfinite(f.minSample) || !std::isfinite(f.maxSample)) f.minSample = f.maxSample = 0.0f;
        putAll(i, f);
        tracked.store(i + 1, std::memory_order_release);
    }
    return true;
}
