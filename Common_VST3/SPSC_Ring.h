#pragma once

#include "Common_VST3/assertion.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <type_traits>

// A wait-free ring of trivially copyable items from one producer thread to one
// consumer thread: a stream of commands or blocks between the audio thread and
// another thread. Either end may be the audio thread.
//
// Threads: exactly one thread pushes (the producer) and exactly one thread
// pops (the consumer) at a time; each operation below names its side. The
// constructor and destructor run while neither side uses the ring.
//
// Order: push copies the item into its slot, then stores the tail with
// release; pop loads the tail with acquire, so an item pushed is fully visible
// to the consumer that pops it. Pop copies the item out, then stores the head
// with release; push loads the head with acquire, so a slot is overwritten
// only after the consumer has finished reading it.
//
// Storage is one slot more than the capacity, so that head == tail means empty
// and tail one slot behind head means full. Memory is allocated only in the
// constructor; push and pop never allocate, lock or wait.
template <typename T>
class SPSC_Ring {
    static_assert(std::is_trivially_copyable<T>::value,
                  "SPSC_Ring holds trivially copyable items only");

public:
    // Interface thread. Room for `capacity` items, at least one.
    explicit SPSC_Ring(size_t capacity)
        : slotCount(capacity + 1), slots(new T[capacity + 1])
    {
        CORVANE_ASSERT(capacity >= 1, "SPSC_Ring::SPSC_Ring", "Common_VST3/SPSC_Ring.h",
                       "capacity >= 1");
    }

    SPSC_Ring(const SPSC_Ring&) = delete;
    SPSC_Ring& operator=(const SPSC_Ring&) = delete;

    // Either thread.
    size_t capacity() const noexcept { return slotCount - 1; }

    // Producer thread. Appends `item`; false, with nothing written, when full.
    bool push(const T& item) noexcept
    {
        const size_t t = tail.load(std::memory_order_relaxed);
        const size_t next = following(t);
        if (next == head.load(std::memory_order_acquire)) return false;
        slots[t] = item;
        tail.store(next, std::memory_order_release);
        return true;
    }

    // Producer thread. True when a push now would fail. Only the consumer can
    // change the answer, and only from true to false.
    bool full() const noexcept
    {
        return following(tail.load(std::memory_order_relaxed)) ==
               head.load(std::memory_order_acquire);
    }

    // Consumer thread. Moves the oldest item into `item`; false, with `item`
    // untouched, when empty.
    bool pop(T& item) noexcept
    {
        const size_t h = head.load(std::memory_order_relaxed);
        if (h == tail.load(std::memory_order_acquire)) return false;
        item = slots[h];
        head.store(following(h), std::memory_order_release);
        return true;
    }

    // Consumer thread. True when a pop now would fail. Only the producer can
    // change the answer, and only from true to false.
    bool empty() const noexcept
    {
        return head.load(std::memory_order_relaxed) == tail.load(std::memory_order_acquire);
    }

private:
    size_t following(size_t index) const noexcept
    {
        ++index;
        return index == slotCount ? 0 : index;
    }

    const size_t slotCount;
    const std::unique_ptr<T[]> slots;
    // Next slot to pop: written by the consumer only.
    alignas(64) std::atomic<size_t> head{0};
    // Next slot to push into: written by the producer only. The class is
    // aligned to 64 bytes, so nothing that follows shares the tail's line.
    alignas(64) std::atomic<size_t> tail{0};
};
