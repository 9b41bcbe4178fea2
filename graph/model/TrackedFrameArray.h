#pragma once

#include "graph/model/TrackedFrame.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>

// The tracked frames of a session, written by the audio thread while it
// tracks and read by the interface thread (views, the state writer, tools)
// at the same time, without a lock.
//
// Every field of every frame is held in its own atomic word, stored and
// loaded relaxed, so that a reader and a writer of the same frame never race.
// The tracker publishes how many frames hold data through `trackedEnd`,
// stored with release after the frame's words; a reader loads it with acquire
// and reads below it, and so sees every frame the tracker finished before.
// When the transport jumps back, the tracker rewrites frames below
// `trackedEnd` word by word: a reader may then see a frame half old and half
// new, never a torn word, and `markDirty` tells the views which frames to
// read again. The tracker owns minSample..centsB, bar, beat and midiNote; the
// correction pass owns outputPeriod..throatOffset: each word has one writer.
//
// The storage holds one frame beyond `frameCount`, so that a bar or beat mark
// at index frameCount has a place. Storage is allocated only by `allocate`,
// `grow` and `readFrames`, on the interface thread while the audio thread does not
// use the array (before activation).
class TrackedFrameArray {
public:
    static constexpr int64_t noDirtyLow = std::numeric_limits<int64_t>::max();
    // Most frames a stream may bring: 10800 seconds at 96 kHz, 200 samples a
    // frame.
    static constexpr int64_t maxFrames = int64_t(10800) * 96000 / 200;

    // Interface thread. An empty array: no storage, frameCount 0.
    TrackedFrameArray() = default;

    // Interface thread, while the audio thread does not use the array.
    // Storage for `count` frames (plus the one beyond), every frame reset,
    // trackedEnd 0 and nothing dirty.
    void allocate(int64_t count);
    // Interface thread, while the audio thread does not use the array.
    // Storage for newCount frames when that is more than frameCount, the
    // frames and trackedEnd kept; nothing when it is not more.
    void grow(int64_t newCount);

    // Any thread. Capacity in frames.
    int64_t frameCount() const noexcept { return count; }
    // Any thread. Frames holding data; reading below it is safe.
    int64_t trackedEnd() const noexcept { return tracked.load(std::memory_order_acquire); }

    // Any thread. Frame `index`, 0..frameCount (the one beyond included).
    TrackedFrame get(int64_t index) const noexcept;
    // Tracker (audio thread). Writes the tracker's fields of frame `index`.
    void putTracked(int64_t index, const TrackedFrame& frame) noexcept;
    // Tracker (audio thread). Writes a bar and beat mark; index 0..frameCount.
    void putBarBeat(int64_t index, int32_t bar, uint8_t beat) noexcept;
    // Correction pass (interface thread). Writes outputPeriod..throatOffset.
    void putCorrection(int64_t index, const TrackedFrame& frame) noexcept;
    // Whoever owns the array exclusively (state reading, clearing): every field.
    void putAll(int64_t index, const TrackedFrame& frame) noexcept;

    // Tracker (audio thread). trackedEnd grows to min(count, frameCount);
    // it never shrinks here.
    void extendTracked(int64_t count) noexcept;
    // Audio or interface thread. Widens the dirty range to hold `frame`,
    // ignored unless 0 <= frame < frameCount.
    void markDirty(int64_t frame) noexcept;
    // Interface thread (the views). The dirty range, reset as it is taken;
    // low > high when nothing changed.
    void takeDirty(int64_t& low, int64_t& high) noexcept;
    int64_t dirtyLow() const noexcept { return dirtyLo.load(std::memory_order_relaxed); }
    int64_t dirtyHigh() const noexcept { return dirtyHi.load(std::memory_order_relaxed); }

    // Whoever owns the array exclusively. Every frame reset, trackedEnd 0.
    void clear() noexcept;

    // Interface thread. The frames as the session stream holds them: a u32
    // byte count, then trackedEnd frames of 50 bytes, big-endian.
    template <class Writer> bool writeFrames(Writer& out) const;
    // Interface thread, owning the array. Reads frames of `frameBytes` bytes
    // (TrackedFrame::streamBytes, or olderStreamBytes for the older form),
    // growing the storage when the stream holds more frames than frameCount.
    // False at the first item that fails; what was read stays, and
    // trackedEnd counts it.
    template <class Reader> bool readFrames(Reader& in, uint32_t frameBytes);

private:
    static constexpr int wordsPerFrame = 13;
    struct Cell {
        std::atomic<uint32_t> word[wordsPerFrame];
    };
    void resetCell(int64_t index) noexcept;

    std::unique_ptr<Cell[]> cells;
    int64_t count = 0;
    std::atomic<int64_t> tracked{0};
    // One past the highest frame ever written since the last clear: clear
    // resets only below it.
    std::atomic<int64_t> touched{0};
    void touch(int64_t index) noexcept;
    std::atomic<int64_t> dirtyLo{noDirtyLow};
    std::atomic<int64_t> dirtyHi{0};
};

#include "graph/model/TrackedFrameArray_stream.h"
