#pragma once

// Stream form of the time history (TimeHistory.h), for any reader or writer
// with big-endian read_int32/write_int32: the effect's streamer wrappers and
// Byte_Reader / Byte_Writer. Interface thread.

#include <cmath>

#include "graph/model/Stream_Floats.h"

namespace timeStream {

template <class Writer> bool writeMap(Writer& out, const TimeMap& map)
{
    const auto& s = map.getSourceTimes();
    const auto& t = map.getTargetTimes();
    if (!out.write_int32(int32_t(s.size()))) return false;
    for (size_t i = 0; i < s.size(); ++i)
        if (!streamFloats::writeFloat(out, float(s[i])) || !streamFloats::writeFloat(out, float(t[i]))) return false;
    return true;
}

// False on a short stream and on pairs that make no map; `map` is then left
// empty.
template <class Reader> bool readMap(Reader& in, TimeMap& map)
{
    map = TimeMap();
    int32_t count = 0;
    if (!in.read_int32(count) || uint32_t(count) > TimeHistory::maxStreamPairs || count == 1) return false;
    if (count == 0) return true;
    std::vector<double> sources, targets;
    for (int32_t i = 0; i < count; ++i) {
        float s = 0.0f, t = 0.0f;
        if (!streamFloats::readFloat(in, s) || !streamFloats::readFloat(in, t)) return false;
        sources.push_back(double(s));
        targets.push_back(double(t));
    }
    auto read = TimeMap::fromBreakpoints(std::move(sources), std::move(targets));
    if (!read) return false;
    map = std::move(*read);
    return true;
}

} // namespace timeStream

template <class Writer> bool TimeHistory::write(Writer& out) const
{
    const bool withBase = !base.isIdentity();
    if (!out.write_int32(int32_t(steps.size() + (withBase ? 1 : 0)))) return false;
    if (withBase && !timeStream::writeMap(out, base)) return false;
    for (const TimeMap& step : steps)
        if (!timeStream::writeMap(out, step)) return false;
    return out.write_int32(currentIndex + (withBase ? 1 : 0));
}

template <class Reader> bool TimeHistory::read(Reader& in)
{
    clear();
    int32_t rawCount = 0;
    if (!in.read_int32(rawCount) || uint32_t(rawCount) > maxStreamSteps) return false;
    const uint32_t count = uint32_t(rawCount);
    const uint32_t dropped = count > uint32_t(maxSteps) ? count - uint32_t(maxSteps) : 0;
    for (uint32_t s = 0; s < count; ++s) {
        TimeMap map;
        if (!timeStream::readMap(in, map)) return false;
        if (s + 1 == dropped)
            base = std::move(map);
        else if (s >= dropped)
            steps.push_back(std::move(map));
    }
    int32_t index = 0;
    if (!in.read_int32(index)) return false;
    const int64_t kept = int64_t(index) - int64_t(dropped);
    const int64_t last = int64_t(steps.size()) - 1;
    currentIndex = int32_t(kept > last ? last : (kept < -1 ? -1 : kept));
    return true;
}

// The section of the session state that holds the time history, in the
// current and in the older stream.
template <class Writer> bool writeTimeHistory(Writer& out, const TimeHistory& history) { return history.write(out); }
template <class Reader> bool readTimeHistory(Reader& in, TimeHistory& history) { return history.read(in); }
