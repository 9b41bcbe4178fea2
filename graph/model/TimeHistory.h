#pragma once

#include <cstdint>
#include <vector>

#include "graph/model/TimeMap.h"

// The undo history of the time map. Every finished time edit is a whole new
// map, which becomes a step; `currentIndex` says which step is in force, and
// -1 means the base map is (the map from before the oldest step kept; empty,
// that is no edit, until steps have been dropped). At most maxSteps steps are
// kept: when a step is pushed past that, the oldest becomes the base. A new
// step after an undo drops the steps that could have been redone. An empty
// step is a "Clear All Time Changes": no edit in force, and undoable.
//
// Every value of a stored map is a float, as the state stream keeps it, so
// that a history saved and read back puts the same map in force, bit for bit.
//
// Threads: interface thread only (the editor, the commands, the state reader
// and writer); it has no lock of its own. The engine gets copies of
// mapInForce through the effect.
class TimeHistory {
public:
    // The same bound as the correction objects' history.
    static constexpr int32_t mostSteps = 20;
    // Most steps and breakpoints a stream may claim; more is a broken stream.
    static constexpr uint32_t maxStreamSteps = 1u << 16;
    static constexpr uint32_t maxStreamPairs = 1u << 20;

    // The map in force: the current step's, or the base. May be empty.
    const TimeMap& currentMap() const;
    // The map in force over a take from rangeStart to rangeEnd (engine
    // samples): the identity when no edit is in force; an edited map that
    // covers less than the take is continued at each end unchanged in
    // length (slope 1).
    TimeMap mapInForce(double rangeStart, double rangeEnd) const;

    // Takes `map` as the newest step and puts it in force; a map with fewer
    // than two breakpoints is stored empty. Its values are rounded to
    // floats; false, changing nothing, if they then lose their order.
    bool pushStep(const TimeMap& map);
    // Clear All: an empty step, unless no edit is in force (then false).
    bool clearAll();
    bool canUndo() const { return currentIndex >= 0; }
    bool canRedo() const { return currentIndex + 1 < int32_t(steps.size()); }
    bool undo();
    bool redo();
    // The depth, 1 to mostSteps; a count below 1 changes nothing. Steps past
    // it go, oldest first. Answers the depth in force.
    int32_t setMaxSteps(int32_t count);
    int32_t getMaxSteps() const { return maxSteps; }
    int32_t getCurrentIndex() const { return currentIndex; }
    size_t stepCount() const { return steps.size(); }
    const TimeMap& step(size_t index) const { return steps[index]; }
    const TimeMap& baseMap() const { return base; }
    // Everything gone, nothing to undo, no edit in force.
    void clear();

    // Stream form: u32 step count; per step a u32 pair count and the pairs,
    // f32 source then f32 target (big-endian float bits); i32 currentIndex.
    // A base map with an edit is written as the first step (the index one
    // higher). Reading takes the same form: of a stream holding more than
    // maxSteps steps, the surplus from the front is dropped at once, the
    // newest of the dropped becoming the base; the index counts the
    // stream's steps and is brought into the kept ones. Reading stops at
    // the first item that fails or cannot be (a count beyond the bounds
    // above, one pair, a value not finite, values not strictly increasing)
    // and answers false, keeping the steps read before it, the base in
    // force.
    template <class Writer> bool write(Writer& out) const;
    template <class Reader> bool read(Reader& in);

private:
    void dropOldest();

    TimeMap base;
    std::vector<TimeMap> steps;
    int32_t currentIndex = -1;
    int32_t maxSteps = mostSteps;
};

#include "graph/model/TimeHistory_stream.h"
