#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

// Normalized parameter values handed from the interface thread to the thread
// that owns the engine (the audio thread while processing). One slot per
// parameter id holds the newest value posted, and one bit per id says that a
// value waits; the owner takes every waiting value at the start of a block.
//
// A value posted twice before the owner looks is taken once, as the newer
// one: for settings only the latest value counts, so the mailbox never fills
// and the producer never waits. Every operation after construction is
// wait-free and allocates nothing.
//
// Order: post stores the value, then sets its bit with release; take clears
// the bits with acquire, then loads the values. A value posted while the
// owner takes may be taken in this pass or the next, never lost.
class Parameter_Mailbox {
public:
    // Interface thread. Slots for ids 0 to `ids` - 1.
    explicit Parameter_Mailbox(size_t ids = 0) { resize(ids); }

    // Interface thread, while no other thread uses the mailbox.
    void resize(size_t ids)
    {
        slotCount = ids;
        wordCount = (ids + 63) / 64;
        values.reset(ids ? new std::atomic<double>[ids] : nullptr);
        waiting.reset(wordCount ? new std::atomic<uint64_t>[wordCount] : nullptr);
        for (size_t i = 0; i < ids; ++i) values[i].store(0.0, std::memory_order_relaxed);
        for (size_t w = 0; w < wordCount; ++w) waiting[w].store(0, std::memory_order_relaxed);
    }

    size_t size() const noexcept { return slotCount; }

    // Producer (interface thread). An id out of range is ignored.
    void post(size_t id, double value) noexcept
    {
        if (id >= slotCount) return;
        values[id].store(value, std::memory_order_relaxed);
        waiting[id / 64].fetch_or(uint64_t(1) << (id % 64), std::memory_order_release);
    }

    // Consumer (the engine's owner). Calls take(id, value) for every id with
    // a value waiting, in rising order of id.
    template <typename Take>
    void takeAll(Take&& take) noexcept
    {
        for (size_t w = 0; w < wordCount; ++w) {
            uint64_t bits = waiting[w].exchange(0, std::memory_order_acquire);
            while (bits != 0) {
                const int bit = __builtin_ctzll(bits);
                bits &= bits - 1;
                const size_t id = w * 64 + size_t(bit);
                take(id, values[id].load(std::memory_order_relaxed));
            }
        }
    }

private:
    size_t slotCount = 0;
    size_t wordCount = 0;
    std::unique_ptr<std::atomic<double>[]> values;
    std::unique_ptr<std::atomic<uint64_t>[]> waiting;
};
