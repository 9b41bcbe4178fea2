#include "graph/model/TrackedFrameArray.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

uint32_t bitsOf(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

float floatOf(uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, 4);
    return value;
}

// Word layout of a frame: 0..3 minSample, maxSample, periodA, periodB;
// 4, 5 centsA, centsB; 6..10 outputPeriod..throatOffset; 11 bar;
// 12 beat (low byte) and midiNote (second byte).
enum Word { minW, maxW, periodAW, periodBW, centsAW, centsBW, outputW, modOffsetW, modGainW,
            modParamW, throatW, barW, beatNoteW };

} // namespace

void TrackedFrameArray::allocate(int64_t frames)
{
    count = frames < 0 ? 0 : frames;
    cells.reset(new Cell[size_t(count + 1)]);
    touched.store(count + 1, std::memory_order_relaxed);
    clear();
}

void TrackedFrameArray::grow(int64_t newCount)
{
    if (newCount <= count) return;
    std::unique_ptr<Cell[]> bigger(new Cell[size_t(newCount + 1)]);
    std::swap(cells, bigger);
    const int64_t oldCount = bigger ? count : -1;
    count = newCount;
    for (int64_t i = 0; i <= newCount; ++i) {
        if (i <= oldCount)
            for (int w = 0; w < wordsPerFrame; ++w)
                cells[size_t(i)].word[w].store(bigger[size_t(i)].word[w].load(std::memory_order_relaxed),
                                               std::memory_order_relaxed);
        else
            resetCell(i);
    }
}

void TrackedFrameArray::resetCell(int64_t index) noexcept
{
    const TrackedFrame blank;
    putAll(index, blank);
}

void TrackedFrameArray::touch(int64_t index) noexcept
{
    int64_t t = touched.load(std::memory_order_relaxed);
    while (index + 1 > t && !touched.compare_exchange_weak(t, index + 1, std::memory_order_relaxed)) {}
}

void TrackedFrameArray::clear() noexcept
{
    const int64_t end = std::min(touched.load(std::memory_order_relaxed), count + 1);
    for (int64_t i = 0; i < end && cells; ++i) resetCell(i);
    touched.store(0, std::memory_order_relaxed);
    tracked.store(0, std::memory_order_release);
    dirtyLo.store(noDirtyLow, std::memory_order_relaxed);
    dirtyHi.store(0, std::memory_order_relaxed);
}

TrackedFrame TrackedFrameArray::get(int64_t index) const noexcept
{
    TrackedFrame f;
    if (!cells || index < 0 || index > count) return f;
    const auto& w = cells[size_t(index)].word;
    auto ld = [&](int i) { return w[i].load(std::memory_order_relaxed); };
    f.minSample = floatOf(ld(minW));
    f.maxSample = floatOf(ld(maxW));
    f.periodA = floatOf(ld(periodAW));
    f.periodB = floatOf(ld(periodBW));
    f.centsA = int32_t(ld(centsAW));
    f.centsB = int32_t(ld(centsBW));
    f.outputPeriod = floatOf(ld(outputW));
    f.modulationOffset = floatOf(ld(modOffsetW));
    f.modulationGain = floatOf(ld(modGainW));
    f.modulationParameter = floatOf(ld(modParamW));
    f.throatOffset = floatOf(ld(throatW));
    f.bar = int32_t(ld(barW));
    const uint32_t bn = ld(beatNoteW);
    f.beat = uint8_t(bn & 0xff);
    f.midiNote = int8_t(uint8_t(bn >> 8));
    return f;
}

void TrackedFrameArray::putTracked(int64_t index, const TrackedFrame& f) noexcept
{
    if (!cells || index < 0 || index > count) return;
    touch(index);
    auto& w = cells[size_t(index)].word;
    auto st = [&](int i, uint32_t v) { w[i].store(v, std::memory_order_relaxed); };
    st(minW, bitsOf(f.minSample));
    st(maxW, bitsOf(f.maxSample));
    st(periodAW, bitsOf(f.periodA));
    st(periodBW, bitsOf(f.periodB));
    st(centsAW, uint32_t(f.centsA));
    st(centsBW, uint32_t(f.centsB));
    st(barW, uint32_t(f.bar));
    st(beatNoteW, uint32_t(f.beat) | (uint32_t(uint8_t(f.midiNote)) << 8));
}

void TrackedFrameArray::putBarBeat(int64_t index, int32_t bar, uint8_t beat) noexcept
{
    if (!cells || index < 0 || index > count) return;
    touch(index);
    auto& w = cells[size_t(index)].word;
    w[barW].store(uint32_t(bar), std::memory_order_relaxed);
    const uint32_t old = w[beatNoteW].load(std::memory_order_relaxed);
    w[beatNoteW].store((old & 0xff00u) | beat, std::memory_order_relaxed);
}

void TrackedFrameArray::putCorrection(int64_t index, const TrackedFrame& f) noexcept
{
    if (!cells || index < 0 || index > count) return;
    touch(index);
    auto& w = cells[size_t(index)].word;
    auto st = [&](int i, float v) { w[i].store(bitsOf(v), std::memory_order_relaxed); };
    st(outputW, f.outputPeriod);
    st(modOffsetW, f.modulationOffset);
    st(modGainW, f.modulationGain);
    st(modParamW, f.modulationParameter);
    st(throatW, f.throatOffset);
}

void TrackedFrameArray::putAll(int64_t index, const TrackedFrame& f) noexcept
{
    putTracked(index, f);
    putCorrection(index, f);
}

void TrackedFrameArray::extendTracked(int64_t n) noexcept
{
    const int64_t target = n < count ? n : count;
    if (target > tracked.load(std::memory_order_relaxed)) tracked.store(target, std::memory_order_release);
}

void TrackedFrameArray::markDirty(int64_t frame) noexcept
{
    if (frame < 0 || frame >= count) return;
    int64_t low = dirtyLo.load(std::memory_order_relaxed);
    while (frame < low && !dirtyLo.compare_exchange_weak(low, frame, std::memory_order_relaxed)) {}
    int64_t high = dirtyHi.load(std::memory_order_relaxed);
    while (frame > high && !dirtyHi.compare_exchange_weak(high, frame, std::memory_order_relaxed)) {}
}

void TrackedFrameArray::takeDirty(int64_t& low, int64_t& high) noexcept
{
    low = dirtyLo.exchange(noDirtyLow, std::memory_order_relaxed);
    high = dirtyHi.exchange(0, std::memory_order_relaxed);
}
