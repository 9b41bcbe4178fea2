#include "graph/model/ObjectRecord.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

std::atomic<long> liveCurves{0};

int16_t clampPitch(double cents)
{
    return int16_t(std::clamp(cents, double(lowestObjectPitch), double(highestObjectPitch)));
}

// Nearest integer, halves away from zero.
int32_t roundAway(double x) { return int32_t(x < 0.0 ? -std::floor(-x + 0.5) : std::floor(x + 0.5)); }

// The frame where a curve's last point lies.
int64_t curveEnd(const ObjectRecord& r)
{
    return int64_t(r.position) + int64_t(r.curve->stepFrames) * r.curve->pointCount();
}

// The curve rebuilt for `length` frames and a pitch span of `span` cents
// from its first pitch to its last: as many points as fit at the old step
// (at least one), their deltas scaled to the new span.
void rebuildCurve(ObjectRecord& r, int64_t length, int32_t span)
{
    if (!r.curve || length < 1) return;
    const CurveData& old = *r.curve;
    const int32_t oldSpan = old.points.back().pitchDelta;
    const int64_t step = std::min<int64_t>(old.stepFrames, length);
    const int64_t n = std::max<int64_t>(1, length / step);
    auto fresh = std::make_unique<CurveData>();
    fresh->stepFrames = uint32_t(length / n);
    for (int64_t k = 0; k < n; ++k) {
        // The old point at the same share of the length.
        const int64_t at = std::clamp<int64_t>((k + 1) * old.pointCount() / n - 1, 0, old.pointCount() - 1);
        CurvePoint p = old.points[size_t(at)];
        const double scaled = oldSpan != 0 ? double(p.pitchDelta) * span / oldSpan : double(span) * (k + 1) / n;
        p.pitchDelta = int16_t(std::clamp(roundAway(scaled), -7700, 7700));
        fresh->points.push_back(p);
    }
    r.curve = std::move(fresh);
}

} // namespace

CurveData::CurveData() { liveCurves.fetch_add(1, std::memory_order_relaxed); }
CurveData::CurveData(const CurveData& other) : stepFrames(other.stepFrames), points(other.points)
{
    liveCurves.fetch_add(1, std::memory_order_relaxed);
}
CurveData::~CurveData() { liveCurves.fetch_sub(1, std::memory_order_relaxed); }
long CurveData::liveCount() { return liveCurves.load(std::memory_order_relaxed); }

ObjectRecord::ObjectRecord(const ObjectRecord& o)
    : curve(o.curve ? std::make_unique<CurveData>(*o.curve) : nullptr), retuneSpeed(o.retuneSpeed),
      throatLength(o.throatLength), adjustVibrato(o.adjustVibrato), position(o.position), pitch(o.pitch),
      kind(o.kind), selected(o.selected)
{
}

ObjectRecord& ObjectRecord::operator=(const ObjectRecord& o)
{
    if (this != &o) *this = ObjectRecord(o);
    return *this;
}

void ObjectList::sort()
{
    std::stable_sort(records.begin(), records.end(),
                     [](const ObjectRecord& a, const ObjectRecord& b) { return a.position < b.position; });
}

//--- Queries ----------------------------------------------------------------

bool pitchAt(const ObjectList& list, int64_t frame, int16_t& pitch)
{
    std::vector<const ObjectRecord*> known;
    for (const ObjectRecord& r : list.records)
        if (knownKind(r.kind)) known.push_back(&r);
    for (size_t i = 0; i + 1 < known.size(); ++i) {
        const ObjectRecord& r = *known[i];
        const ObjectRecord& next = *known[i + 1];
        if (r.position > frame) return false;
        if (next.position < frame || (next.kind != KindLinePoint && next.kind != KindEnd)) continue;
        switch (r.kind) {
        case KindNote: pitch = r.pitch; return true;
        case KindCurve: {
            if (!r.curve) return false;
            const int64_t index = (frame - r.position) / int64_t(r.curve->stepFrames);
            if (index < 1) {
                pitch = r.pitch;
            } else {
                const size_t k = size_t(std::min<int64_t>(index, r.curve->pointCount())) - 1;
                pitch = int16_t(r.pitch + r.curve->points[k].pitchDelta);
            }
            return true;
        }
        case KindLinePoint:
        case KindLineStart: {
            const int32_t length = next.position - r.position;
            if (length == 0) {
                pitch = r.pitch;
            } else {
                const float step = float(frame - r.position) * float(next.pitch - r.pitch) / float(length);
                pitch = int16_t(r.pitch + roundAway(double(step)));
            }
            return true;
        }
        default: return false;
        }
    }
    return false;
}

