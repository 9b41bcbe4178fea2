#pragma once

#include <cstdint>

#include "graph/model/ObjectHistory.h"
#include "graph/model/ObjectMaking.h"
#include "graph/model/ObjectPass.h"

// The edits of the correction objects as the commands and the views call
// them: each builds a new list from the one in force, makes it a history
// step, and recomputes the frames it changes, so that playback follows from
// the next frame on. Works with no view: the panel's buttons reach it
// through the effect with the editor closed.
//
// Threads: interface thread only. The frames' correction words it writes are
// atomic; the audio thread reads them as they come.
class ObjectEditor {
public:
    // The frames the pass writes, and their rates; none attached, nothing
    // is written.
    void attach(TrackedFrameArray* frameArray) { frames = frameArray; }
    void setRates(double sampleRate, double samplesPerFrame) { pass.setRates(sampleRate, samplesPerFrame); }

    ObjectHistory& getHistory() { return history; }
    const ObjectHistory& getHistory() const { return history; }
    // The list in force; empty when none is.
    const ObjectList& currentList() const;

    // Make operations laid over the list in force; false when they made
    // nothing.
    bool makeNotes(const NewObjectSettings& settings);
    bool makeCurves(const NewObjectSettings& settings);
    bool makeNotesFromMidi(const NewObjectSettings& settings);
    bool importAuto(const AutoImportSettings& settings);

    bool undo();
    bool redo();
    // Selection is part of a list: each change is a step, as in the views.
    bool selectAll();
    // Cut and Copy hold the selected objects; Paste lays them over the list
    // with the first at `frame`, selected.
    bool cut();
    bool copy();
    bool paste(int64_t frame);
    // What Paste would lay down at `frame`: the copied objects, the first
    // at that frame; empty when nothing is copied.
    ObjectList clipboardAt(int64_t frame) const;
    // The selected objects moved by frames and cents.
    bool nudge(int32_t deltaFrames, int16_t deltaPitch, bool snap, int16_t pitchOffset);
    // A knob's value into every selected record. Turns of the same knob
    // with no other edit between them make one step, so that a drag is
    // undone at once.
    bool setSelected(ObjectSetting setting, float value);
    // Everything gone, history included; nothing to undo.
    void clearAll();
    // Every frame recomputed from the list in force (after a state was read
    // or the frames replaced).
    void applyAll();
    // `next` (a view's edit of the list in force) becomes the newest step;
    // only the frames where it differs are recomputed.
    bool commit(ObjectList next);

private:
    // Recomputes the frames where `before` and the list in force differ.
    void applyChange(const ObjectList& before);

    ObjectHistory history;
    ObjectPass pass;
    // The knob whose turns the step in force holds, and that step; -1 when
    // the last edit was something else.
    int knobInStep = -1;
    int32_t knobStep = -1;
    TrackedFrameArray* frames = nullptr;
};
