#pragma once

#include "Common_VST3/SPSC_Ring.h"

#include <cstdint>

// The store's hand-off of blocks between the audio thread and the disk
// thread: a single-producer single-consumer ring of five 64-bit slots, one of
// which always stays free, so at most four entries are in flight. Entries are
// block pointers or read requests; what they point to stays the store's.
//
// Threads: one thread pushes, one thread pops; each fifo of the store names
// its two sides. Neither operation allocates, locks or waits.
class CircularFifo {
public:
    static constexpr size_t capacity = 4;

    CircularFifo() = default;
    virtual ~CircularFifo() = default;

    // Producer thread. False, with nothing stored, when four entries wait.
    bool push(uint64_t value) noexcept { return ring.push(value); }
    // Consumer thread. False, with `value` untouched, when empty.
    bool pop(uint64_t& value) noexcept { return ring.pop(value); }
    // Consumer thread. Drops every entry.
    void drain() noexcept
    {
        uint64_t ignored = 0;
        while (ring.pop(ignored)) {}
    }

private:
    SPSC_Ring<uint64_t> ring{capacity};
};