bool trimList(ObjectList& list, int64_t endFrame)
{
    auto& recs = list.records;
    if (recs.size() < 2) return false;
    const int64_t cut = endFrame - 1;
    size_t b = recs.size() - 2;
    ObjectRecord& before = recs[b];
    switch (before.kind) {
    case KindLinePoint:
    case KindLineStart: {
        while (recs[b].kind != KindLineStart && recs[b].position >= cut && b > 0) --b;
        if (recs[b].position >= cut) return true;
        if (recs.back().position < endFrame) return false;
        // The segment from b to b + 1 holds the cut: a new end there.
        const ObjectRecord& from = recs[b];
        const ObjectRecord& to = recs[b + 1];
        const float share = float(cut - from.position) / float(to.position - from.position);
        const int16_t pitch = int16_t(float(from.pitch) + share * float(to.pitch - from.pitch));
        ObjectRecord end = to;
        end.curve.reset();
        end.kind = KindEnd;
        end.position = int32_t(cut);
        end.pitch = pitch;
        recs.resize(b + 1);
        recs.push_back(std::move(end));
        return recs[b].kind == KindLineStart && cut - recs[b].position < 1;
    }
    case KindCurve: {
        const int64_t length = endFrame - before.position - 1;
        if (length < 1) return true;
        if (recs.back().position < endFrame) return false;
        if (!before.curve) return true;
        const int64_t segments = length / int64_t(before.curve->stepFrames);
        if (segments < 1) return true;
        auto shorter = std::make_unique<CurveData>();
        shorter->stepFrames = before.curve->stepFrames;
        const size_t keep = size_t(std::min<int64_t>(segments, before.curve->pointCount()));
        shorter->points.assign(before.curve->points.begin(), before.curve->points.begin() + keep);
        recs.back().position = int32_t(before.position + int64_t(shorter->stepFrames) * int64_t(keep));
        recs.back().pitch = int16_t(before.pitch + shorter->points.back().pitchDelta);
        before.curve = std::move(shorter);
        return false;
    }
    case KindNote: {
        if (before.position >= cut) return true;
        if (recs.back().position < endFrame) return false;
        recs.back().position = int32_t(cut);
        return recs.back().position - before.position < 1;
    }
    default: return false;
    }
}

void selectedRange(const ObjectList& list, uint16_t& first, uint16_t& last)
{
    first = last = 65535;
    const size_t n = std::min<size_t>(list.count(), 65535);
    size_t f = 0;
    while (f < n && !(list.records[f].selected && list.records[f].kind != KindEnd)) ++f;
    if (f == n) return;
    size_t l = f;
    while (l + 1 < n && list.records[l + 1].selected) ++l;
    if (l > f && list.records[l - 1].kind == KindEnd) --l;
    first = uint16_t(f);
    last = uint16_t(l);
}

void objectBounds(const ObjectList& list, size_t index, size_t& begin, size_t& end)
{
    const auto& recs = list.records;
    begin = index;
    while (begin > 0 && recs[begin - 1].kind != KindEnd) --begin;
    end = index;
    while (end < recs.size() && recs[end].kind != KindEnd) ++end;
    end = std::min(end + 1, recs.size());
}

//--- Edits ------------------------------------------------------------------

void selectAll(ObjectList& list, bool on)
{
    for (ObjectRecord& r : list.records) r.selected = on ? 1 : 0;
}

void selectFrames(ObjectList& list, int64_t from, int64_t to)
{
    for (size_t i = 0; i < list.count();) {
        size_t b, e;
        objectBounds(list, i, b, e);
        const bool hit = list.records[b].position <= to && list.records[e - 1].position >= from;
        for (size_t k = b; k < e; ++k) list.records[k].selected = hit ? 1 : 0;
        i = e;
    }
}

