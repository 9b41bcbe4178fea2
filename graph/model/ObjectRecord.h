#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// Correction objects as data. An object list is one contiguous block of
// ObjectRecord entries sorted by `position`; an object is a run of
// consecutive records, and a record's `kind` says what lies between it and
// the next record. A line is 5, 1, 1, ..., 4; a curve is 3, 4; a note is
// 6, 4, its end record carrying its pitch too. Kinds 0, 2 and above 6 are
// unknown: every pass skips them.
//
// Positions are frames of the tracked data; pitches are cents (-4100..3600,
// 0 the C below A 440).
//
// Threads: every operation here runs on the interface thread (and the state
// reader, on the same thread). The audio thread never sees a list: it reads
// what applyObjects wrote into the tracked frames.

enum ObjectKind : uint8_t {
    KindLinePoint = 1,
    KindCurve = 3,
    KindEnd = 4,
    KindLineStart = 5,
    KindNote = 6,
};

// True for the kinds the passes know.
inline bool knownKind(uint8_t kind) { return kind == 1 || (kind >= 3 && kind <= 6); }

constexpr int16_t lowestObjectPitch = -4100;
constexpr int16_t highestObjectPitch = 3600;

// One point of a curve: its pitch relative to the curve record's pitch, and
// the frame's modulation (neutral 0, 1, 0).
struct CurvePoint {
    float modulationOffset = 0.0f;
    float modulationGain = 1.0f;
    float modulationParameter = 0.0f;
    int16_t pitchDelta = 0;
};

// The points of one curve in one block. Point k lies at the record's
// position + (k + 1) * stepFrames. stepFrames is never 0, and a curve holds
// at least one point.
struct CurveData {
    uint32_t stepFrames = 1;
    std::vector<CurvePoint> points;

    int32_t pointCount() const { return int32_t(points.size()); }
    size_t byteSize() const { return 8 + points.size() * sizeof(CurvePoint); }
    // Live blocks of the process, for the tests of ownership.
    static long liveCount();

    CurveData();
    CurveData(const CurveData& other);
    CurveData& operator=(const CurveData&) = default;
    ~CurveData();
};

// One record. The curve block belongs to the record and goes with it; only
// kind-3 records hold one.
struct ObjectRecord {
    std::unique_ptr<CurveData> curve;
    float retuneSpeed = 0.0f;   // milliseconds, 0..400; the half-life of the approach
    float throatLength = 0.0f;  // added to the throat ratio of the frames covered
    float adjustVibrato = 0.0f; // scale of the singer's vibrato; 0 leaves none
    int32_t position = 0;       // frame
    int16_t pitch = 0;          // cents
    uint8_t kind = 0;
    uint8_t selected = 0;

    ObjectRecord() = default;
    ObjectRecord(ObjectRecord&&) = default;
    ObjectRecord& operator=(ObjectRecord&&) = default;
    // A copy with a copy of the curve block.
    ObjectRecord(const ObjectRecord& other);
    ObjectRecord& operator=(const ObjectRecord& other);
};

// A list: the records in one block, sorted by position. Copies are whole
// (curves included), so that every history step owns its blocks.
struct ObjectList {
    std::vector<ObjectRecord> records;

    size_t count() const { return records.size(); }
    bool empty() const { return records.empty(); }
    size_t byteSize() const { return records.size() * sizeof(ObjectRecord); }
    // Stable sort by position, so that an end record stays after its start
    // at the same frame.
    void sort();
};

//--- Queries ----------------------------------------------------------------

// The pitch the list gives at `frame`: false outside every object.
bool pitchAt(const ObjectList& list, int64_t frame, int16_t& pitch);

// Shortens the last object so that nothing lies at or past `endFrame`. True
// when the object shrank to nothing and the caller must drop it.
bool trimList(ObjectList& list, int64_t endFrame);

// The selected run: `first` is the first selected record that is not an end,
// `last` the end of the unbroken selected run after it (the last record if
// the run reaches the end), one back when the record before `last` is an
// end. Both 65535 when nothing is selected.
void selectedRange(const ObjectList& list, uint16_t& first, uint16_t& last);

// Indices of the first and one past the last record of the object that
// holds record `index` (an object ends at its KindEnd record).
void objectBounds(const ObjectList& list, size_t index, size_t& begin, size_t& end);

//--- Edits; each leaves the list sorted -------------------------------------

// Every record selected (true) or none.
void selectAll(ObjectList& list, bool on);
// Selects the whole objects that lie, even partly, in frames [from, to].
void selectFrames(ObjectList& list, int64_t from, int64_t to);

// Lays `inserted` (a list of whole objects) over `list`: whatever lay under
// the inserted run goes, the object straddling its far end continues one
// frame after it. `frameCount` limits nothing but the tail of a curve.
ObjectList mergeObjects(const ObjectList& inserted, const ObjectList& list, int64_t frameCount);

// Moves the records of `source` (a copy of the selected run) into
// `destination` (same count) by a drag of deltaFrames and deltaPitch. With
// `snap`, notes land on the nearest hundred cents from `pitchOffset` (the
// detune, in cents).
void moveRecords(const ObjectList& source, ObjectList& destination, int32_t deltaFrames, int16_t deltaPitch,
                 bool snap, int16_t pitchOffset);

// The selected objects moved by deltaFrames and deltaPitch, laid over the
// rest; the list as it was when nothing is selected.
ObjectList nudgeSelected(const ObjectList& list, int32_t deltaFrames, int16_t deltaPitch, bool snap,
                         int16_t pitchOffset, int64_t frameCount);

// The selected whole objects, and the list without them.
ObjectList selectedObjects(const ObjectList& list);
ObjectList withoutSelected(const ObjectList& list);

// The three values of the object knobs into every selected record.
enum class ObjectSetting { retuneSpeed, adjustVibrato, throatLength };
bool setSelected(ObjectList& list, ObjectSetting setting, float value);

// Stream forms: ObjectRecord_stream.h.
#include "graph/model/ObjectRecord_stream.h"
