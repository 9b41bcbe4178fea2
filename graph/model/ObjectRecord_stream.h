#pragma once

// Stream forms of object lists, for any reader or writer with
// read_bytes/write_bytes and big-endian read_int16/read_int32 (and the
// write_ forms). Interface thread.
//
// Current form of a list: u32 record count, then per record i32 position,
// i16 pitch, f32 retuneSpeed, f32 throatLength, f32 adjustVibrato,
// u8 selected, u8 kind, and for kind 3 directly its curve: u32 stepFrames,
// u32 pointCount, then per point i16 pitchDelta and three f32
// (modulationOffset, modulationGain, modulationParameter).
//
// Older form, read only, given its byte size: all records first, 32 bytes
// each (i32 position, i16 pitch, 2 skipped, three f32, u8 selected, 3
// skipped, i32 kind cut to 8 bits, 4 skipped), then for each kind-3 record
// in turn a curve: u32 size in bytes (0: the record keeps no curve),
// u32 stepFrames, u16 pointCount, 2 skipped, and per point i16 pitchDelta,
// 2 skipped, three f32.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "graph/model/Stream_Floats.h"

namespace objectStream {

// Most records or points a stream may claim; more is a broken stream.
constexpr uint32_t maxItems = 1u << 24;

using streamFloats::readFloat;
using streamFloats::writeFloat;

template <class Reader> bool skip(Reader& in, size_t n)
{
    unsigned char scratch[8];
    return n <= sizeof scratch && in.read_bytes(scratch, n);
}

// Numbers of a damaged stream brought into what the knobs can give, and
// numbers that are not finite to the neutral value, so that no pass meets an
// impossible retune speed, vibrato scale or modulation.
inline float repaired(float v, float low, float high, float neutral)
{
    return std::isfinite(v) ? std::clamp(v, low, high) : neutral;
}

inline void repair(ObjectRecord& r)
{
    constexpr float mostVibrato = 3.9810717f; // 12 dB
    r.retuneSpeed = repaired(r.retuneSpeed, 0.0f, 400.0f, 0.0f);
    r.throatLength = repaired(r.throatLength, -0.5f, 0.5f, 0.0f);
    r.adjustVibrato = repaired(r.adjustVibrato, 0.0f, mostVibrato, 0.0f);
}

inline void repair(CurvePoint& p)
{
    if (!std::isfinite(p.modulationOffset)) p.modulationOffset = 0.0f;
    if (!std::isfinite(p.modulationGain)) p.modulationGain = 1.0f;
    if (!std::isfinite(p.modulationParameter)) p.modulationParameter = 0.0f;
}

template <class Writer> bool writeList(Writer& out, const ObjectList& list)
{
    if (!out.write_int32(int32_t(list.count()))) return false;
    for (const ObjectRecord& r : list.records) {
        const uint8_t tail[2] = {r.selected, r.kind};
        if (!out.write_int32(r.position) || !out.write_int16(r.pitch) || !writeFloat(out, r.retuneSpeed) ||
            !writeFloat(out, r.throatLength) || !writeFloat(out, r.adjustVibrato) || !out.write_bytes(tail, 2))
            return false;
        if (r.kind != KindCurve) continue;
        if (!r.curve || r.curve->points.empty()) return false;
        if (!out.write_int32(int32_t(r.curve->stepFrames)) || !out.write_int32(r.curve->pointCount())) return false;
        for (const CurvePoint& p : r.curve->points)
            if (!out.write_int16(p.pitchDelta) || !writeFloat(out, p.modulationOffset) ||
                !writeFloat(out, p.modulationGain) || !writeFloat(out, p.modulationParameter))
                return false;
    }
    return true;
}

// False at the first item that fails; the records read so far stay in
// `list`, sorted.
template <class Reader> bool readList(Reader& in, ObjectList& list)
{
    list.records.clear();
    int32_t count = 0;
    if (!in.read_int32(count) || uint32_t(count) > maxItems) return false;
    bool good = true;
    for (int32_t i = 0; i < count && good; ++i) {
        ObjectRecord r;
        uint8_t tail[2] = {0, 0};
        good = in.read_int32(r.position) && in.read_int16(r.pitch) && readFloat(in, r.retuneSpeed) &&
               readFloat(in, r.throatLength) && readFloat(in, r.adjustVibrato) && in.read_bytes(tail, 2);
        if (!good) break;
        repair(r);
        r.selected = tail[0] != 0 ? 1 : 0;
        r.kind = tail[1];
        if (r.kind == KindCurve) {
            int32_t step = 0, points = 0;
            good = in.read_int32(step) && in.read_int32(points) && step > 0 && points > 0 &&
                   uint32_t(points) <= maxItems;
            if (!good) break;
            auto curve = std::make_unique<CurveData>();
            curve->stepFrames = uint32_t(step);
            for (int32_t k = 0; k < points && good; ++k) {
                CurvePoint p;
                good = in.read_int16(p.pitchDelta) && readFloat(in, p.modulationOffset) &&
                       readFloat(in, p.modulationGain) && readFloat(in, p.modulationParameter);
                repair(p);
                if (good) curve->points.push_back(p);
            }
            if (!good) break;
            r.curve = std::move(curve);
        }
        list.records.push_back(std::move(r));
    }
    list.sort();
    return good;
}

template <class Reader> bool readOlderList(Reader& in, uint32_t bytes, ObjectList& list)
{
    list.records.clear();
    const uint32_t count = bytes / 32;
    if (count > maxItems) return false;
    for (uint32_t i = 0; i < count; ++i) {
        ObjectRecord r;
        int32_t kind = 0;
        uint8_t selected = 0;
        if (!in.read_int32(r.position) || !in.read_int16(r.pitch) || !skip(in, 2) ||
            !readFloat(in, r.retuneSpeed) || !readFloat(in, r.throatLength) || !readFloat(in, r.adjustVibrato) ||
            !in.read_bytes(&selected, 1) || !skip(in, 3) || !in.read_int32(kind) || !skip(in, 4))
            return false;
        repair(r);
        r.selected = selected != 0 ? 1 : 0;
        r.kind = uint8_t(kind & 0xff);
        list.records.push_back(std::move(r));
    }
    for (uint32_t rest = bytes - count * 32; rest > 0; --rest)
        if (!skip(in, 1)) return false;
    for (ObjectRecord& r : list.records) {
        if (r.kind != KindCurve) continue;
        int32_t size = 0;
        if (!in.read_int32(size)) return false;
        if (size == 0) continue;
        int32_t step = 0;
        int16_t points = 0;
        if (!in.read_int32(step) || !in.read_int16(points) || !skip(in, 2) || step <= 0 || uint16_t(points) == 0)
            return false;
        auto curve = std::make_unique<CurveData>();
        curve->stepFrames = uint32_t(step);
        for (uint16_t k = 0; k < uint16_t(points); ++k) {
            CurvePoint p;
            if (!in.read_int16(p.pitchDelta) || !skip(in, 2) || !readFloat(in, p.modulationOffset) ||
                !readFloat(in, p.modulationGain) || !readFloat(in, p.modulationParameter))
                return false;
            repair(p);
            curve->points.push_back(p);
        }
        r.curve = std::move(curve);
    }
    list.sort();
    return true;
}

} // namespace objectStream
