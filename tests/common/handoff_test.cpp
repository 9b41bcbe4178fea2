#include "Common_VST3/SPSC_Ring.h"
#include "Common_VST3/Snapshot_Exchange.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <iterator>
#include <memory>
#include <random>
#include <thread>

namespace {
// Two words that must travel together: a torn or stale copy breaks `check`.
struct Numbered {
    uint64_t seq;
    uint64_t check;
};

Numbered numbered(uint64_t seq)
{
    return {seq, ~seq * 0x9E3779B97F4A7C15ull};
}

// A snapshot that counts the live ones and fills its values from its number,
// so that one freed and reused, or read before it was built, shows.
struct Snapshot {
    static std::atomic<int> live;
    static constexpr int values = 64;

    explicit Snapshot(uint32_t n) : seq(n)
    {
        for (int i = 0; i < values; ++i) {
            value[i] = n * 2654435761u + uint32_t(i);
            sum += value[i];
        }
        ++live;
    }
    ~Snapshot() { --live; }

    bool whole() const
    {
        uint32_t s = 0;
        for (int i = 0; i < values; ++i) s += value[i];
        return s == sum && value[0] == seq * 2654435761u;
    }

    uint32_t seq;
    uint32_t value[values];
    uint32_t sum = 0;
};
std::atomic<int> Snapshot::live{0};
} // namespace

TEST(Handoff, RingFollowsAQueueAcrossWrapsFullAndEmpty)
{
    // Random pushes and pops, weighted in turn towards filling and towards
    // emptying, against a bounded queue: push succeeds exactly when fewer than
    // `capacity` items wait, pop returns the oldest, a refused push writes
    // nothing.
    for (size_t capacity : {1, 2, 3, 5, 8}) {
        SPSC_Ring<Numbered> ring(capacity);
        EXPECT_EQ(ring.capacity(), capacity);
        std::deque<uint64_t> model;
        std::mt19937 random{uint32_t(capacity)};
        uint64_t next = 0;
        int fullSeen = 0, emptySeen = 0;
        for (int step = 0; step < 4000; ++step) {
            const bool filling = (step / 50) % 2 == 0;
            if (std::uniform_int_distribution<int>(0, 9)(random) < (filling ? 7 : 3)) {
                EXPECT_EQ(ring.full(), model.size() == capacity) << capacity << " " << step;
                const bool pushed = ring.push(numbered(next));
                ASSERT_EQ(pushed, model.size() < capacity) << capacity << " " << step;
                if (pushed) model.push_back(next);
                fullSeen += !pushed;
                ++next;
            } else {
                EXPECT_EQ(ring.empty(), model.empty()) << capacity << " " << step;
                Numbered item{7, 7};
                const bool popped = ring.pop(item);
                ASSERT_EQ(popped, !model.empty()) << capacity << " " << step;
                if (popped) {
                    EXPECT_EQ(item.seq, model.front()) << capacity << " " << step;
                    EXPECT_EQ(item.check, numbered(item.seq).check);
                    model.pop_front();
                } else {
                    EXPECT_EQ(item.seq, 7u) << "a failed pop leaves its argument";
                }
                emptySeen += !popped;
            }
        }
        // Both boundaries were reached many times, so the indices wrapped.
        EXPECT_GT(fullSeen, 20) << capacity;
        EXPECT_GT(emptySeen, 20) << capacity;
    }
}

TEST(Handoff, ThreadedRingKeepsOrder)
{
    // A small ring of odd capacity, so that both ends meet full and empty and
    // wrap often. Every number arrives once, in order, whole.
    constexpr uint64_t count = 300000;
    SPSC_Ring<Numbered> ring(7);
    std::thread producer([&] {
        for (uint64_t seq = 0; seq < count; ++seq)
            while (!ring.push(numbered(seq))) std::this_thread::yield();
    });
    uint64_t expected = 0, wrong = 0;
    while (expected < count) {
        Numbered item{};
        if (!ring.pop(item)) {
            std::this_thread::yield();
            continue;
        }
        wrong += item.seq != expected || item.check != numbered(expected).check;
        expected = item.seq + 1;
    }
    producer.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_TRUE(ring.empty());
}

TEST(Handoff, ExchangeHandsOverTheNewestAndFreesEveryOther)
{
    // Each step, then the snapshots alive after it: the reader's current
    // one, the pending one and the retired ones not yet collected.
    enum Op { Publish, Acquire, Collect };
    const struct {
        Op op;
        uint32_t seq; // published, or expected from acquire (0: none)
        int live;
    } steps[] = {
        {Acquire, 0, 0}, // nothing published yet
        {Publish, 1, 1}, {Acquire, 1, 1},
        {Acquire, 1, 1}, // nothing newer: the same one
        {Publish, 2, 2},
        {Publish, 3, 2}, // 2 was never taken: freed at once
        {Acquire, 3, 2}, // 1 retired, alive until the writer collects
        {Collect, 0, 1}, {Publish, 4, 2},
        {Acquire, 4, 2}, // 3 retired
        {Publish, 5, 2}, // publish collects 3 first
        {Acquire, 5, 2}, // 4 retired, left for the destructor
    };
    // The script cut after every step, so that the destructor meets every
    // state: whatever it holds, nothing is left alive.
    for (size_t cut = 0; cut <= std::size(steps); ++cut) {
        {
            Snapshot_Exchange<Snapshot> exchange;
            for (size_t i = 0; i < cut; ++i) {
                const auto& s = steps[i];
                if (s.op == Publish) exchange.publish(std::make_unique<const Snapshot>(s.seq));
                if (s.op == Collect) exchange.collect();
                if (s.op == Acquire) {
                    const Snapshot* got = exchange.acquire();
                    EXPECT_EQ(got ? got->seq : 0u, s.seq) << "step " << i;
                    EXPECT_EQ(exchange.current(), got) << "step " << i;
                }
                EXPECT_EQ(Snapshot::live.load(), s.live) << "step " << i;
            }
        }
        EXPECT_EQ(Snapshot::live.load(), 0) << "destroyed after " << cut << " steps";
    }
}

TEST(Handoff, ThreadedExchangeReaderHoldsOnlyWholeSnapshots)
{
    // The writer runs at most `ahead` snapshots past the one the reader last
    // took, so that the two overlap throughout and some snapshots are never
    // taken; it collects now and then. The reader checks every snapshot it
    // holds, before and after giving the writer time to free it were it
    // retired too early, and that numbers never go back.
    constexpr uint32_t count = 20000, ahead = 8;
    {
        Snapshot_Exchange<Snapshot> exchange;
        std::atomic<uint32_t> seen{0};
        std::thread writer([&] {
            for (uint32_t seq = 1; seq <= count; ++seq) {
                exchange.publish(std::make_unique<const Snapshot>(seq));
                if (seq % 16 == 0) exchange.collect();
                while (seen.load(std::memory_order_relaxed) + ahead < seq) std::this_thread::yield();
            }
        });
        uint32_t last = 0, broken = 0, backwards = 0;
        while (last != count) {
            const Snapshot* s = exchange.acquire();
            if (s == nullptr) continue;
            broken += !s->whole();
            backwards += s->seq < last;
            last = s->seq;
            seen.store(last, std::memory_order_relaxed);
            std::this_thread::yield();
            broken += !s->whole();
        }
        writer.join();
        EXPECT_EQ(broken, 0u);
        EXPECT_EQ(backwards, 0u);
    }
    EXPECT_EQ(Snapshot::live.load(), 0);
}
