#pragma once

#include "Common_VST3/SPSC_Ring.h"
#include "Common_VST3/assertion.h"

#include <atomic>
#include <cstddef>
#include <memory>

// Immutable snapshots (note tables, object lists, time maps) handed from a
// writer thread to a reader thread, so that the reader never sees one freed
// while it may still use it. The writer is the interface thread, which may
// allocate and free; the reader is the audio thread, which never allocates,
// frees, locks or blocks here.
//
// The writer exchanges each new snapshot into `pending`. The reader, when it
// finds one there, exchanges it out with nullptr, makes it its current one and
// pushes the one it leaves onto `retired`, a ring going back to the writer,
// which frees what it finds there on its next publish or collect. A snapshot
// the reader never took is still in `pending` when the next publish replaces
// it, and the writer frees it at once. Every snapshot is freed by the writer,
// exactly once: either from `pending` or from `retired`, or by the destructor.
//
// Order: publish exchanges with release and acquire exchanges with acquire, so
// the reader sees the snapshot's contents as the writer built them. The ring
// orders the reader's last use of a retired snapshot before the writer's
// delete.
//
// A pointer the reader got from acquire stays valid until its next acquire.
template <typename T>
class Snapshot_Exchange {
public:
    // Interface thread.
    Snapshot_Exchange() = default;

    // Either thread, once neither uses the exchange any more. Frees the
    // pending, the retired and the current snapshot.
    ~Snapshot_Exchange()
    {
        delete pending.load(std::memory_order_acquire);
        collect();
        delete held;
    }

    Snapshot_Exchange(const Snapshot_Exchange&) = delete;
    Snapshot_Exchange& operator=(const Snapshot_Exchange&) = delete;

    // Writer (interface thread). Frees the retired snapshots, then makes
    // `snapshot` the newest; a snapshot published before and not yet taken by
    // the reader is freed here.
    void publish(std::unique_ptr<const T> snapshot)
    {
        CORVANE_ASSERT(snapshot != nullptr, "Snapshot_Exchange::publish",
                       "Common_VST3/Snapshot_Exchange.h", "snapshot != nullptr");
        collect();
        delete pending.exchange(snapshot.release(), std::memory_order_acq_rel);
    }

    // Writer (interface thread). Frees the snapshots the reader has retired.
    void collect()
    {
        const T* snapshot = nullptr;
        while (retired.pop(snapshot)) delete snapshot;
    }

    // Reader (audio thread). The newest snapshot published, or nullptr before
    // the first publish. When a newer one has been published since the last
    // call, switches to it and retires the one it leaves. Wait-free.
    const T* acquire() noexcept
    {
        if (pending.load(std::memory_order_relaxed) == nullptr) return held;
        // The reader takes at most one snapshot per publish, and the writer
        // collects before each publish, so at most two snapshots wait in
        // `retired` at any time (one taken just before a publish, one just
        // after) and it never fills. Were it full all the same, the reader
        // keeps its current snapshot and takes the pending one at a later
        // call, rather than free anything itself.
        if (held != nullptr && retired.full()) {
#ifndef NDEBUG
            CORVANE_ASSERT(false, "Snapshot_Exchange::acquire", "Common_VST3/Snapshot_Exchange.h",
                           "retired ring never fills");
#endif
            return held;
        }
        // Only the reader clears `pending`, so it is still set here.
        const T* newest = pending.exchange(nullptr, std::memory_order_acquire);
        if (held != nullptr) retired.push(held);
        held = newest;
        return held;
    }

    // Reader (audio thread). What the last acquire returned.
    const T* current() const noexcept { return held; }

private:
    static constexpr size_t retiredCapacity = 4;

    // Newest snapshot not yet taken by the reader, or nullptr.
    std::atomic<const T*> pending{nullptr};
    // Snapshots the reader has left, for the writer to free.
    SPSC_Ring<const T*> retired{retiredCapacity};
    // The reader's current snapshot: read and written by the reader only.
    const T* held = nullptr;
};