ObjectList mergeObjects(const ObjectList& inserted, const ObjectList& list, int64_t frameCount)
{
    if (inserted.empty()) return list;
    const int64_t a = inserted.records.front().position;
    const int64_t b = inserted.records.back().position;
    ObjectList out;
    const auto& old = list.records;

    // The front: whole objects before the run, and the one straddling its
    // start trimmed to end before it.
    size_t i = 0;
    while (i < old.size() && old[i].position < a) {
        size_t ob, oe;
        objectBounds(list, i, ob, oe);
        if (old[oe - 1].position < a) {
            for (size_t k = ob; k < oe; ++k) out.records.push_back(old[k]);
        } else {
            ObjectList part;
            size_t k = ob;
            for (; k < oe && old[k].position < a; ++k) part.records.push_back(old[k]);
            // The first record at or past the start: the segment to it holds the cut.
            ObjectRecord tail = old[std::min(k, oe - 1)];
            tail.curve.reset();
            part.records.push_back(std::move(tail));
            if (!trimList(part, a))
                for (auto& r : part.records) out.records.push_back(std::move(r));
        }
        i = oe;
    }

    for (const ObjectRecord& r : inserted.records) out.records.push_back(r);

    // The far end: the old record that straddles it goes on one frame after.
    const int64_t resume = b + 1;
    size_t j = 0;
    while (j < old.size() && old[j].position <= b) ++j;
    if (j > 0 && j < old.size() && old[j - 1].kind != KindEnd && knownKind(old[j - 1].kind)) {
        const ObjectRecord& s = old[j - 1];
        const ObjectRecord& next = old[j];
        ObjectRecord c;
        c.retuneSpeed = s.retuneSpeed;
        c.throatLength = s.throatLength;
        c.adjustVibrato = s.adjustVibrato;
        c.selected = s.selected;
        c.position = int32_t(resume);
        bool add = resume < next.position;
        if (s.kind == KindLinePoint || s.kind == KindLineStart) {
            c.kind = KindLineStart;
            const float share = float(resume - s.position) / float(next.position - s.position);
            c.pitch = int16_t(roundAway(double(float(s.pitch) + share * float(next.pitch - s.pitch))));
        } else if (s.kind == KindNote) {
            c.kind = KindNote;
            c.pitch = s.pitch;
        } else if (s.kind == KindCurve && s.curve) {
            const int64_t end = std::min<int64_t>(curveEnd(s), frameCount > 0 ? frameCount : curveEnd(s));
            const int64_t remaining = end - resume;
            add = add && remaining >= 2;
            if (add) {
                c.kind = KindCurve;
                const CurveData& from = *s.curve;
                // Points at or before the resume frame are dropped; the new
                // first pitch is that of the last one dropped.
                int64_t dropped = (resume - s.position) / int64_t(from.stepFrames);
                dropped = std::min<int64_t>(dropped, from.pointCount());
                const int16_t base = dropped > 0 ? int16_t(s.pitch + from.points[size_t(dropped - 1)].pitchDelta)
                                                 : s.pitch;
                auto curve = std::make_unique<CurveData>();
                curve->stepFrames = from.stepFrames;
                for (int64_t k = dropped; k < from.pointCount(); ++k) {
                    CurvePoint p = from.points[size_t(k)];
                    p.pitchDelta = int16_t(s.pitch + p.pitchDelta - base);
                    curve->points.push_back(p);
                }
                if (curve->points.empty()) {
                    curve->stepFrames = uint32_t(remaining);
                    CurvePoint p = from.points.back();
                    p.pitchDelta = int16_t(s.pitch + p.pitchDelta - base);
                    curve->points.push_back(p);
                }
                c.pitch = base;
                c.curve = std::move(curve);
                // Its end follows at the last point.
                if (int64_t(c.position) + int64_t(c.curve->stepFrames) * c.curve->pointCount() != next.position) {
                    c.curve->stepFrames =
                        uint32_t(std::max<int64_t>(1, (next.position - c.position) / c.curve->pointCount()));
                }
            }
        } else {
            add = false;
        }
        if (add) out.records.push_back(std::move(c));
    }
    for (; j < old.size(); ++j) out.records.push_back(old[j]);
    out.sort();
    return out;
}

