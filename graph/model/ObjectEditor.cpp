#include "graph/model/ObjectEditor.h"

#include <algorithm>

namespace {

const ObjectList emptyList;

bool sameRecord(const ObjectRecord& a, const ObjectRecord& b)
{
    if (a.position != b.position || a.pitch != b.pitch || a.kind != b.kind || a.retuneSpeed != b.retuneSpeed ||
        a.throatLength != b.throatLength || a.adjustVibrato != b.adjustVibrato || bool(a.curve) != bool(b.curve))
        return false;
    if (!a.curve) return true;
    if (a.curve->stepFrames != b.curve->stepFrames || a.curve->pointCount() != b.curve->pointCount()) return false;
    for (size_t k = 0; k < a.curve->points.size(); ++k) {
        const CurvePoint& p = a.curve->points[k];
        const CurvePoint& q = b.curve->points[k];
        if (p.pitchDelta != q.pitchDelta || p.modulationOffset != q.modulationOffset ||
            p.modulationGain != q.modulationGain || p.modulationParameter != q.modulationParameter)
            return false;
    }
    return true;
}

// The frames [from, to] where two lists may give different corrections: from
// the first record that differs to the last, in either list. False when the
// lists give the same frames.
bool changedFrames(const ObjectList& a, const ObjectList& b, int64_t& from, int64_t& to)
{
    size_t head = 0;
    while (head < a.count() && head < b.count() && sameRecord(a.records[head], b.records[head])) ++head;
    if (head == a.count() && head == b.count()) return false;
    size_t tailA = a.count(), tailB = b.count();
    while (tailA > head && tailB > head && sameRecord(a.records[tailA - 1], b.records[tailB - 1])) --tailA, --tailB;
    from = INT64_MAX;
    to = INT64_MIN;
    auto widen = [&](const ObjectList& l, size_t first, size_t last) {
        // The record before the first change starts the segment it lies in.
        for (size_t i = first > 0 ? first - 1 : 0; i < std::min(last + 1, l.count()); ++i) {
            from = std::min<int64_t>(from, l.records[i].position);
            to = std::max<int64_t>(to, l.records[i].position);
        }
    };
    widen(a, head, tailA);
    widen(b, head, tailB);
    if (from == INT64_MAX) from = to = 0;
    return true;
}

} // namespace

const ObjectList& ObjectEditor::currentList() const
{
    const ObjectList* list = history.currentList();
    return list ? *list : emptyList;
}

void ObjectEditor::applyChange(const ObjectList& before)
{
    if (frames == nullptr) return;
    const ObjectList* now = history.currentList();
    int64_t from = 0, to = 0;
    if (now == nullptr) {
        pass.applyObjects(nullptr, *frames);
    } else if (changedFrames(before, *now, from, to)) {
        pass.applyObjects(now, *frames, from, to);
    }
}

bool ObjectEditor::commit(ObjectList next)
{
    const ObjectList before = currentList();
    history.pushStep(std::move(next));
    knobInStep = -1;
    applyChange(before);
    return true;
}

void ObjectEditor::applyAll()
{
    knobInStep = -1;
    if (frames != nullptr) pass.applyObjects(history.currentList(), *frames);
}

bool ObjectEditor::makeNotes(const NewObjectSettings& settings)
{
    if (frames == nullptr) return false;
    ObjectList made = ::makeNotes(*frames, pass.getFramesPerSecond(), settings);
    if (made.empty()) return false;
    return commit(mergeObjects(made, currentList(), frames->trackedEnd()));
}

bool ObjectEditor::makeCurves(const NewObjectSettings& settings)
{
    if (frames == nullptr) return false;
    ObjectList made = ::makeCurves(*frames, pass.getFramesPerSecond(), settings);
    if (made.empty()) return false;
    return commit(mergeObjects(made, currentList(), frames->trackedEnd()));
}

bool ObjectEditor::makeNotesFromMidi(const NewObjectSettings& settings)
{
    if (frames == nullptr) return false;
    ObjectList made = ::makeNotesFromMidi(*frames, settings);
    if (made.empty()) return false;
    return commit(mergeObjects(made, currentList(), frames->trackedEnd()));
}

bool ObjectEditor::importAuto(const AutoImportSettings& settings)
{
    if (frames == nullptr) return false;
    ObjectList made = ::importAuto(*frames, pass.getFramesPerSecond(), settings);
    if (made.empty()) return false;
    return commit(mergeObjects(made, currentList(), frames->trackedEnd()));
}

bool ObjectEditor::undo()
{
    const ObjectList before = currentList();
    knobInStep = -1;
    if (!history.undo()) return false;
    applyChange(before);
    return true;
}

bool ObjectEditor::redo()
{
    const ObjectList before = currentList();
    knobInStep = -1;
    if (!history.redo()) return false;
    applyChange(before);
    return true;
}

bool ObjectEditor::selectAll()
{
    if (currentList().empty()) return false;
    ObjectList next = currentList();
    ::selectAll(next, true);
    return commit(std::move(next));
}

bool ObjectEditor::copy()
{
    ObjectList chosen = selectedObjects(currentList());
    if (chosen.empty()) return false;
    history.clipboard = std::move(chosen);
    return true;
}

bool ObjectEditor::cut()
{
    if (!copy()) return false;
    return commit(withoutSelected(currentList()));
}

ObjectList ObjectEditor::clipboardAt(int64_t frame) const
{
    ObjectList placed = history.clipboard;
    if (placed.records.empty()) return placed;
    const int32_t shift = int32_t(frame - placed.records.front().position);
    for (ObjectRecord& r : placed.records) r.position += shift;
    return placed;
}

bool ObjectEditor::paste(int64_t frame)
{
    if (history.clipboard.empty() || frame < 0) return false;
    ObjectList placed = clipboardAt(frame);
    ObjectList rest = currentList();
    ::selectAll(rest, false);
    return commit(mergeObjects(placed, rest, frames ? frames->trackedEnd() : 0));
}

bool ObjectEditor::nudge(int32_t deltaFrames, int16_t deltaPitch, bool snap, int16_t pitchOffset)
{
    const ObjectList& now = currentList();
    ObjectList next = nudgeSelected(now, deltaFrames, deltaPitch, snap, pitchOffset, frames ? frames->trackedEnd() : 0);
    int64_t from = 0, to = 0;
    if (!changedFrames(now, next, from, to)) return false;
    return commit(std::move(next));
}

bool ObjectEditor::setSelected(ObjectSetting setting, float value)
{
    ObjectList next = currentList();
    if (!::setSelected(next, setting, value)) return false;
    if (knobInStep == int(setting) && knobStep == history.getCurrentIndex()) {
        const ObjectList before = currentList();
        history.replaceCurrent(std::move(next));
        applyChange(before);
        return true;
    }
    commit(std::move(next));
    knobInStep = int(setting);
    knobStep = history.getCurrentIndex();
    return true;
}

void ObjectEditor::clearAll()
{
    history.clear();
    knobInStep = -1;
    applyAll();
}
