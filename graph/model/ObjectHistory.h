#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "graph/model/ObjectRecord.h"

// The undo history of whole lists. Every edit makes a new list, which
// becomes a step; `currentIndex` says which step is in force, and a negative
// index means the working list is (the list from before the oldest step
// kept). At most maxUndos steps are kept: when a step is pushed past that,
// the oldest becomes the working list. A new step after an undo drops the
// steps that could have been redone. A step may be null (an older stream
// can hold one): then no list is in force and the frames are cleared.
//
// The class serves any list type that copies whole; ObjectHistory is the one
// for the correction objects.
//
// Threads: interface thread only (the editor, the commands, the state
// reader and writer); it has no lock of its own.
template <class List> class ListHistory {
public:
    static constexpr int32_t mostUndos = 20;

    // The list in force, or null.
    const List* currentList() const
    {
        if (currentIndex < 0) return &workingList;
        if (size_t(currentIndex) < steps.size()) return steps[size_t(currentIndex)].get();
        return nullptr;
    }
    // Takes `list` as the newest step and puts it in force.
    void pushStep(List list)
    {
        steps.resize(size_t(currentIndex + 1));
        steps.push_back(std::make_unique<List>(std::move(list)));
        currentIndex = int32_t(steps.size()) - 1;
        dropOldest();
    }
    // Puts `list` in place of the step in force (a further change of the
    // same edit); false, changing nothing, while the working list is.
    bool replaceCurrent(List list)
    {
        if (currentIndex < 0 || size_t(currentIndex) >= steps.size()) return false;
        steps[size_t(currentIndex)] = std::make_unique<List>(std::move(list));
        return true;
    }
    bool canUndo() const { return currentIndex >= 0; }
    bool canRedo() const { return currentIndex + 1 < int32_t(steps.size()); }
    bool undo()
    {
        if (!canUndo()) return false;
        --currentIndex;
        return true;
    }
    bool redo()
    {
        if (!canRedo()) return false;
        ++currentIndex;
        return true;
    }
    // The depth, 1 to mostUndos; a count below 1 changes nothing. Steps past
    // it go, oldest first. Answers the depth in force.
    int32_t setMaxUndos(int32_t count)
    {
        if (count < 1 || count == maxUndos) return maxUndos;
        maxUndos = count > mostUndos ? mostUndos : count;
        dropOldest();
        return maxUndos;
    }
    int32_t getMaxUndos() const { return maxUndos; }
    int32_t getCurrentIndex() const { return currentIndex; }
    size_t stepCount() const { return steps.size(); }
    // Everything gone, nothing to undo: an empty working list in force.
    void clear()
    {
        workingList = List();
        steps.clear();
        currentIndex = -1;
    }

    // What Cut and Copy hold until the next Cut or Copy.
    List clipboard;

    // Current stream form: u32 step count; when above 0 the working list,
    // then per step a u8 (1: a list follows, 0: a null step) and the list;
    // then i32 currentIndex. `writeList(out, list)` writes one list.
    template <class Writer, class WriteList> bool write(Writer& out, WriteList writeList) const
    {
        // A working list with no step is kept as one step.
        if (steps.empty() && !workingList.empty()) {
            const uint8_t present = 1;
            return out.write_int32(1) && writeList(out, List()) && out.write_bytes(&present, 1) &&
                   writeList(out, workingList) && out.write_int32(0);
        }
        if (!out.write_int32(int32_t(steps.size()))) return false;
        if (!steps.empty()) {
            if (!writeList(out, workingList)) return false;
            for (const auto& step : steps) {
                const uint8_t present = step ? 1 : 0;
                if (!out.write_bytes(&present, 1) || (step && !writeList(out, *step))) return false;
            }
        }
        return out.write_int32(currentIndex);
    }
    // Reads the current form; false at the first item that fails, keeping
    // the steps read so far (the working list in force).
    template <class Reader, class ReadList> bool read(Reader& in, ReadList readList)
    {
        clear();
        int32_t count = 0;
        if (!in.read_int32(count) || count < 0 || count > 1 << 20) return false;
        if (count > 0) {
            if (!readList(in, workingList)) return false;
            for (int32_t s = 0; s < count; ++s) {
                uint8_t present = 0;
                if (!in.read_bytes(&present, 1) || present > 1) return false;
                std::unique_ptr<List> list;
                if (present) {
                    list = std::make_unique<List>();
                    if (!readList(in, *list)) return false;
                }
                steps.push_back(std::move(list));
            }
        }
        int32_t index = 0;
        if (!in.read_int32(index)) return false;
        setIndexRead(index);
        dropOldest();
        return true;
    }
    // Reads the older form: u32 step count, then (unless it is 0) the base
    // list's byte size and list (0: empty), then per further step a byte size and a list (0:
    // a null step), then i32 currentIndex. `readOlder(in, bytes, list)`
    // reads one list of that many bytes of records.
    template <class Reader, class ReadOlder> bool readOlder(Reader& in, ReadOlder readOlderList)
    {
        clear();
        int32_t count = 0;
        if (!in.read_int32(count)) return false;
        int32_t bytes = 0;
        if (count != 0) {
            if (!in.read_int32(bytes)) return false;
            if (bytes != 0 && !readOlderList(in, uint32_t(bytes), workingList)) return false;
        }
        for (uint32_t s = 1; s < uint32_t(count); ++s) {
            if (!in.read_int32(bytes)) return false;
            std::unique_ptr<List> list;
            if (bytes != 0) {
                list = std::make_unique<List>();
                if (!readOlderList(in, uint32_t(bytes), *list)) return false;
            }
            steps.push_back(std::move(list));
        }
        int32_t index = 0;
        if (!in.read_int32(index)) return false;
        setIndexRead(index);
        dropOldest();
        return true;
    }

private:
    void setIndexRead(int32_t index)
    {
        const int32_t last = int32_t(steps.size()) - 1;
        currentIndex = index > last ? last : (index < -1 ? -1 : index);
    }
    // Keeps maxUndos steps, and the list in force: the oldest beyond them
    // becomes the working list, or, while the working list is in force, the
    // newest go.
    void dropOldest()
    {
        while (int32_t(steps.size()) > maxUndos) {
            if (currentIndex < 0) {
                steps.pop_back();
                continue;
            }
            workingList = steps.front() ? std::move(*steps.front()) : List();
            steps.erase(steps.begin());
            --currentIndex;
        }
    }

    List workingList;
    std::vector<std::unique_ptr<List>> steps;
    int32_t currentIndex = -1;
    int32_t maxUndos = mostUndos;
};

using ObjectHistory = ListHistory<ObjectList>;