void moveRecords(const ObjectList& source, ObjectList& destination, int32_t deltaFrames, int16_t deltaPitch,
                 bool snap, int16_t pitchOffset)
{
    if (source.count() != destination.count() || source.empty()) return;
    const size_t n = source.count();
    for (size_t i = 0; i < n; ++i) {
        const ObjectRecord& s = source.records[i];
        ObjectRecord& d = destination.records[i];
        if (i == 0 && !s.selected && n > 1) {
            // An anchor: it stays, a curve stretches to the moved next point.
            if (s.kind == KindCurve) {
                const ObjectRecord& next = source.records[1];
                d.curve = s.curve ? std::make_unique<CurveData>(*s.curve) : nullptr;
                rebuildCurve(d, int64_t(next.position) - s.position + deltaFrames,
                             next.pitch + deltaPitch - s.pitch);
            }
            continue;
        }
        if (i == n - 1 && !s.selected && n > 1) {
            const ObjectRecord& prev = source.records[i - 1];
            if (prev.kind == KindCurve && prev.selected) {
                ObjectRecord& dp = destination.records[i - 1];
                dp.curve = prev.curve ? std::make_unique<CurveData>(*prev.curve) : nullptr;
                rebuildCurve(dp, int64_t(s.position) - (prev.position + deltaFrames),
                             s.pitch - (prev.pitch + deltaPitch));
            }
            continue;
        }
        d.position = s.position + deltaFrames;
        if (snap && s.kind == KindNote) {
            const double target = double(s.pitch) + deltaPitch - pitchOffset;
            const int16_t snapped = clampPitch(pitchOffset + 100.0 * roundAway(target / 100.0));
            d.pitch = snapped;
            // Its end record takes the same pitch in the same step.
            if (i + 1 < n && source.records[i + 1].kind == KindEnd) {
                destination.records[i + 1] = source.records[i + 1];
                destination.records[i + 1].pitch = snapped;
                destination.records[i + 1].position = source.records[i + 1].position + deltaFrames;
                ++i;
            }
        } else {
            d.pitch = clampPitch(double(s.pitch) + deltaPitch);
        }
    }
    destination.sort();
}

namespace {

// The whole objects of `list` that hold a selected record, or those that
// hold none, in order.
ObjectList objectsBySelection(const ObjectList& list, bool selected)
{
    ObjectList out;
    for (size_t i = 0; i < list.count();) {
        size_t b, e;
        objectBounds(list, i, b, e);
        bool any = false;
        for (size_t k = b; k < e; ++k) any |= list.records[k].selected != 0;
        if (any == selected)
            for (size_t k = b; k < e; ++k) out.records.push_back(list.records[k]);
        i = e;
    }
    return out;
}

} // namespace

ObjectList selectedObjects(const ObjectList& list)
{
    ObjectList out = objectsBySelection(list, true);
    for (ObjectRecord& r : out.records) r.selected = 1;
    return out;
}

ObjectList withoutSelected(const ObjectList& list)
{
    return objectsBySelection(list, false);
}

ObjectList nudgeSelected(const ObjectList& list, int32_t deltaFrames, int16_t deltaPitch, bool snap,
                         int16_t pitchOffset, int64_t frameCount)
{
    ObjectList moved = selectedObjects(list);
    if (moved.empty()) return list;
    ObjectList destination = moved;
    moveRecords(moved, destination, deltaFrames, deltaPitch, snap, pitchOffset);
    // Nothing before frame 0.
    if (!destination.empty() && destination.records.front().position < 0) return list;
    return mergeObjects(destination, withoutSelected(list), frameCount);
}

bool setSelected(ObjectList& list, ObjectSetting setting, float value)
{
    bool any = false;
    for (ObjectRecord& r : list.records) {
        if (!r.selected) continue;
        any = true;
        switch (setting) {
        case ObjectSetting::retuneSpeed: r.retuneSpeed = value; break;
        case ObjectSetting::adjustVibrato: r.adjustVibrato = value; break;
        case ObjectSetting::throatLength: r.throatLength = value; break;
        }
    }
    return any;
}
