#pragma once

#include <cstdint>

// Index arithmetic of the engine's rings, whose lengths are no powers of two.
namespace engine {

// The index after `index` in a ring of the given length, wrapping.
constexpr int64_t ring_next(int64_t index, int64_t length) noexcept
{
    return index + 1 == length ? 0 : index + 1;
}

// The index `back` entries before `index` in a ring of the given length, for
// 0 <= back < length.
constexpr int64_t ring_back(int64_t index, int64_t back, int64_t length) noexcept
{
    const int64_t i = index - back;
    return i < 0 ? i + length : i;
}

} // namespace engine

namespace engine {

// The newest samples of a ring kept backward, so that the samples 0, 1, 2, ...
// back from the newest lie forward in one piece, and a second time split by
// the parity of their position, so that the samples first, first + 2, ...
// back lie forward in one piece too. Each copy is mirrored (entry i + its
// length equal to entry i), so no window wraps. The storage of 4 * length
// doubles belongs to the owner; `length` is even.
class past_ring {
public:
    void attach(double* storage, int64_t ring_length) noexcept
    {
        backward = storage;
        length = ring_length;
        half = ring_length / 2;
        by_parity[0] = storage + 2 * ring_length;
        by_parity[1] = storage + 3 * ring_length;
    }
    void clear() noexcept
    {
        for (int64_t i = 0; i < 4 * length; ++i) backward[i] = 0.0;
    }
    // Sample x as the newest, at position `index` (0 to length - 1) of the
    // ring it follows.
    void store(int64_t index, double x) noexcept
    {
        const int64_t r = length - 1 - index;
        backward[r] = backward[r + length] = x;
        double* same = by_parity[r & 1];
        same[r >> 1] = same[(r >> 1) + half] = x;
    }
    // Entry i: the sample i back from the newest at `index`, for i < length.
    const double* back(int64_t index) const noexcept { return backward + (length - 1 - index); }
    // Entry k: the sample first + 2k back from the newest at `index`, for
    // first < length and k < length / 2.
    const double* every_second_back(int64_t index, int64_t first) const noexcept
    {
        int64_t r = length - 1 - index + first;
        if (r >= length) r -= length;
        return by_parity[r & 1] + (r >> 1);
    }

private:
    double* backward = nullptr;
    double* by_parity[2] = {nullptr, nullptr};
    int64_t length = 0;
    int64_t half = 0;
};

} // namespace engine
